// IMessage: a message of a folder, or one embedded in an attachment.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/recipients.h"
#include "mapi/builtin/store_object.h"
#include "mapi/com_pointer.h"
#include "mapi/message.h"
#include "platform/pooled_object.h"

namespace parvane::mapi::builtin {

class Attachment;

// Where a message belongs and what it is.
struct MessagePlace {
  StoreCorePtr core;
  ComPointer<IUnknown> parent;       // kept alive: the folder or store it was opened through
  pstfile::NodeId folder;            // of a message of a folder
  pstfile::NodeId node;              // null until it is in the folder
  bool associated = false;           // made for the associated contents
  Attachment* attachment = nullptr;  // of an embedded message; `parent` is the same object
  pstfile::ObjectLocation location;  // of an embedded message that exists already
  int depth = 0;                     // of embedding
  bool writable = false;
};

class Message final : public TransactedObject<IMessage>, public platform::PooledObject<Message> {
 public:
  // A message that is not in the file yet.
  static Message* Create(MessagePlace place);
  // One that is.
  static HRESULT Open(MessagePlace place, Message** out);
  ~Message() override;

  bool Implements(const IID& iid) const override {
    return iid == IID_IMessage || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL GetAttachmentTable(ULONG ulFlags, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL OpenAttach(ULONG ulAttachmentNum, const IID* lpInterface, ULONG ulFlags,
                                     IAttach** lppAttach) override;
  HRESULT PARVANE_STDCALL CreateAttach(const IID* lpInterface, ULONG ulFlags,
                                       ULONG* lpulAttachmentNum, IAttach** lppAttach) override;
  HRESULT PARVANE_STDCALL DeleteAttach(ULONG ulAttachmentNum, ULONG_PTR ulUIParam,
                                       IMAPIProgress* lpProgress, ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL GetRecipientTable(ULONG ulFlags, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL ModifyRecipients(ULONG ulFlags, ADRLIST* lpMods) override;
  HRESULT PARVANE_STDCALL SubmitMessage(ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL SetReadFlag(ULONG ulFlags) override;

  HRESULT ListTags(std::vector<ULONG>& tags) override;
  HRESULT Find(ULONG id, Value& value) override;
  bool IsComputed(ULONG tag) const override;

  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override;
  unsigned StreamCodePage() override { return HtmlCodePage(); }

  // ---- For attachments and tables of this message ----

  int depth() const { return _place.depth; }
  // Takes an attachment's saved version (in place of the one before).
  HRESULT PutAttachment(ULONG number, pstfile::StoredAttachment attachment);
  RecipientList& recipients() { return _recipients; }
  HRESULT LoadRecipients();
  HRESULT LoadAttachments();

  // An attachment of this message that counts: of the file, or saved since.
  struct Slot {
    ULONG number = 0;
    bool isPending = false;                 // saved, and in no saved message yet
    pstfile::StoredAttachment stored = {};  // of others only the node
  };
  const std::vector<Slot>& attachments() const { return _attachments; }
  // The properties of one of them.
  HRESULT ReadAttachment(const Slot& slot, std::optional<pstfile::PropertyReader>& reader,
                         pstfile::ObjectLocation& location);

 private:
  explicit Message(MessagePlace place);

  bool IsNew() const { return !_inFile; }
  bool IsEmbedded() const { return _place.attachment != nullptr; }
  Identity MakeIdentity() const;
  bool IsChanged() const override {
    return IsNew() || _properties.modified() || _recipientsModified || _attachmentsModified;
  }
  HRESULT CheckUnchanged(bool force) override;
  HRESULT WriteOut() override;
  HRESULT OpenReader(pstfile::PropertyReader*& reader) override;
  HRESULT OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                    IUnknown** out) override;
  std::vector<Slot>::iterator PlaceOf(ULONG number);
  Slot* SlotOf(ULONG number);
  HRESULT TakeAttachments(std::vector<pstfile::StoredAttachment>& attachments);
  HRESULT PutInPlace(pstfile::StoredMessage written);
  HRESULT CheckRoomForAttachment() const;
  void AbandonPending();

  MessagePlace _place;  // without the core, which is the object's
  RecipientList _recipients;
  std::vector<Slot> _attachments;
  ULONG _nextAttachment = 0;
  std::optional<pstfile::MessageReader> _reader;
  bool _inFile = false;
  bool _recipientsLoaded = false;
  bool _recipientsModified = false;
  bool _attachmentsLoaded = false;
  bool _attachmentsModified = false;
};

// A message as a new one that is not reachable yet: what an attachment needs to keep an embedded
// message while itself is written anew.
platform::Result<pstfile::StoredMessage> CopyMessage(StoreCore& core,
                                                     pstfile::MessageReader& message);

}  // namespace parvane::mapi::builtin
