// IMsgStore: an open personal folder file.
#pragma once

#include <optional>

#include "mapi/builtin/store_object.h"
#include "mapi/com_pointer.h"
#include "mapi/message_store.h"

namespace parvane::mapi::builtin {

class MessageStore final : public ImmediateObject<IMsgStore>, public DiagnosedStore {
 public:
  // `session` is kept alive. `isDefault`: the profile's default store.
  MessageStore(StoreCorePtr core, IUnknown* session, bool isDefault, bool writable);

  bool Implements(const IID& iid) const override {
    return iid == IID_IMsgStore || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL QueryInterface(const IID& riid, void** ppvObj) override;
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
  bool IsComputed(ULONG tag) const override;

  std::shared_ptr<const StoreDiagnostics> Diagnostics() const override { return _core->record(); }

 private:
  platform::Status Change(pstfile::PstStore& store, const pstfile::PropertyList& set,
                          const std::vector<std::uint16_t>& removed) override {
    return store.ChangeStoreProperties(set, removed);
  }

  ComPointer<IUnknown> _session;
  bool _isDefault;
};

// Equal identifiers of one store's objects are equal byte for byte; two of stores when they name
// the same file.
HRESULT CompareEntryIds(ULONG size1, const ENTRYID* id1, ULONG size2, const ENTRYID* id2,
                        ULONG* equal);

}  // namespace parvane::mapi::builtin
