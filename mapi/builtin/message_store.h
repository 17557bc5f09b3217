// IMsgStore: an open personal folder file.
#pragma once

#include <optional>

#include "mapi/builtin/property_object.h"
#include "mapi/builtin/stream.h"
#include "mapi/com_pointer.h"
#include "mapi/message_store.h"

namespace parvane::mapi::builtin {

class MessageStore final : public PropertyObject<IMsgStore>,
                           public StreamHost,
                           public DiagnosedStore {
 public:
  // `session` is kept alive. `isDefault`: the profile's default store.
  MessageStore(StoreCorePtr core, IUnknown* session, bool isDefault, bool writable);

  bool Implements(const IID& iid) const override {
    return iid == IID_IMsgStore || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL QueryInterface(const IID& riid, void** ppvObj) override;
  HRESULT PARVANE_STDCALL SaveChanges(ULONG ulFlags) override;
  HRESULT PARVANE_STDCALL OpenProperty(ULONG ulPropTag, const IID* lpiid, ULONG ulInterfaceOptions,
                                       ULONG ulFlags, IUnknown** lppUnk) override;
  HRESULT PARVANE_STDCALL Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*,
                                 ULONG_PTR* lpulConnection) override;
  HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR) override;
  HRESULT PARVANE_STDCALL CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1, ULONG cbEntryID2,
                                          ENTRYID* lpEntryID2, ULONG ulFlags,
                                          ULONG* lpulResult) override;
  HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID* lpInterface,
                                    ULONG ulFlags, ULONG* lpulObjType, IUnknown** lppUnk) override;
  HRESULT PARVANE_STDCALL SetReceiveFolder(LPTSTR, ULONG, ULONG, ENTRYID*) override;
  HRESULT PARVANE_STDCALL GetReceiveFolder(LPTSTR, ULONG, ULONG* lpcbEntryID, ENTRYID** lppEntryID,
                                           LPTSTR* lppszExplicitClass) override;
  HRESULT PARVANE_STDCALL GetReceiveFolderTable(ULONG, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL StoreLogoff(ULONG* lpulFlags) override;
  HRESULT PARVANE_STDCALL AbortSubmit(ULONG, ENTRYID*, ULONG) override;
  HRESULT PARVANE_STDCALL GetOutgoingQueue(ULONG, IMAPITable** lppTable) override;
  HRESULT PARVANE_STDCALL SetLockState(IMessage*, ULONG) override;
  HRESULT PARVANE_STDCALL FinishedMsg(ULONG, ULONG, ENTRYID*) override;
  HRESULT PARVANE_STDCALL NotifyNewMail(NOTIFICATION*) override;

  HRESULT Prepare() override;
  HRESULT ListTags(std::vector<ULONG>& tags) override;
  HRESULT Find(ULONG id, Value& value) override;
  bool IsWritable() const override { return _writable; }
  bool IsComputed(ULONG tag) const override;
  HRESULT Set(const SPropValue& value) override;
  HRESULT Remove(ULONG id) override;
  HRESULT FlushChanges() override;
  StoreCore* NameScope() override { return _core.get(); }

  std::shared_ptr<const StoreDiagnostics> Diagnostics() const override { return _core->record(); }

  // Streams on a store's properties only read.
  IUnknown* Anchor() override { return static_cast<IMsgStore*>(this); }
  StoreCore& Core() override { return *_core; }
  HRESULT OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) override;
  HRESULT InstallBytes(ULONG, std::span<const std::byte>) override { return MAPI_E_NO_SUPPORT; }
  HRESULT InstallStored(ULONG, const pstfile::StoredValue&) override { return MAPI_E_NO_SUPPORT; }
  unsigned StreamCodePage() override { return kDefaultHtmlCodePage; }

 private:
  StoreCorePtr _core;
  ComPointer<IUnknown> _session;
  std::optional<pstfile::PropertyReader> _reader;  // as of the current call
  pstfile::PropertyList _pending;
  std::vector<std::uint16_t> _pendingRemovals;
  bool _isDefault;
  bool _writable;
};

// Equal identifiers of one store's objects are equal byte for byte; two of stores when they name
// the same file.
HRESULT CompareEntryIds(ULONG size1, const ENTRYID* id1, ULONG size2, const ENTRYID* id2,
                        ULONG* equal);

}  // namespace parvane::mapi::builtin
