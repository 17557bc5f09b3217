#include "platform/browser.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/child_process.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"

extern char** environ;

namespace parvane::platform {
namespace {

// The first that is there and does not fail decides what the default browser is. A shell has no
// part in it.
using Opener = std::array<const char*, 3>;
constexpr Opener kOpeners[] = {{"xdg-open"},      {"gio", "open"}, {"sensible-browser"},
                               {"x-www-browser"}, {"firefox"},     {"chromium"},
                               {"google-chrome"}, {"open"}};
constexpr unsigned kPatience = 3'000, kPause = 50;  // milliseconds

std::optional<std::u16string> FolderNamed(const char* variable) {
  const char* value = std::getenv(variable);
  if (value == nullptr || *value != '/') return std::nullopt;
  const std::u16string folder = PathFromNative(value);
  if (!FileSystem::Default().FolderExists(folder)) return std::nullopt;
  return folder;
}

// One that still runs after a while is the browser itself.
bool Succeeds(pid_t process) {
  for (unsigned waited = 0; waited < kPatience; waited += kPause) {
    int status = 0;
    const pid_t ended = ::waitpid(process, &status, WNOHANG);
    if (ended == process) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (ended < 0 && errno != EINTR) return false;
    Sleep(kPause);
  }
  return true;
}

bool Start(const Opener& opener, std::string what) {
  std::array<std::string, 3> words;
  std::array<char*, 5> arguments{};
  std::size_t count = 0;
  for (; count < opener.size() && opener[count] != nullptr; ++count) {
    words[count] = opener[count];
    arguments[count] = words[count].data();
  }
  arguments[count] = what.data();
  // Nothing of what it says belongs on our terminal, and the terminal's Ctrl-C is not for it.
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  pid_t process = -1;
  const int error =
      posix_spawnp(&process, arguments[0], &files, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error == 0 && Succeeds(process);
}

}  // namespace

bool OthersReadArguments() { return true; }

std::optional<std::u16string> SessionFolder() {
  auto folder = FolderNamed("XDG_RUNTIME_DIR");
  return folder ? folder : LocalApplicationDataFolder();
}

std::optional<std::u16string> FolderForBoxedBrowser() {
  if (!FileSystem::Default().FolderExists(u"/var/lib/snapd")) return std::nullopt;
  return FolderNamed("HOME");
}

Status OpenInBrowser(std::u16string_view what) {
  for (const Opener& opener : kOpeners) {
    if (Start(opener, PathToNative(what))) return {};
  }
  return {StatusCode::kNotFound, "no browser could be started"};
}

bool HasOwnConsole() { return false; }
void LeaveConsole() {}
void ShowMessage(std::u16string_view) {}

}  // namespace parvane::platform
