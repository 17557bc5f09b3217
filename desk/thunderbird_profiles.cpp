#include "desk/thunderbird_profiles.h"

#include <algorithm>
#include <set>
#include <string_view>

#include <fmt/format.h>

#include "desk/folder_evidence.h"
#include "desk/format.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

constexpr std::uint64_t kLargestProfilesFile = 1 << 20;
// From the mail to the root of its profile, subfolders of subfolders included.
constexpr int kMostLevelsUp = 12;
constexpr std::size_t kMostFoldersMeasured = 20'000;

FileSystem& Files() { return FileSystem::Default(); }

bool IsProfile(const std::u16string& folder) {
  const auto holds = [&](std::u16string_view name) {
    return Files().FolderExists(platform::JoinPath(folder, name));
  };
  return Files().FileExists(platform::JoinPath(folder, u"prefs.js")) &&
         (holds(u"Mail") || holds(u"ImapMail"));
}

// Elsewhere, in a backup say, other mail may stand beside a profile, and is wanted as well.
bool MayHoldProfiles(const std::u16string& folder) {
  return platform::FoldCase(platform::CanonicalPath(folder)).find(u"thunderbird") !=
             std::u16string::npos ||
         Files().FileExists(platform::JoinPath(folder, u"profiles.ini"));
}

// The paths in "profiles.ini", which may lie anywhere:
//
//   [Profile0]
//   IsRelative=1
//   Path=Profiles/x1y2z3.default
std::vector<std::u16string> ListedProfiles(const std::u16string& folder) {
  const auto file = platform::ReadWholeFile(Files(), platform::JoinPath(folder, u"profiles.ini"),
                                            kLargestProfilesFile);
  std::vector<std::u16string> paths;
  bool relative = true;
  for (std::string_view rest = file.ok() ? std::string_view(*file) : ""; !rest.empty();) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.starts_with('[')) relative = true;
    if (line == "IsRelative=0") relative = false;
    constexpr std::string_view kPath = "Path=";
    if (!line.starts_with(kPath)) continue;
    const std::u16string path = platform::PathFromNative(line.substr(kPath.size()));
    paths.push_back(relative ? platform::JoinPath(folder, path) : path);
  }
  return paths;
}

std::uint64_t SizeOfMail(const std::u16string& profile) {
  std::vector<std::u16string> waiting = {platform::JoinPath(profile, u"Mail"),
                                         platform::JoinPath(profile, u"ImapMail")};
  std::uint64_t size = 0;
  for (std::size_t measured = 0; !waiting.empty() && measured < kMostFoldersMeasured; ++measured) {
    const std::u16string folder = std::move(waiting.back());
    waiting.pop_back();
    const auto entries = Files().List(folder);
    if (!entries.ok()) continue;
    for (const DirectoryEntry& entry : *entries) {
      size += entry.size;
      if (entry.kind == FileKind::kFolder && !entry.link)
        waiting.push_back(platform::JoinPath(folder, entry.name));
    }
  }
  return size;
}

// A program that died leaves the file, but no lock on it.
bool IsLocked(const std::u16string& profile) {
  return std::ranges::any_of(
      std::initializer_list<std::u16string_view>{u".parentlock", u"parent.lock"},
      [&](std::u16string_view name) {
        return Files().IsHeldByAnother(platform::JoinPath(profile, name));
      });
}

}  // namespace

std::vector<std::u16string> ProfilesIn(const std::u16string& folder) {
  if (!MayHoldProfiles(folder)) return {};
  std::set<std::u16string> found;  // canonical, so that none is found twice
  const auto add = [&](const std::u16string& path) {
    if (IsProfile(path)) found.insert(platform::CanonicalPath(path));
  };
  // A Flatpak has its home in ~/.var/app/NAME, a Snap in ~/snap/NAME/common.
  for (std::u16string_view inner : {u"", u"Profiles", u".thunderbird", u"common/.thunderbird"}) {
    const std::u16string place = inner.empty() ? folder : platform::JoinPath(folder, inner);
    const auto entries = Files().List(place);
    if (!entries.ok()) continue;
    for (const DirectoryEntry& entry : *entries) {
      if (entry.kind == FileKind::kFolder) add(platform::JoinPath(place, entry.name));
    }
    for (const std::u16string& path : ListedProfiles(place)) add(path);
  }
  return {found.begin(), found.end()};
}

std::string ListOfProfiles(const std::vector<std::u16string>& profiles) {
  std::string list;
  for (const std::u16string& profile : profiles) {
    const auto used = Files().Inspect(platform::JoinPath(profile, u"prefs.js")).modified;
    list += fmt::format("{}{} (last used {}, {} of mail)", list.empty() ? "" : "; ",
                        platform::PathForDisplay(profile), ShortTime(used).substr(0, 10),
                        Size(SizeOfMail(profile)));
  }
  return list;
}

std::optional<std::u16string> RunningProfileOf(const std::u16string& path) {
  std::u16string folder = platform::CanonicalPath(path);
  for (int level = 0; level < kMostLevelsUp; ++level) {
    if (IsProfile(folder)) {
      if (IsLocked(folder)) return folder;
      return std::nullopt;
    }
    const std::u16string parent = platform::ParentOfPath(folder);
    if (parent == folder || parent == u".") break;
    folder = parent;
  }
  return std::nullopt;
}

}  // namespace parvane::desk
