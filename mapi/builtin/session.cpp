#include "mapi/builtin/session.h"

#include <algorithm>

#include "mapi/builtin/address_book.h"
#include "mapi/builtin/folder.h"
#include "mapi/builtin/message_store.h"
#include "mapi/builtin/object.h"
#include "mapi/builtin/table.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

class Session final : public ExplainedObject<IMAPISession> {
 public:
  explicit Session(ProfilePtr profile) : _profile(std::move(profile)) { ++_profile->sessions; }
  ~Session() override { End(); }

  bool Implements(const IID& iid) const override { return iid == IID_IMAPISession; }

  HRESULT PARVANE_STDCALL GetMsgStoresTable(ULONG ulFlags, IMAPITable** lppTable) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
      if (_ended) return MAPI_E_END_OF_SESSION;
      return MakeTable(MakeStoreRows(), ulFlags, lppTable);
    });
  }
  HRESULT PARVANE_STDCALL OpenMsgStore(ULONG_PTR, ULONG cbEntryID, ENTRYID* lpEntryID,
                                       const IID* lpInterface, ULONG ulFlags,
                                       IMsgStore** lppMDB) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppMDB)) return MAPI_E_INVALID_PARAMETER;
      if (_ended) return MAPI_E_END_OF_SESSION;
      return OpenStore(cbEntryID, lpEntryID, lpInterface, ulFlags, lppMDB);
    });
  }
  HRESULT PARVANE_STDCALL OpenAddressBook(ULONG_PTR, const IID* lpInterface, ULONG,
                                          IAddrBook** lppAdrBook) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppAdrBook)) return MAPI_E_INVALID_PARAMETER;
      if (_ended) return MAPI_E_END_OF_SESSION;
      if (lpInterface != nullptr && !(*lpInterface == IID_IAddrBook)) {
        return MAPI_E_INTERFACE_NOT_SUPPORTED;
      }
      *lppAdrBook = NewAddressBook(this);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL OpenProfileSection(MAPIUID*, const IID*, ULONG,
                                             IProfSect** lppProfSect) override {
    return ClearOut(lppProfSect) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }
  HRESULT PARVANE_STDCALL GetStatusTable(ULONG, IMAPITable** lppTable) override {
    return ClearOut(lppTable) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }
  HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID* lpInterface,
                                    ULONG ulFlags, ULONG* lpulObjType, IUnknown** lppUnk) override {
    return Guarded([&]() -> HRESULT {
      ClearOut(lpulObjType);
      if (!ClearOut(lppUnk)) return MAPI_E_INVALID_PARAMETER;
      if (_ended) return MAPI_E_END_OF_SESSION;
      if (cbEntryID == 0 || lpEntryID == nullptr) return MAPI_E_INVALID_ENTRYID;
      const std::span<const std::byte> id(reinterpret_cast<const std::byte*>(lpEntryID), cbEntryID);
      std::u16string path;
      if (PathOfStoreEntryId(id, path)) {
        IMsgStore* store = nullptr;
        const HRESULT result = OpenStore(cbEntryID, lpEntryID, lpInterface,
                                         ulFlags & (MAPI_BEST_ACCESS | MDB_WRITE), &store);
        *lppUnk = store;
        if (Succeeded(result) && lpulObjType != nullptr) *lpulObjType = MAPI_STORE;
        return result;
      }
      for (const StoreCorePtr& core : OpenCores()) {
        if (!core->store()->FromEntryId(id)) continue;
        return OpenStoreEntry(core, this, core->store()->rootFolder(), cbEntryID, lpEntryID,
                              lpInterface, ulFlags, lpulObjType, lppUnk);
      }
      return MAPI_E_UNKNOWN_ENTRYID;
    });
  }
  HRESULT PARVANE_STDCALL CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1, ULONG cbEntryID2,
                                          ENTRYID* lpEntryID2, ULONG, ULONG* lpulResult) override {
    return Guarded([&] {
      return CompareEntryIds(cbEntryID1, lpEntryID1, cbEntryID2, lpEntryID2, lpulResult);
    });
  }
  HRESULT PARVANE_STDCALL Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*,
                                 ULONG_PTR* lpulConnection) override {
    ClearOut(lpulConnection);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL MessageOptions(ULONG_PTR, ULONG, LPTSTR, IMessage*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL QueryDefaultMessageOpt(LPTSTR, ULONG, ULONG* lpcValues,
                                                 SPropValue** lppOptions) override {
    ClearOut(lpcValues);
    ClearOut(lppOptions);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL EnumAdrTypes(ULONG, ULONG* lpcAdrTypes,
                                       LPTSTR** lpppszAdrTypes) override {
    ClearOut(lpcAdrTypes);
    ClearOut(lpppszAdrTypes);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL QueryIdentity(ULONG* lpcbEntryID, ENTRYID** lppEntryID) override {
    ClearOut(lpcbEntryID);
    ClearOut(lppEntryID);
    return MAPI_E_NOT_FOUND;
  }
  HRESULT PARVANE_STDCALL Logoff(ULONG_PTR, ULONG, ULONG) override {
    return Guarded([&] { return End(); });
  }
  HRESULT PARVANE_STDCALL SetDefaultStore(ULONG, ULONG, ENTRYID*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL AdminServices(ULONG, IMsgServiceAdmin** lppServiceAdmin) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppServiceAdmin)) return MAPI_E_INVALID_PARAMETER;
      if (_ended) return MAPI_E_END_OF_SESSION;
      *lppServiceAdmin = NewServiceAdmin(_profile);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL ShowForm(ULONG_PTR, IMsgStore*, IMAPIFolder*, const IID*, ULONG_PTR,
                                   IMessage*, ULONG, ULONG, ULONG, ULONG, char*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL PrepareForm(const IID*, IMessage*, ULONG_PTR* lpulMessageToken) override {
    ClearOut(lpulMessageToken);
    return MAPI_E_NO_SUPPORT;
  }

 private:
  std::unique_ptr<TableRows> MakeStoreRows() const {
    std::vector<pstfile::PropertyList> rows;
    for (const Service& service : _profile->services) {
      if (!service.isConfigured()) continue;
      const bool isDefault = &service == _profile->DefaultStore();
      pstfile::PropertyList& row = rows.emplace_back();
      row.SetBool(ToTag(PR_DEFAULT_STORE), isDefault);
      row.SetText(ToTag(PR_DISPLAY_NAME_W), service.storeName);
      row.SetBytes(ToTag(PR_ENTRYID), WrappedStoreEntryId(service.path));
      row.SetBytes(ToTag(PR_INSTANCE_KEY), std::as_bytes(std::span(&service.uid, 1)));
      row.SetBytes(ToTag(PR_MDB_PROVIDER), std::as_bytes(std::span(&kPersonalFolderProvider, 1)));
      row.SetScalar(ToTag(PR_OBJECT_TYPE), MAPI_STORE);
      row.SetText(ToTag(PR_PROVIDER_DISPLAY_W), kProviderDisplay);
      row.SetBytes(ToTag(PR_RECORD_KEY), service.recordKey);
      row.SetScalar(ToTag(PR_RESOURCE_FLAGS), isDefault ? STATUS_DEFAULT_STORE : 0);
      row.SetScalar(ToTag(PR_RESOURCE_TYPE), MAPI_STORE_PROVIDER);
    }
    return std::make_unique<ListRows>(
        std::vector<ULONG>{PR_DEFAULT_STORE, PR_DISPLAY_NAME_W, PR_ENTRYID, PR_INSTANCE_KEY,
                           PR_MDB_PROVIDER, PR_OBJECT_TYPE, PR_PROVIDER_DISPLAY_W, PR_RECORD_KEY,
                           PR_RESOURCE_FLAGS, PR_RESOURCE_TYPE},
        std::move(rows));
  }

  HRESULT OpenStore(ULONG size, const ENTRYID* entryId, const IID* wanted, ULONG flags,
                    IMsgStore** out) {
    if (size == 0 || entryId == nullptr) return MAPI_E_INVALID_ENTRYID;
    std::u16string path;
    if (!PathOfStoreEntryId({reinterpret_cast<const std::byte*>(entryId), size}, path)) {
      return MAPI_E_UNKNOWN_ENTRYID;
    }
    const auto& services = _profile->services;
    const auto service = std::find_if(services.begin(), services.end(),
                                      [&path](const Service& one) { return one.path == path; });
    if (service == services.end()) return MAPI_E_NOT_FOUND;

    // One file is open once in a session, however often it is asked for.
    StoreCorePtr core;
    for (const StoreCorePtr& open : OpenCores()) {
      if (open->path() == path) core = open;
    }
    if (core == nullptr) {
      if (const HRESULT result = StoreCore::Open(path, core); Failed(result)) return result;
      _cores.push_back(core);
    }
    const bool writable = (flags & (MDB_WRITE | MAPI_BEST_ACCESS)) != 0;
    if (writable) core->AllowWriting();
    return HandOut(new MessageStore(core, this, &*service == _profile->DefaultStore(), writable),
                   wanted, out);
  }

  // Those still in use by some object.
  std::vector<StoreCorePtr> OpenCores() {
    std::vector<StoreCorePtr> open;
    std::erase_if(_cores, [](const std::weak_ptr<StoreCore>& core) { return core.expired(); });
    for (const auto& weak : _cores) {
      const StoreCorePtr core = weak.lock();
      if (core != nullptr && core->store() != nullptr) open.push_back(core);
    }
    return open;
  }

  // Closes the files whatever objects still live; these fail from now on.
  // The files are closed at log-off, whatever objects of them still live: what a caller forgot to
  // release must not keep a PST locked and its last commit undone.
  HRESULT End() {
    if (_ended) return S_OK;
    _ended = true;
    HRESULT result = S_OK;
    for (const StoreCorePtr& core : OpenCores()) {
      // Whatever becomes of one, the others are closed too.
      const HRESULT closed = Guarded([&] { return core->Close(); });
      if (Succeeded(result)) result = closed;
    }
    --_profile->sessions;
    return result;
  }

  ProfilePtr _profile;
  std::vector<std::weak_ptr<StoreCore>> _cores;
  bool _ended = false;
};

}  // namespace

IMAPISession* NewSession(ProfilePtr profile) { return new Session(std::move(profile)); }

}  // namespace parvane::mapi::builtin
