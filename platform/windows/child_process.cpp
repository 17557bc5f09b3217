#include "platform/child_process.h"

#include <bit>
#include <cstdint>

#include "platform/path.h"
#include "platform/windows/system_paths.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {

struct ChildProcess::System {
  HANDLE process = nullptr;
  DWORD id = 0;
  ~System() {
    if (process != nullptr) ::CloseHandle(process);
  }
};

namespace {

// As the C library of the other side takes words apart: a backslash means itself unless a quote
// comes behind it.
void AppendWord(std::u16string& line, std::u16string_view word) {
  if (!line.empty()) line += u' ';
  line += u'"';
  std::size_t backslashes = 0;
  for (const char16_t c : word) {
    if (c == u'"') line.append(backslashes + 1, u'\\');
    backslashes = c == u'\\' ? backslashes + 1 : 0;
    line += c;
  }
  line.append(backslashes, u'\\');
  line += u'"';
}

std::wstring OwnProgram() {
  constexpr DWORD kLongestPath = 32768;
  std::wstring path(kLongestPath, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), kLongestPath));
  return path;
}

// Which the new process inherits.
HANDLE Open(const wchar_t* path, DWORD access, DWORD creation) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return ::CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &inherited, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

ChildProcess::ChildProcess(std::unique_ptr<System> system) : _system(std::move(system)) {}
ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;
ChildProcess& ChildProcess::operator=(ChildProcess&&) noexcept = default;
ChildProcess::~ChildProcess() = default;

Result<ChildProcess> ChildProcess::Start(const std::vector<std::string>& arguments,
                                         std::u16string_view messages) {
  std::u16string line;
  AppendWord(line, u"parvane");
  for (const std::string& argument : arguments) AppendWord(line, PathFromNative(argument));
  std::wstring wide = ToWide(line);
  const HANDLE none = Open(L"NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
  const HANDLE file = Open(ToSystemPath(messages).c_str(), GENERIC_WRITE, CREATE_NEW);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = start.hStdOutput = none;
  start.hStdError = file;
  PROCESS_INFORMATION made{};
  // A group of its own gets no Ctrl-C from the console, but can be sent a break.
  const bool started = file != INVALID_HANDLE_VALUE &&
                       ::CreateProcessW(OwnProgram().c_str(), wide.data(), nullptr, nullptr, TRUE,
                                        CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &start, &made);
  const DWORD error = started ? NO_ERROR : ::GetLastError();
  for (const HANDLE handle : {none, file}) {
    if (handle != INVALID_HANDLE_VALUE) ::CloseHandle(handle);
  }
  if (!started) return SystemErrorStatus(error, "start a process that writes to", messages);
  ::CloseHandle(made.hThread);
  auto system = std::make_unique<System>();
  system->process = made.hProcess;
  system->id = made.dwProcessId;
  return ChildProcess(std::move(system));
}

std::optional<int> ChildProcess::Poll() {
  DWORD code = 0;
  if (::WaitForSingleObject(_system->process, 0) != WAIT_OBJECT_0) return std::nullopt;
  return ::GetExitCodeProcess(_system->process, &code) ? static_cast<int>(code) : 1;
}

void ChildProcess::Interrupt() { ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, _system->id); }

unsigned ProcessorCount() {
  DWORD_PTR usable = 0;
  DWORD_PTR all = 0;
  // Nothing is told of a process in several groups of processors.
  if (::GetProcessAffinityMask(::GetCurrentProcess(), &usable, &all) && usable != 0) {
    return static_cast<unsigned>(std::popcount(std::uint64_t{usable}));
  }
  SYSTEM_INFO information{};
  ::GetSystemInfo(&information);
  return information.dwNumberOfProcessors > 0 ? information.dwNumberOfProcessors : 1;
}

void Sleep(unsigned milliseconds) { ::Sleep(milliseconds); }

}  // namespace parvane::platform
