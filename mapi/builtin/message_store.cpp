#include "mapi/builtin/message_store.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "mapi/builtin/folder.h"
#include "mapi/builtin/identity.h"
#include "mapi/builtin/transacted.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

// These are answered here whatever the file says: a PST may have been written by a store with other
// abilities, and copied since, so that its own entry ids lead nowhere.
constexpr ULONG kComputed[] = {PR_STORE_SUPPORT_MASK, PR_STORE_STATE,   PR_MDB_PROVIDER,
                               PR_DEFAULT_STORE,      PR_OBJECT_TYPE,   PR_ENTRYID,
                               PR_RECORD_KEY,         PR_STORE_ENTRYID, PR_STORE_RECORD_KEY,
                               PR_MAPPING_SIGNATURE,  PR_ACCESS,        PR_ACCESS_LEVEL};

bool IsComputedId(ULONG id) {
  return std::any_of(std::begin(kComputed), std::end(kComputed),
                     [id](ULONG tag) { return PropId(tag) == id; });
}

// Only what holds. Without STORE_SEARCH_OK, STORE_NOTIFY_OK and STORE_SUBMIT_OK clients ask for no
// search folders, no notifications and no sending, and need not be refused later.
ULONG SupportMask(bool writable) {
  const ULONG always = STORE_ENTRYID_UNIQUE | STORE_MV_PROPS_OK | STORE_RTF_OK | STORE_HTML_OK |
                       STORE_UNICODE_OK | STORE_ATTACH_OK;
  return always | (writable ? STORE_MODIFY_OK | STORE_CREATE_OK : STORE_READONLY);
}

}  // namespace

MessageStore::MessageStore(StoreCorePtr core, IUnknown* session, bool isDefault, bool writable)
    : ImmediateObject(std::move(core), writable),
      _session(ComPointer<IUnknown>::Share(session)),
      _isDefault(isDefault) {
  _writable = writable && _core->writable();
}

HRESULT MessageStore::QueryInterface(const IID& riid, void** ppvObj) {
  // A face of our own beside the published ones, for who wants to know what was committed. It is no
  // base of IMsgStore, so that the published slots stay where they are.
  if (ppvObj == nullptr || !(riid == DiagnosedStoreIid()))
    return PropertyObject::QueryInterface(riid, ppvObj);
  AddRef();
  *ppvObj = static_cast<DiagnosedStore*>(this);
  return S_OK;
}

// ---- Properties ---------------------------------------------------------------------------------

HRESULT MessageStore::Prepare() {
  if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  return Begin(_core->store()->OpenStoreProperties());
}

HRESULT MessageStore::ListTags(std::vector<ULONG>& tags) {
  tags.assign(std::begin(kComputed), std::end(kComputed));
  for (const auto& entry : _reader->entries()) {
    if (!IsComputedId(entry.tag.Id())) tags.push_back(entry.tag.value);
  }
  return S_OK;
}

HRESULT MessageStore::Find(ULONG id, Value& value) {
  switch (id) {
    case PropId(PR_STORE_SUPPORT_MASK):
      value.SetScalar(PR_STORE_SUPPORT_MASK, SupportMask(_writable));
      return S_OK;
    case PropId(PR_STORE_STATE):
      value.SetScalar(PR_STORE_STATE, 0);
      return S_OK;
    case PropId(PR_MDB_PROVIDER):
      value.SetBytes(PR_MDB_PROVIDER, std::as_bytes(std::span(&kPersonalFolderProvider, 1)));
      return S_OK;
    case PropId(PR_DEFAULT_STORE):
      value.SetScalar(PR_DEFAULT_STORE, _isDefault ? 1 : 0);
      return S_OK;
    case PropId(PR_ENTRYID):
      value.SetOwned(PR_ENTRYID, _core->StoreEntryId());
      return S_OK;
    case PropId(PR_RECORD_KEY):
      value.SetBytes(PR_RECORD_KEY, _core->RecordKey());
      return S_OK;
    default:
      break;
  }
  if (IsComputedId(id)) {
    return FindIdentity(*_core, {MAPI_STORE, {}, {}, _writable}, id, value);
  }
  return FindInFile(*_core, *_reader, id, value);
}

bool MessageStore::IsComputed(ULONG tag) const { return IsComputedId(PropId(tag)); }

// ---- Entries ------------------------------------------------------------------------------------

