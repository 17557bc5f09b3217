// IAttach: an attachment by value, or one that holds a message.
#pragma once

#include <optional>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/message.h"
#include "mapi/builtin/store_object.h"
#include "mapi/com_pointer.h"

namespace parvane::mapi::builtin {

class Attachment final : public TransactedObject<IAttach> {
 public:
  static Attachment* Create(StoreCorePtr core, Message& message, ULONG number);
  static HRESULT Open(StoreCorePtr core, Message& message, const Message::Slot& slot, bool writable,
                      Attachment** out);
  ~Attachment() override;

  bool Implements(const IID& iid) const override {
    return iid == IID_IAttachment || iid == IID_IMAPIProp;
  }

  HRESULT ListTags(std::vector<ULONG>& tags) override;
  HRESULT Find(ULONG id, Value& value) override;
  bool IsComputed(ULONG tag) const override;
  HRESULT Remove(ULONG id) override;
  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override;

  // Takes the saved version of the message embedded here.
  HRESULT PutEmbedded(pstfile::StoredMessage message);

 private:
  Attachment(StoreCorePtr core, Message& message, ULONG number, bool writable);

  bool IsChanged() const override { return !_saved || _properties.modified() || _embedded; }
  HRESULT WriteOut() override;
  HRESULT OpenReader(pstfile::PropertyReader*& reader) override;
  HRESULT OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                    IUnknown** out) override;
  HRESULT OpenEmbedded(ULONG flags, const IID* wanted, IUnknown** out);
  // The embedded message as it stands; MAPI_E_NOT_FOUND when there is none.
  HRESULT LocateEmbedded(pstfile::ObjectLocation& location);

  ComPointer<Message> _message;
  std::optional<pstfile::PropertyReader> _reader;
  pstfile::ObjectLocation _location;                // of the saved version
  std::optional<pstfile::StoredMessage> _embedded;  // saved, and not yet part of this
  ULONG _number;
  bool _saved = false;
};

// A property of a saved attachment, computed ones included.
HRESULT FindOfAttachment(StoreCore& core, pstfile::PropertyReader& reader,
                         const pstfile::ObjectLocation& location, ULONG number, bool writable,
                         ULONG id, Value& value);

}  // namespace parvane::mapi::builtin
