#include "mapi/builtin/address_book.h"

#include "mapi/builtin/message_store.h"
#include "mapi/builtin/one_off.h"
#include "mapi/builtin/property_object.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "platform/pooled_object.h"

namespace parvane::mapi::builtin {
namespace {

// There are no address books behind it: converting mail needs entry ids for people who stand in no
// directory, and CreateOneOff makes those out of the address alone. All that would look somebody up
// or show a dialog is refused, with its out parameters cleared, as callers that look at nothing but
// them expect. Made for every message that is converted, so it comes out of a pool.
class AddressBook final : public PropertyObject<IAddrBook>,
                          public platform::PooledObject<AddressBook> {
 public:
  explicit AddressBook(IUnknown* session) : _session(ComPointer<IUnknown>::Share(session)) {}

  bool Implements(const IID& iid) const override {
    return iid == IID_IAddrBook || iid == IID_IMAPIProp;
  }

  HRESULT PARVANE_STDCALL CreateOneOff(LPTSTR lpszName, LPTSTR lpszAdrType, LPTSTR lpszAddress,
                                       ULONG ulFlags, ULONG* lpcbEntryID,
                                       ENTRYID** lppEntryID) override {
    return Guarded([&]() -> HRESULT {
      const bool hasSize = ClearOut(lpcbEntryID);
      if (!ClearOut(lppEntryID) || !hasSize) return MAPI_E_INVALID_PARAMETER;
      if (lpszAdrType == nullptr || lpszAddress == nullptr) return MAPI_E_INVALID_PARAMETER;
      Chain chain;
      const auto id = MakeOneOff(lpszName, lpszAdrType, lpszAddress, ulFlags, chain);
      *lpcbEntryID = static_cast<ULONG>(id.size());
      *lppEntryID = chain.Detach<ENTRYID>();
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1, ULONG cbEntryID2,
                                          ENTRYID* lpEntryID2, ULONG, ULONG* lpulResult) override {
    return Guarded([&] {
      return CompareEntryIds(cbEntryID1, lpEntryID1, cbEntryID2, lpEntryID2, lpulResult);
    });
  }
  HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID*, ULONG,
                                    ULONG* lpulObjType, IUnknown** lppUnk) override {
    ClearOut(lpulObjType);
    if (!ClearOut(lppUnk)) return MAPI_E_INVALID_PARAMETER;
    // The two answers differ: a one-off id is known to be good and has no object, any other is not
    // ours to judge.
    return IsOneOff(lpEntryID, cbEntryID) ? MAPI_E_NO_SUPPORT : MAPI_E_UNKNOWN_ENTRYID;
  }
  HRESULT PARVANE_STDCALL Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*,
                                 ULONG_PTR* lpulConnection) override {
    ClearOut(lpulConnection);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL NewEntry(ULONG_PTR, ULONG, ULONG, ENTRYID*, ULONG, ENTRYID*,
                                   ULONG* lpcbEIDNewEntry, ENTRYID** lppEIDNewEntry) override {
    return NoEntry(lpcbEIDNewEntry, lppEIDNewEntry);
  }
  HRESULT PARVANE_STDCALL ResolveName(ULONG_PTR, ULONG, LPTSTR, ADRLIST*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL Address(ULONG_PTR*, ADRPARM*, ADRLIST** lppAdrList) override {
    ClearOut(lppAdrList);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL Details(ULONG_PTR*, LPFNDISMISS, void*, ULONG, ENTRYID*, LPFNBUTTON,
                                  void*, LPTSTR, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL RecipOptions(ULONG_PTR, ULONG, ADRENTRY*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL QueryDefaultRecipOpt(LPTSTR, ULONG, ULONG* lpcValues,
                                               SPropValue** lppOptions) override {
    ClearOut(lpcValues);
    ClearOut(lppOptions);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL GetPAB(ULONG* lpcbEntryID, ENTRYID** lppEntryID) override {
    return NoEntry(lpcbEntryID, lppEntryID);
  }
  HRESULT PARVANE_STDCALL SetPAB(ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL GetDefaultDir(ULONG* lpcbEntryID, ENTRYID** lppEntryID) override {
    return NoEntry(lpcbEntryID, lppEntryID);
  }
  HRESULT PARVANE_STDCALL SetDefaultDir(ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL GetSearchPath(ULONG, SRowSet** lppSearchPath) override {
    ClearOut(lppSearchPath);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL SetSearchPath(ULONG, SRowSet*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL PrepareRecips(ULONG, SPropTagArray*, ADRLIST*) override {
    return MAPI_E_NO_SUPPORT;
  }

  // Nothing can be changed, so saving has nothing to refuse.
  HRESULT PARVANE_STDCALL SaveChanges(ULONG) override { return S_OK; }
  HRESULT PARVANE_STDCALL OpenProperty(ULONG, const IID*, ULONG, ULONG,
                                       IUnknown** lppUnk) override {
    return ClearOut(lppUnk) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }

  HRESULT Prepare() override { return S_OK; }
  HRESULT ListTags(std::vector<ULONG>& tags) override {
    tags.push_back(PR_OBJECT_TYPE);
    return S_OK;
  }
  HRESULT Find(ULONG id, Value& value) override {
    if (id != PropId(PR_OBJECT_TYPE)) return MAPI_E_NOT_FOUND;
    value.SetScalar(PR_OBJECT_TYPE, MAPI_ADDRBOOK);
    return S_OK;
  }
  bool IsWritable() const override { return false; }
  bool IsComputed(ULONG) const override { return true; }
  HRESULT Set(const SPropValue&) override { return MAPI_E_NO_ACCESS; }
  HRESULT Remove(ULONG) override { return MAPI_E_NO_ACCESS; }
  HRESULT FlushChanges() override { return S_OK; }
  // Names of properties are a store's.
  StoreCore* NameScope() override { return nullptr; }

 private:
  static HRESULT NoEntry(ULONG* size, ENTRYID** entryId) {
    ClearOut(size);
    ClearOut(entryId);
    return MAPI_E_NO_SUPPORT;
  }

  ComPointer<IUnknown> _session;  // lives as long, at least
};

}  // namespace

IAddrBook* NewAddressBook(IUnknown* session) { return new AddressBook(session); }

}  // namespace parvane::mapi::builtin