HRESULT CompareEntryIds(ULONG size1, const ENTRYID* id1, ULONG size2, const ENTRYID* id2,
                        ULONG* equal) {
  if (!ClearOut(equal) || (size1 != 0 && id1 == nullptr) || (size2 != 0 && id2 == nullptr)) {
    return MAPI_E_INVALID_PARAMETER;
  }
  const std::span<const std::byte> first(reinterpret_cast<const std::byte*>(id1), size1);
  const std::span<const std::byte> second(reinterpret_cast<const std::byte*>(id2), size2);
  // A store's id holds the path of its file: two that name the same one are the same, whatever
  // stands beside it. All other ids are compared as bytes, for they are made in one way only.
  std::u16string path1;
  std::u16string path2;
  if (PathOfStoreEntryId(first, path1) && PathOfStoreEntryId(second, path2)) {
    *equal = path1 == path2 ? 1 : 0;
  } else {
    *equal = std::equal(first.begin(), first.end(), second.begin(), second.end()) ? 1 : 0;
  }
  return S_OK;
}

HRESULT MessageStore::CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1, ULONG cbEntryID2,
                                      ENTRYID* lpEntryID2, ULONG, ULONG* lpulResult) {
  return Guarded(
      [&] { return CompareEntryIds(cbEntryID1, lpEntryID1, cbEntryID2, lpEntryID2, lpulResult); });
}

HRESULT MessageStore::OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID* lpInterface,
                                ULONG ulFlags, ULONG* lpulObjType, IUnknown** lppUnk) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppUnk)) return MAPI_E_INVALID_PARAMETER;
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    return OpenStoreEntry(_core, Anchor(), _core->store()->rootFolder(), cbEntryID, lpEntryID,
                          lpInterface, ulFlags, lpulObjType, lppUnk);
  });
}

HRESULT MessageStore::GetReceiveFolder(LPTSTR, ULONG, ULONG* lpcbEntryID, ENTRYID** lppEntryID,
                                       LPTSTR* lppszExplicitClass) {
  return Guarded([&]() -> HRESULT {
    const bool hasSize = ClearOut(lpcbEntryID);
    if (!ClearOut(lppEntryID) || !hasSize) return MAPI_E_INVALID_PARAMETER;
    if (lppszExplicitClass != nullptr) *lppszExplicitClass = nullptr;
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    // No transport delivers here: the top folder stands for all classes.
    const auto id = _core->EntryIdOf(_core->store()->rootFolder());
    // Both results before either is handed out: the second may find no memory.
    Chain explicitClass;
    if (lppszExplicitClass != nullptr) explicitClass.Copy(std::u16string_view{});
    Chain chain;
    chain.Copy(id);
    *lpcbEntryID = static_cast<ULONG>(id.size());
    *lppEntryID = chain.Detach<ENTRYID>();
    if (lppszExplicitClass != nullptr) *lppszExplicitClass = explicitClass.Detach<char>();
    return S_OK;
  });
}

HRESULT MessageStore::StoreLogoff(ULONG* lpulFlags) {
  return Guarded([&]() -> HRESULT {
    if (lpulFlags == nullptr) return MAPI_E_INVALID_PARAMETER;
    // Logged off already, or never opened: nothing of it is left to lose.
    if (_core->store() == nullptr) return S_OK;
    // The store stays open, since objects of it may still be held; the last of them closes it. But
    // who logs off is told now whether what was written has reached the file.
    const platform::Status status = _core->store()->Commit();
    _core->Publish();
    return status.ok() ? S_OK : _core->Note(status);
  });
}

// ---- What this store does not do ----------------------------------------------------------------

HRESULT MessageStore::Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG_PTR* lpulConnection) {
  ClearOut(lpulConnection);
  return MAPI_E_NO_SUPPORT;
}
HRESULT MessageStore::Unadvise(ULONG_PTR) { return MAPI_E_NO_SUPPORT; }
HRESULT MessageStore::SetReceiveFolder(LPTSTR, ULONG, ULONG, ENTRYID*) { return MAPI_E_NO_SUPPORT; }
HRESULT MessageStore::GetReceiveFolderTable(ULONG, IMAPITable** lppTable) {
  ClearOut(lppTable);
  return MAPI_E_NO_SUPPORT;
}
HRESULT MessageStore::AbortSubmit(ULONG, ENTRYID*, ULONG) { return MAPI_E_NO_SUPPORT; }
HRESULT MessageStore::GetOutgoingQueue(ULONG, IMAPITable** lppTable) {
  ClearOut(lppTable);
  return MAPI_E_NO_SUPPORT;
}
HRESULT MessageStore::SetLockState(IMessage*, ULONG) { return MAPI_E_NO_SUPPORT; }
HRESULT MessageStore::FinishedMsg(ULONG, ULONG, ENTRYID*) { return MAPI_E_NO_SUPPORT; }
HRESULT MessageStore::NotifyNewMail(NOTIFICATION*) { return MAPI_E_NO_SUPPORT; }

}  // namespace parvane::mapi::builtin
