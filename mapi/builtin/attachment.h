// IAttach: an attachment by value, or one that holds a message.
#pragma once

#include <optional>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/message.h"
#include "mapi/builtin/property_object.h"
#include "mapi/builtin/stream.h"
#include "mapi/builtin/transacted.h"
#include "mapi/com_pointer.h"

namespace parvane::mapi::builtin {

class Attachment final : public PropertyObject<IAttach>, public StreamHost {
 public:
  static Attachment* Create(StoreCorePtr core, Message& message, ULONG number);
  static HRESULT Open(StoreCorePtr core, Message& message, const Message::Slot& slot, bool writable,
                      Attachment** out);
  ~Attachment() override;

  bool Implements(const IID& iid) const override {
    return iid == IID_IAttachment || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL SaveChanges(ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL OpenProperty(ULONG ulPropTag, const IID* lpiid, ULONG ulInterfaceOptions,
                                       ULONG ulFlags, IUnknown** lppUnk) override;

  HRESULT Prepare() override;
  HRESULT ListTags(std::vector<ULONG>& tags) override;
  HRESULT Find(ULONG id, Value& value) override;
  bool IsWritable() const override { return _writable; }
  bool IsComputed(ULONG tag) const override;
  HRESULT Set(const SPropValue& value) override;
  HRESULT Remove(ULONG id) override;
  HRESULT FlushChanges() override { return S_OK; }
  StoreCore* NameScope() override { return _core.get(); }

  IUnknown* Anchor() override { return static_cast<IAttach*>(this); }
  StoreCore& Core() override { return *_core; }
  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override;
  HRESULT InstallBytes(ULONG tag, std::span<const std::byte> bytes) override;
  HRESULT InstallStored(ULONG tag, const pstfile::StoredValue& stored) override;
  unsigned StreamCodePage() override { return kDefaultHtmlCodePage; }

  // Takes the saved version of the message embedded here.
  HRESULT PutEmbedded(pstfile::StoredMessage message);

 private:
  Attachment(StoreCorePtr core, Message& message, ULONG number, bool writable);

  HRESULT WriteOut();
  HRESULT OpenReader(pstfile::PropertyReader*& reader);
  HRESULT OpenEmbedded(ULONG flags, const IID* wanted, IUnknown** out);
  // The embedded message as it stands; MAPI_E_NOT_FOUND when there is none.
  HRESULT LocateEmbedded(pstfile::ObjectLocation& location);

  StoreCorePtr _core;
  ComPointer<Message> _message;
  TransactedProperties _properties;
  std::optional<pstfile::PropertyReader> _reader;
  pstfile::ObjectLocation _location;                // of the saved version
  std::optional<pstfile::StoredMessage> _embedded;  // saved, and not yet part of this
  HRESULT _failure = 0;                             // of a save
  ULONG _number;
  bool _saved = false;
  bool _writable;
};

// A property of a saved attachment, computed ones included.
HRESULT FindOfAttachment(StoreCore& core, pstfile::PropertyReader& reader,
                         const pstfile::ObjectLocation& location, ULONG number, bool writable,
                         ULONG id, Value& value);

}  // namespace parvane::mapi::builtin
