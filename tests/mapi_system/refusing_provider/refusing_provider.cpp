// A mail program's library that refuses every log-on, for tests of what people are told then. It
// makes the file %PARVANE_TEST_ARRIVED% and waits until there is a file %PARVANE_TEST_GATE%, so
// that a test can catch a program in the middle of its work.
#include <cstdlib>

#include "mapi/provider/exports.h"
#include "mapi/results.h"
// After ours:
#include <windows.h>

namespace parvane::mapi {

extern "C" HRESULT RefuseLogonEx(ULONG_PTR, LPTSTR, LPTSTR, ULONG, IMAPISession** lppSession);

HRESULT RefuseLogonEx(ULONG_PTR, LPTSTR, LPTSTR, ULONG, IMAPISession** lppSession) {
  *lppSession = nullptr;
  const char* gate = std::getenv("PARVANE_TEST_GATE");
  const char* arrived = std::getenv("PARVANE_TEST_ARRIVED");
  if (gate != nullptr && arrived != nullptr) {
    ::CloseHandle(::CreateFileA(arrived, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    while (::GetFileAttributesA(gate) == INVALID_FILE_ATTRIBUTES) ::Sleep(50);
  }
  return MAPI_E_LOGON_FAILED;
}

}  // namespace parvane::mapi
