#include "platform/child_process.h"

#include <cerrno>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "platform/path.h"
#include "platform/posix/errors.h"

extern char** environ;

namespace parvane::platform {

struct ChildProcess::System {
  pid_t pid = -1;
  std::optional<int> code;
};

namespace {

// The program's file, whatever its name is by now.
constexpr const char* kOwnProgram = "/proc/self/exe";

class SpawnSettings {
 public:
  explicit SpawnSettings(const char* messages) {
    posix_spawn_file_actions_init(&_files);
    posix_spawn_file_actions_addopen(&_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&_files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&_files, STDERR_FILENO, messages, O_WRONLY | O_CREAT | O_EXCL,
                                     0600);
    posix_spawnattr_init(&_attributes);
    // A group of its own, which the terminal's Ctrl-C is not for.
    posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&_attributes, 0);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&_files);
    posix_spawnattr_destroy(&_attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawn_file_actions_t* files() const { return &_files; }
  const posix_spawnattr_t* attributes() const { return &_attributes; }

 private:
  posix_spawn_file_actions_t _files;
  posix_spawnattr_t _attributes;
};

}  // namespace

ChildProcess::ChildProcess(std::unique_ptr<System> system) : _system(std::move(system)) {}
ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;
ChildProcess& ChildProcess::operator=(ChildProcess&&) noexcept = default;
ChildProcess::~ChildProcess() = default;

Result<ChildProcess> ChildProcess::Start(const std::vector<std::string>& arguments,
                                         std::u16string_view messages) {
  std::vector<std::string> words = {"parvane"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  const std::string file = PathToNative(messages);
  const SpawnSettings settings(file.c_str());
  auto system = std::make_unique<System>();
  const int error = posix_spawn(&system->pid, kOwnProgram, settings.files(), settings.attributes(),
                                pointers.data(), environ);
  if (error != 0) return ErrnoStatus(error, "start a process that writes to", messages);
  return ChildProcess(std::move(system));
}

std::optional<int> ChildProcess::Poll() {
  if (_system->code) return _system->code;
  int status = 0;
  const pid_t ended = waitpid(_system->pid, &status, WNOHANG);
  if (ended == 0 || (ended < 0 && errno == EINTR)) return std::nullopt;
  constexpr int kOfSignals = 128;
  if (ended < 0) {
    // Somebody else took its end; what became of it its files tell.
    _system->code = kOfSignals;
  } else {
    _system->code = WIFSIGNALED(status) ? kOfSignals + WTERMSIG(status) : WEXITSTATUS(status);
  }
  return _system->code;
}

void ChildProcess::Interrupt() {
  if (!_system->code) kill(_system->pid, SIGINT);
}

unsigned ProcessorCount() {
#if defined(__linux__)
  // Fails where there are more than the set has room for.
  cpu_set_t usable;
  if (sched_getaffinity(0, sizeof usable, &usable) == 0) {
    return static_cast<unsigned>(CPU_COUNT(&usable));
  }
#endif
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 0 ? static_cast<unsigned>(count) : 1;
}

void Sleep(unsigned milliseconds) {
  const timespec time{static_cast<time_t>(milliseconds / 1000),
                      static_cast<long>(milliseconds % 1000) * 1'000'000};
  nanosleep(&time, nullptr);  // a signal ends it early, and is what is waited for
}

}  // namespace parvane::platform
