// The functions through which programs enter the built-in MAPI.
#include "mapi/builtin/memory.h"
#include "mapi/builtin/object.h"
#include "mapi/builtin/profiles.h"
#include "mapi/builtin/session.h"
#include "mapi/builtin/values.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/constants.h"

namespace parvane::mapi {
namespace builtin {
namespace {

constexpr ULONG kInitializeFlags =
    MAPI_MULTITHREAD_NOTIFICATIONS | MAPI_NO_COINIT | MAPI_NT_SERVICE;

int g_initialized = 0;

HRESULT PARVANE_STDCALL Initialize(void* lpMapiInit) {
  if (lpMapiInit != nullptr) {
    const auto* init = static_cast<const MAPIINIT_0*>(lpMapiInit);
    if (init->ulVersion != 0) return MAPI_E_INVALID_PARAMETER;
    if ((init->ulFlags & ~kInitializeFlags) != 0) return MAPI_E_UNKNOWN_FLAGS;
  }
  ++g_initialized;
  return S_OK;
}

void PARVANE_STDCALL Uninitialize() {
  if (g_initialized > 0) --g_initialized;
}

HRESULT PARVANE_STDCALL AdminProfiles(ULONG, IProfAdmin** lppProfAdmin) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppProfAdmin)) return MAPI_E_INVALID_PARAMETER;
    if (g_initialized == 0) return MAPI_E_NOT_INITIALIZED;
    *lppProfAdmin = NewProfileAdmin();
    return S_OK;
  });
}

HRESULT PARVANE_STDCALL LogonEx(ULONG_PTR, LPTSTR lpszProfileName, LPTSTR lpszPassword,
                                ULONG ulFlags, IMAPISession** lppSession) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppSession)) return MAPI_E_INVALID_PARAMETER;
    if (g_initialized == 0) return MAPI_E_NOT_INITIALIZED;
    if (lpszProfileName == nullptr) return MAPI_E_INVALID_PARAMETER;
    const ProfilePtr profile = FindProfile(TextArgument(lpszProfileName, ulFlags));
    if (profile == nullptr || !TextArgument(lpszPassword, ulFlags).empty()) {
      RecordFailure(nullptr, MAPI_E_LOGON_FAILED, "log-on failed: there is no such profile");
      return MAPI_E_LOGON_FAILED;
    }
    *lppSession = NewSession(profile);
    return S_OK;
  });
}

SCODE PARVANE_STDCALL NewBuffer(ULONG cbSize, void** lppBuffer) {
  return AllocateBuffer(cbSize, lppBuffer);
}
SCODE PARVANE_STDCALL MoreBuffer(ULONG cbSize, void* lpObject, void** lppBuffer) {
  return AllocateMore(cbSize, lpObject, lppBuffer);
}
ULONG PARVANE_STDCALL DropBuffer(void* lpBuffer) { return FreeBuffer(lpBuffer); }
void PARVANE_STDCALL DropRows(SRowSet* lpRows) { FreeRows(lpRows); }

constexpr EntryPoints kEntryPoints = {Initialize, Uninitialize, AdminProfiles, LogonEx,
                                      NewBuffer,  MoreBuffer,   DropBuffer,    DropRows};

}  // namespace
}  // namespace builtin

const EntryPoints& BuiltinEntryPoints() { return builtin::kEntryPoints; }

}  // namespace parvane::mapi
