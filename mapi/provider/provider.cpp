// The functions behind which the built-in MAPI stands, and those that have nothing behind them.
#include "mapi/builtin_entry_points.h"
#include "mapi/provider/exports.h"
#include "mapi/results.h"

namespace parvane::mapi {
namespace {

constexpr HRESULT kClassNotAvailable = MakeResult(0x80040111);

}  // namespace

extern "C" {

HRESULT PARVANE_STDCALL ParvaneMAPIInitialize(void* lpMapiInit) {
  return BuiltinEntryPoints().MAPIInitialize(lpMapiInit);
}
void PARVANE_STDCALL ParvaneMAPIUninitialize() { BuiltinEntryPoints().MAPIUninitialize(); }
HRESULT PARVANE_STDCALL ParvaneMAPIAdminProfiles(ULONG ulFlags, IProfAdmin** lppProfAdmin) {
  return BuiltinEntryPoints().MAPIAdminProfiles(ulFlags, lppProfAdmin);
}
HRESULT PARVANE_STDCALL ParvaneMAPILogonEx(ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                           LPTSTR lpszPassword, ULONG ulFlags,
                                           IMAPISession** lppSession) {
  return BuiltinEntryPoints().MAPILogonEx(ulUIParam, lpszProfileName, lpszPassword, ulFlags,
                                          lppSession);
}
SCODE PARVANE_STDCALL ParvaneMAPIAllocateBuffer(ULONG cbSize, void** lppBuffer) {
  return BuiltinEntryPoints().MAPIAllocateBuffer(cbSize, lppBuffer);
}
SCODE PARVANE_STDCALL ParvaneMAPIAllocateMore(ULONG cbSize, void* lpObject, void** lppBuffer) {
  return BuiltinEntryPoints().MAPIAllocateMore(cbSize, lpObject, lppBuffer);
}
ULONG PARVANE_STDCALL ParvaneMAPIFreeBuffer(void* lpBuffer) {
  return BuiltinEntryPoints().MAPIFreeBuffer(lpBuffer);
}
void PARVANE_STDCALL ParvaneFreeProws(SRowSet* lpRows) { BuiltinEntryPoints().FreeProws(lpRows); }
void PARVANE_STDCALL ParvaneFreePadrlist(ADRLIST* lpAdrlist) {
  if (lpAdrlist == nullptr) return;
  for (ULONG i = 0; i < lpAdrlist->cEntries; ++i)
    ParvaneMAPIFreeBuffer(lpAdrlist->aEntries[i].rgPropVals);
  ParvaneMAPIFreeBuffer(lpAdrlist);
}

HRESULT PARVANE_STDCALL ParvaneMAPIOpenLocalFormContainer(IUnknown** lppfcnt) {
  if (lppfcnt != nullptr) *lppfcnt = nullptr;
  return MAPI_E_NO_SUPPORT;
}
HRESULT PARVANE_STDCALL ParvaneDllGetClassObject(const CLSID&, const IID&, void** ppv) {
  if (ppv != nullptr) *ppv = nullptr;
  return kClassNotAvailable;
}
BOOL PARVANE_STDCALL ParvaneFGetComponentPath(LPSTR, LPSTR, LPSTR szDllPath, DWORD cchBufferSize,
                                              BOOL) {
  if (szDllPath != nullptr && cchBufferSize != 0) *szDllPath = '\0';
  return 0;
}
HRESULT PARVANE_STDCALL ParvaneDllCanUnloadNow() { return S_FALSE; }

}  // extern "C"

}  // namespace parvane::mapi
