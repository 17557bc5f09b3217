#include "platform/process.h"

#ifdef _WIN32
#include <cstdio>

#include <io.h>
#include <windows.h>
#else
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

#include <atomic>
#include <cstdlib>
#include <string_view>

#include "platform/text.h"

namespace parvane::platform {
namespace {

// Lock-free, so that a signal handler may touch it.
std::atomic<int> interruptions{0};
static_assert(std::atomic<int>::is_always_lock_free);

}  // namespace

bool InterruptWatch::Requested() const { return interruptions.load() != 0; }

#ifdef _WIN32

namespace {

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

bool IsInteractive(StandardStream stream) {
  return _isatty(_fileno(stream == StandardStream::kOutput ? stdout : stderr)) != 0;
}

unsigned TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
  return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

#else

namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kErrorSignals[] = {SIGPIPE, SIGXFSZ};
struct sigaction previousStop[std::size(kStopSignals)];
struct sigaction previousError[std::size(kErrorSignals)];

extern "C" void OnStopSignal(int) {
  if (interruptions.fetch_add(1) != 0) _exit(kInterruptedExitCode);
}

}  // namespace

InterruptWatch::InterruptWatch() {
  interruptions = 0;
  struct sigaction stop = {};
  stop.sa_handler = OnStopSignal;
  stop.sa_flags = SA_RESTART;
  sigemptyset(&stop.sa_mask);
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i) {
    sigaction(kStopSignals[i], nullptr, &previousStop[i]);
    if (previousStop[i].sa_handler != SIG_IGN) sigaction(kStopSignals[i], &stop, nullptr);
  }
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  for (std::size_t i = 0; i < std::size(kErrorSignals); ++i)
    sigaction(kErrorSignals[i], &ignore, &previousError[i]);
}

InterruptWatch::~InterruptWatch() {
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i)
    sigaction(kStopSignals[i], &previousStop[i], nullptr);
  for (std::size_t i = 0; i < std::size(kErrorSignals); ++i)
    sigaction(kErrorSignals[i], &previousError[i], nullptr);
}

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
  return arguments;
}

bool IsInteractive(StandardStream stream) {
  if (!isatty(stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO)) return false;
  const char* terminal = std::getenv("TERM");
  return terminal && std::string_view(terminal) != "dumb";
}

unsigned TerminalColumns() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

#endif

}  // namespace parvane::platform
