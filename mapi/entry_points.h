// The functions through which a program enters Extended MAPI, and the choice of who answers them.
//
// One table is chosen before start-up, before the first call, and stays: the built-in
// implementation's (mapi/builtin_entry_points.h) or that of the system's MAPI
// (mapi/system_entry_points.h). Without a choice it is the system's on Windows; elsewhere every
// function then fails cleanly with MAPI_E_NOT_INITIALIZED.
#pragma once

#include "mapi/session.h"

namespace parvane::mapi {

struct EntryPoints {
  HRESULT(PARVANE_STDCALL* MAPIInitialize)(void* lpMapiInit) = nullptr;
  void(PARVANE_STDCALL* MAPIUninitialize)() = nullptr;
  HRESULT(PARVANE_STDCALL* MAPIAdminProfiles)(ULONG ulFlags, IProfAdmin** lppProfAdmin) = nullptr;
  HRESULT(PARVANE_STDCALL* MAPILogonEx)
  (ULONG_PTR ulUIParam, LPTSTR lpszProfileName, LPTSTR lpszPassword, ULONG ulFlags,
   IMAPISession** lppSession) = nullptr;
  SCODE(PARVANE_STDCALL* MAPIAllocateBuffer)(ULONG cbSize, void** lppBuffer) = nullptr;
  SCODE(PARVANE_STDCALL* MAPIAllocateMore)
  (ULONG cbSize, void* lpObject, void** lppBuffer) = nullptr;
  ULONG(PARVANE_STDCALL* MAPIFreeBuffer)(void* lpBuffer) = nullptr;
  void(PARVANE_STDCALL* FreeProws)(SRowSet* lpRows) = nullptr;
};

// Takes a copy; functions the table lacks fail cleanly.
void SelectEntryPoints(const EntryPoints& entryPoints);
// The chosen table; no member is null.
const EntryPoints& SelectedEntryPoints();

// The chosen functions under their published names.

inline HRESULT MAPIInitialize(void* lpMapiInit) {
  return SelectedEntryPoints().MAPIInitialize(lpMapiInit);
}
inline void MAPIUninitialize() { SelectedEntryPoints().MAPIUninitialize(); }
inline HRESULT MAPIAdminProfiles(ULONG ulFlags, IProfAdmin** lppProfAdmin) {
  return SelectedEntryPoints().MAPIAdminProfiles(ulFlags, lppProfAdmin);
}
inline HRESULT MAPILogonEx(ULONG_PTR ulUIParam, LPTSTR lpszProfileName, LPTSTR lpszPassword,
                           ULONG ulFlags, IMAPISession** lppSession) {
  return SelectedEntryPoints().MAPILogonEx(ulUIParam, lpszProfileName, lpszPassword, ulFlags,
                                           lppSession);
}
// Starts a chain of memory that MAPIFreeBuffer frees as a whole; aligned for every property value.
inline SCODE MAPIAllocateBuffer(ULONG cbSize, void** lppBuffer) {
  return SelectedEntryPoints().MAPIAllocateBuffer(cbSize, lppBuffer);
}
// Adds to the chain that starts at lpObject.
inline SCODE MAPIAllocateMore(ULONG cbSize, void* lpObject, void** lppBuffer) {
  return SelectedEntryPoints().MAPIAllocateMore(cbSize, lpObject, lppBuffer);
}
// Null is accepted.
inline ULONG MAPIFreeBuffer(void* lpBuffer) {
  return SelectedEntryPoints().MAPIFreeBuffer(lpBuffer);
}
// Frees each row's properties, then the set. Null is accepted.
inline void FreeProws(SRowSet* lpRows) { SelectedEntryPoints().FreeProws(lpRows); }

}  // namespace parvane::mapi
