#include "platform/browser.h"

#include "platform/process.h"
#include "platform/system.h"
#include "platform/windows/system_paths.h"
#include "platform/windows/windows_text.h"
// After windows.h:
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace parvane::platform {

bool OthersReadArguments() { return false; }

std::optional<std::u16string> SessionFolder() { return LocalApplicationDataFolder(); }

std::optional<std::u16string> FolderForBoxedBrowser() { return std::nullopt; }

Status OpenInBrowser(std::u16string_view what) {
  const std::wstring wide = ToWide(what);
  const auto code = reinterpret_cast<INT_PTR>(
      ::ShellExecuteW(nullptr, L"open", wide.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
  // What is no error is greater than this.
  constexpr INT_PTR kLastError = 32;
  if (code > kLastError) return {};
  return {StatusCode::kNotFound, "no browser could be started"};
}

bool HasOwnConsole() {
  DWORD processes[2];
  return ::GetConsoleProcessList(processes, 2) == 1;
}

void LeaveConsole() {
  // The numbers of its streams must not come to mean the next file that is opened.
  const int null = _open("NUL", _O_RDWR | _O_BINARY);
  for (const int stream : {0, 1, 2}) {
    if (null >= 0) _dup2(null, stream);
  }
  if (null > 2) _close(null);
  ::FreeConsole();
  OpenMissingStandardStreams();
}

void ShowMessage(std::u16string_view text) {
  ::MessageBoxW(nullptr, ToWide(text).c_str(), L"Parvane", MB_OK | MB_ICONERROR);
}

}  // namespace parvane::platform
