#include "platform/process.h"

#include <atomic>
#include <cstdio>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/windows/system_paths.h"
#include "platform/windows/windows_text.h"
// After windows.h:
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace parvane::platform {

namespace {

// Lock-free: events arrive on a thread of the system's.
std::atomic<int> interruptions{0};
static_assert(std::atomic<int>::is_always_lock_free);

BOOL WINAPI OnConsoleEvent(DWORD event) {
  if (interruptions.fetch_add(1) != 0) {
    // Without the clean-up of ExitProcess, which could wait for what the work holds.
    ::TerminateProcess(::GetCurrentProcess(), kInterruptedExitCode);
  }
  // After closing, log-off and shutdown the process ends as soon as this returns, or after some
  // seconds: those are for the work to finish.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return TRUE;
}

std::FILE* FileOf(StandardStream stream) {
  return stream == StandardStream::kOutput ? stdout : stderr;
}

// A standard stream: the console behind it, if that is what it leads to.
class Stream {
 public:
  explicit Stream(StandardStream stream)
      : _handle(::GetStdHandle(stream == StandardStream::kOutput ? STD_OUTPUT_HANDLE
                                                                 : STD_ERROR_HANDLE)),
        _isConsole(::GetConsoleMode(_handle, &_mode) != FALSE) {
    if (_isConsole) {
      _redraws =
          ::SetConsoleMode(_handle, _mode | ENABLE_PROCESSED_OUTPUT | kTerminalSequences) != FALSE;
    } else {
      _setmode(_fileno(FileOf(stream)), _O_BINARY);
    }
  }
  ~Stream() {
    if (_isConsole) ::SetConsoleMode(_handle, _mode);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  bool IsConsole() const { return _isConsole; }
  // True when the console understands the sequences of a terminal.
  bool Redraws() const { return _redraws; }

  bool Write(std::u16string_view text) const {
    const std::wstring wide = ToWide(text);
    std::wstring_view rest = wide;
    while (!rest.empty()) {
      std::size_t length = std::min(rest.size(), kLongestWrite);
      if (length < rest.size() && IS_HIGH_SURROGATE(rest[length - 1])) --length;
      DWORD written = 0;
      if (!::WriteConsoleW(_handle, rest.data(), static_cast<DWORD>(length), &written, nullptr) ||
          written == 0) {
        return false;
      }
      rest.remove_prefix(written);
    }
    return true;
  }

 private:
  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack.
  static constexpr DWORD kTerminalSequences = 4;
  static constexpr std::size_t kLongestWrite = 8192;

  HANDLE _handle;
  DWORD _mode = 0;
  bool _isConsole;
  bool _redraws = false;
};

const Stream& StreamOf(StandardStream stream) {
  static const Stream output(StandardStream::kOutput);
  static const Stream error(StandardStream::kError);
  return stream == StandardStream::kOutput ? output : error;
}

// "*" stands for any characters, "?" for one.
bool Matches(std::u16string_view name, std::u16string_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern[0] == u'*') {
    return Matches(name, pattern.substr(1)) || (!name.empty() && Matches(name.substr(1), pattern));
  }
  return !name.empty() && (pattern[0] == u'?' || pattern[0] == name[0]) &&
         Matches(name.substr(1), pattern.substr(1));
}

void AddArgument(std::u16string_view argument, std::vector<std::string>& arguments) {
  const std::u16string pattern = FileNameOfPath(argument);
  bool found = false;
  if (!argument.starts_with(u'-') && pattern.find_first_of(u"*?") != pattern.npos) {
    const std::u16string_view folder = argument.substr(0, argument.size() - pattern.size());
    const auto entries = FileSystem::Default().List(folder.empty() ? u"." : folder);
    const std::u16string folded = FoldCase(pattern);
    for (const DirectoryEntry& entry : entries.ok() ? *entries : std::vector<DirectoryEntry>()) {
      if (!Matches(FoldCase(entry.name), folded)) continue;
      arguments.push_back(PathToNative(std::u16string(folder) + entry.name));
      found = true;
    }
  }
  if (!found) arguments.push_back(PathToNative(argument));
}

}  // namespace

// A handle that means nothing here may come to mean the next file that is opened.
void OpenMissingStandardStreams() {
  for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    const HANDLE handle = ::GetStdHandle(stream);
    ::SetLastError(NO_ERROR);
    if (handle != nullptr && handle != INVALID_HANDLE_VALUE &&
        (::GetFileType(handle) != FILE_TYPE_UNKNOWN || ::GetLastError() == NO_ERROR)) {
      continue;
    }
    ::SetStdHandle(stream, ::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                         0, nullptr));
  }
}

InterruptWatch::InterruptWatch() {
  interruptions = 0;
  ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

InterruptWatch::~InterruptWatch() { ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE); }

bool InterruptWatch::Requested() const { return interruptions.load() != 0; }

std::vector<std::string> ProgramArguments(int, const char* const*) {
  // The narrow arguments have lost what the ANSI code page lacks; the command line has not.
  int count = 0;
  LPWSTR* wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; wide && i < count; ++i) AddArgument(FromWide(wide[i]), arguments);
  ::LocalFree(wide);
  return arguments;
}

std::u16string CanonicalPath(std::u16string_view path) {
  const std::wstring name = ToSystemPath(path);
  const HANDLE file =
      ::CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::u16string(path);
  std::wstring full(32768, L'\0');
  const DWORD size = static_cast<DWORD>(full.size());
  DWORD length = ::GetFinalPathNameByHandleW(file, full.data(), size, VOLUME_NAME_DOS);
  ::CloseHandle(file);
  // Volumes that are mounted without a letter have no such name.
  if (length == 0 || length >= size) {
    length = ::GetFullPathNameW(name.c_str(), size, full.data(), nullptr);
  }
  if (length == 0 || length >= size) return std::u16string(path);
  return FromSystemPath({full.data(), length});
}

bool WriteStandardStream(StandardStream stream, std::string_view utf8) {
  const Stream& to = StreamOf(stream);
  if (to.IsConsole()) return to.Write(Utf8ToUtf16(utf8));
  return std::fwrite(utf8.data(), 1, utf8.size(), FileOf(stream)) == utf8.size();
}

bool FlushStandardStream(StandardStream stream) {
  std::FILE* const file = FileOf(stream);
  return std::fflush(file) == 0 && std::ferror(file) == 0;
}

bool IsInteractive(StandardStream stream) { return StreamOf(stream).Redraws(); }

bool IsPipe(StandardStream stream) {
  return ::GetFileType(::GetStdHandle(stream == StandardStream::kOutput ? STD_OUTPUT_HANDLE
                                                                        : STD_ERROR_HANDLE)) ==
         FILE_TYPE_PIPE;
}

unsigned TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
  return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace parvane::platform
