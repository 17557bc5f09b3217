#include "platform/process.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/path.h"

namespace parvane::platform {

namespace {

// Lock-free, so that a signal handler may touch it.
std::atomic<int> interruptions{0};
static_assert(std::atomic<int>::is_always_lock_free);

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kErrorSignals[] = {SIGPIPE, SIGXFSZ};
struct sigaction previousStop[std::size(kStopSignals)];
struct sigaction previousError[std::size(kErrorSignals)];

extern "C" void OnStopSignal(int) {
  if (interruptions.fetch_add(1) != 0) _exit(kInterruptedExitCode);
}

int DescriptorOf(StandardStream stream) {
  return stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
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

bool InterruptWatch::Requested() const { return interruptions.load() != 0; }

void OpenMissingStandardStreams() {
  // open takes the lowest number that is free.
  int fd = -1;
  do fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) close(fd);
}

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
  return arguments;
}

std::u16string CanonicalPath(std::u16string_view path) {
  const std::unique_ptr<char, void (*)(void*)> resolved(
      realpath(PathToNative(path).c_str(), nullptr), std::free);
  return resolved ? PathFromNative(resolved.get()) : std::u16string(path);
}

bool WriteStandardStream(StandardStream stream, std::string_view utf8) {
  std::FILE* const file = stream == StandardStream::kOutput ? stdout : stderr;
  return std::fwrite(utf8.data(), 1, utf8.size(), file) == utf8.size();
}

bool FlushStandardStream(StandardStream stream) {
  std::FILE* const file = stream == StandardStream::kOutput ? stdout : stderr;
  return std::fflush(file) == 0 && std::ferror(file) == 0;
}

bool IsInteractive(StandardStream stream) {
  if (!isatty(DescriptorOf(stream))) return false;
  const char* terminal = std::getenv("TERM");
  return terminal && std::string_view(terminal) != "dumb";
}

bool IsPipe(StandardStream stream) {
  struct stat about = {};
  return fstat(DescriptorOf(stream), &about) == 0 && S_ISFIFO(about.st_mode);
}

unsigned TerminalColumns() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace parvane::platform
