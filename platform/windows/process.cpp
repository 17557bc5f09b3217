#include "platform/process.h"

#include <atomic>
#include <cstdio>
#include <string_view>

// shellapi.h needs windows.h before it.
// clang-format off
#include <windows.h>
#include <io.h>
#include <shellapi.h>
// clang-format on

#include "platform/file.h"
#include "platform/text.h"

namespace parvane::platform {

namespace {

// Lock-free, so that a signal handler may touch it.
std::atomic<int> interruptions{0};
static_assert(std::atomic<int>::is_always_lock_free);

BOOL WINAPI OnConsoleEvent(DWORD) {
  if (interruptions.fetch_add(1) != 0) ExitProcess(kInterruptedExitCode);
  return TRUE;
}

}  // namespace

InterruptWatch::InterruptWatch() {
  interruptions = 0;
  SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

InterruptWatch::~InterruptWatch() { SetConsoleCtrlHandler(OnConsoleEvent, FALSE); }

bool InterruptWatch::Requested() const { return interruptions.load() != 0; }

std::vector<std::string> ProgramArguments(int, const char* const*) {
  // The narrow arguments have lost what the ANSI code page lacks; the command line has not.
  int count = 0;
  LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; wide && i < count; ++i) {
    const std::wstring_view argument(wide[i]);
    arguments.push_back(Utf16ToUtf8(std::u16string(argument.begin(), argument.end())));
  }
  LocalFree(wide);
  return arguments;
}

std::u16string CanonicalPath(std::u16string_view path) {
  const std::wstring wide(path.begin(), path.end());
  std::wstring full(32768, L'\0');
  const DWORD length =
      GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (length == 0 || length >= full.size()) return std::u16string(path);
  return {full.begin(), full.begin() + length};
}

bool IsInteractive(StandardStream stream) {
  return _isatty(_fileno(stream == StandardStream::kOutput ? stdout : stderr)) != 0;
}

unsigned TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
  return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace parvane::platform
