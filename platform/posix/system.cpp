#include "platform/system.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>
#include <utility>

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system_internal.h"

namespace parvane::platform {
namespace {

// The variable's value as a path, or empty. Relative paths are no answer (XDG base directories).
std::u16string FolderFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value != '/') return {};
  return PathFromNative(value);
}

std::u16string ConfigurationFolder(std::u16string_view home) {
  const std::u16string folder = FolderFromEnvironment("XDG_CONFIG_HOME");
  return folder.empty() ? JoinPath(home, u".config") : folder;
}

// From "user-dirs.dirs", in which desktops note what they named these folders:
//
//   XDG_DOWNLOAD_DIR="$HOME/Téléchargements"
std::u16string NotedFolder(std::u16string_view home, std::string_view key) {
  constexpr std::string_view kHome = "$HOME/";
  constexpr std::uint64_t kLargestNotes = 1 << 16;
  const auto file = ReadWholeFile(
      FileSystem::Default(), JoinPath(ConfigurationFolder(home), u"user-dirs.dirs"), kLargestNotes);
  for (std::string_view rest = file.ok() ? std::string_view(*file) : ""; !rest.empty();) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (!line.starts_with(key)) continue;
    line.remove_prefix(key.size());
    if (line.size() < 3 || !line.starts_with("=\"") || !line.ends_with('"')) continue;
    line = line.substr(2, line.size() - 3);
    if (line.starts_with('/')) return PathFromNative(line);
    if (!line.starts_with(kHome)) continue;
    const std::string_view inside = line.substr(kHome.size());
    // The home itself stands for "none".
    return inside.empty() ? std::u16string() : JoinPath(home, PathFromNative(inside));
  }
  return {};
}

}  // namespace

unsigned SystemAnsiCodePage() { return 65001; }

std::optional<std::u16string> LocalApplicationDataFolder() {
  std::u16string folder = FolderFromEnvironment("XDG_DATA_HOME");
  if (!folder.empty()) return folder;
  folder = FolderFromEnvironment("HOME");
  if (folder.empty()) return std::nullopt;
  return JoinPath(JoinPath(folder, u".local"), u"share");
}

std::optional<std::u16string> FolderOfUser(UserFolder folder) {
  const std::u16string home = FolderFromEnvironment("HOME");
  if (home.empty()) return std::nullopt;
  const auto noted = [&](std::string_view key, std::u16string_view usual) {
    std::u16string path = NotedFolder(home, key);
    return path.empty() ? JoinPath(home, usual) : path;
  };
  switch (folder) {
    case UserFolder::kHome:
      return home;
    case UserFolder::kDocuments:
      return noted("XDG_DOCUMENTS_DIR", u"Documents");
    case UserFolder::kDownloads:
      return noted("XDG_DOWNLOAD_DIR", u"Downloads");
    case UserFolder::kDesktop:
      return noted("XDG_DESKTOP_DIR", u"Desktop");
    case UserFolder::kSettings:
      return ConfigurationFolder(home);
  }
  return std::nullopt;
}

std::thread ThreadWithoutSignals(std::function<void()> body) {
  // A thread has from its start the mask of the one that starts it.
  struct Mask {
    Mask() {
      sigset_t all;
      sigfillset(&all);
      pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~Mask() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    sigset_t before;
  };
  const Mask mask;
  return std::thread(std::move(body));
}

void FillRandomFromSystem(std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    // getentropy gives at most 256 bytes at once.
    const std::size_t piece = std::min<std::size_t>(bytes.size(), 256);
    if (::getentropy(bytes.data(), piece) != 0) {
      std::random_device device;
      for (std::byte& b : bytes.first(piece)) b = static_cast<std::byte>(device());
    }
    bytes = bytes.subspan(piece);
  }
}

std::u16string TemporaryFolder() {
  std::u16string folder = FolderFromEnvironment("TMPDIR");
  return folder.empty() ? u"/tmp" : folder;
}

std::uint64_t PeakResidentBytes() {
#if defined(__linux__)
  // getrusage would count what this process was before it became this program.
  if (std::FILE* status = std::fopen("/proc/self/status", "re")) {
    char line[256];
    unsigned long long kilobytes = 0;
    bool found = false;
    while (!found && std::fgets(line, sizeof line, status) != nullptr) {
      found = std::sscanf(line, "VmHWM: %llu", &kilobytes) == 1;
    }
    std::fclose(status);
    if (found) return kilobytes * 1024;
  }
#endif
  rusage usage;
  if (::getrusage(RUSAGE_SELF, &usage) != 0) return 0;
#if defined(__APPLE__)
  return static_cast<std::uint64_t>(usage.ru_maxrss);
#else
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
#endif
}

std::uint32_t ProcessIdentifier() { return static_cast<std::uint32_t>(::getpid()); }

std::u16string BrowseForFolder(const std::u16string&, bool, void*) { return {}; }

}  // namespace parvane::platform
