// The functions that parvanemapi.dll exports, under the names that parvanemapi.def gives them:
// there each leads, without "Parvane", to what a mail program's library is asked for.
//
// The library is the built-in Extended MAPI. It does nothing when it is loaded, keeps its profiles
// in the process's memory, and is meant for one thread at a time.
#pragma once

#include "mapi/session.h"

namespace parvane::mapi {

class DefaultMalloc;

extern "C" {

HRESULT PARVANE_STDCALL ParvaneMAPIInitialize(void* lpMapiInit);
void PARVANE_STDCALL ParvaneMAPIUninitialize();
HRESULT PARVANE_STDCALL ParvaneMAPIAdminProfiles(ULONG ulFlags, IProfAdmin** lppProfAdmin);
HRESULT PARVANE_STDCALL ParvaneMAPILogonEx(ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                           LPTSTR lpszPassword, ULONG ulFlags,
                                           IMAPISession** lppSession);
SCODE PARVANE_STDCALL ParvaneMAPIAllocateBuffer(ULONG cbSize, void** lppBuffer);
SCODE PARVANE_STDCALL ParvaneMAPIAllocateMore(ULONG cbSize, void* lpObject, void** lppBuffer);
ULONG PARVANE_STDCALL ParvaneMAPIFreeBuffer(void* lpBuffer);
void PARVANE_STDCALL ParvaneFreeProws(SRowSet* lpRows);
void PARVANE_STDCALL ParvaneFreePadrlist(ADRLIST* lpAdrlist);

// There are no forms and no classes here, and no installer to ask for a path.
HRESULT PARVANE_STDCALL ParvaneMAPIOpenLocalFormContainer(IUnknown** lppfcnt);
HRESULT PARVANE_STDCALL ParvaneDllGetClassObject(const CLSID& rclsid, const IID& riid, void** ppv);
BOOL PARVANE_STDCALL ParvaneFGetComponentPath(LPSTR szComponent, LPSTR szQualifier, LPSTR szDllPath,
                                              DWORD cchBufferSize, BOOL fInstall);
// Never: profiles live in the library's memory.
HRESULT PARVANE_STDCALL ParvaneDllCanUnloadNow();

// Utilities.
SCODE PARVANE_STDCALL ParvaneScInitMapiUtil(ULONG ulFlags);
void PARVANE_STDCALL ParvaneDeinitMapiUtil();
// Every row of the table with these columns, restricted and sorted as asked for; more than
// `crowsMax` (unless 0) are refused with MAPI_E_TABLE_TOO_BIG.
HRESULT PARVANE_STDCALL ParvaneHrQueryAllRows(IMAPITable* lpTable, SPropTagArray* lpPropTags,
                                              SRestriction* lpRestriction,
                                              SSortOrderSet* lpSortOrderSet, LONG crowsMax,
                                              SRowSet** lppRows);
// The sink itself: nothing here calls one, on whatever thread.
HRESULT PARVANE_STDCALL ParvaneHrThisThreadAdviseSink(IMAPIAdviseSink* lpAdviseSink,
                                                      IMAPIAdviseSink** lppAdviseSink);
DefaultMalloc* PARVANE_STDCALL ParvaneMAPIGetDefaultMalloc();
// Not supported.
HRESULT PARVANE_STDCALL ParvaneOpenStreamOnFile(void* lpAllocateBuffer, void* lpFreeBuffer,
                                                ULONG ulFlags, LPTSTR lpszFileName,
                                                LPTSTR lpszPrefix, IStream** lppStream);
HRESULT PARVANE_STDCALL ParvaneWrapCompressedRTFStream(IStream* lpCompressedRTFStream,
                                                       ULONG ulFlags,
                                                       IStream** lpUncompressedRTFStream);

}  // extern "C"

}  // namespace parvane::mapi
