#include "desk/file_chooser.h"

#include <algorithm>
#include <tuple>

#include "desk/source_names.h"
#include "desk/source_plan.h"
#include "engine/file_kinds.h"
#include "engine/message_layouts.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::JoinPath;
using platform::Result;

constexpr std::size_t kMostEntries = 5'000;
constexpr std::size_t kMostLookedInto = 1'000;

FileSystem& Files() { return FileSystem::Default(); }

std::string_view MailInFile(const ChooserEntry& file, std::size_t& looks) {
  constexpr std::pair<std::u16string_view, std::string_view> kByName[] = {
      {u".pst", "pst"}, {u".eml", "eml"}, {u".emlx", "emlx"}};
  for (const auto& [extension, mail] : kByName) {
    if (engine::HasExtension(file.name, extension)) return mail;
  }
  if (engine::IsNamedLikeAnArchive(file.name))
    return platform::FoldCase(file.name).starts_with(u"takeout-") ? "takeout" : "archive";
  const bool mayBe = platform::ExtensionOfPath(file.name).empty() ||
                     engine::HasExtension(file.name, u".mbox") ||
                     engine::HasExtension(file.name, u".mbx");
  return mayBe && file.bytes > 0 && looks++ < kMostLookedInto && LooksLikeMailbox(file.path)
             ? "mbox"
             : "";
}

// By a few names that would be in it: it may be large, or on a slow disk.
std::string_view MailInFolder(const ChooserEntry& folder, std::size_t& looks) {
  if (engine::IsMailboxFolder(folder.name)) return "apple";
  if (looks++ >= kMostLookedInto) return "";
  const auto holds = [&](std::u16string_view name, FileKind kind) {
    return Files().Inspect(JoinPath(folder.path, name)).kind == kind;
  };
  if (holds(u"cur", FileKind::kFolder) && holds(u"new", FileKind::kFolder)) return "maildir";
  if (holds(engine::kMhSequences, FileKind::kFile)) return "mh";
  if (holds(u"profiles.ini", FileKind::kFile)) return "thunderbird";
  const bool profile = holds(u"prefs.js", FileKind::kFile) &&
                       (holds(u"Mail", FileKind::kFolder) || holds(u"ImapMail", FileKind::kFolder));
  return profile ? "profile" : "";
}

bool ComesBefore(const ChooserEntry& a, const ChooserEntry& b) {
  const auto order = [](const ChooserEntry& entry) {
    return std::tuple(!entry.folder, entry.name.starts_with(u'.'), platform::FoldCase(entry.name));
  };
  return order(a) < order(b);
}

}  // namespace

Result<ChooserListing> ListForChooser(std::u16string_view path) {
  ChooserListing listing;
  listing.path = path;
  if (path.empty())
    listing.path = platform::FolderOfUser(platform::UserFolder::kHome).value_or(u"/");
  if (Files().FileExists(listing.path)) listing.path = platform::ParentOfPath(listing.path);
  auto entries = Files().List(listing.path);
  if (!entries.ok()) return entries.status();
  listing.parent = platform::ParentOfPath(listing.path);
  if (listing.parent == listing.path || listing.parent == u".") listing.parent.clear();
  for (const DirectoryEntry& entry : *entries) {
    if (entry.kind == FileKind::kFile || entry.kind == FileKind::kFolder) {
      listing.entries.push_back({entry.name,
                                 JoinPath(listing.path, entry.name),
                                 entry.kind == FileKind::kFolder,
                                 entry.size,
                                 {},
                                 {}});
    }
  }
  std::ranges::sort(listing.entries, ComesBefore);
  listing.more = listing.entries.size() > kMostEntries;
  if (listing.more) listing.entries.resize(kMostEntries);
  std::size_t files = 0, folders = 0;
  for (ChooserEntry& entry : listing.entries) {
    entry.modified = Files().Inspect(entry.path).modified;
    entry.mail = entry.folder ? MailInFolder(entry, folders) : MailInFile(entry, files);
  }
  return listing;
}

std::vector<ChooserShortcut> ChooserShortcuts(const PlacesToLook& places) {
  std::vector<ChooserShortcut> shortcuts;
  const auto add = [&](std::u16string name, const std::u16string& path) {
    if (!path.empty() && Files().FolderExists(path)) shortcuts.push_back({std::move(name), path});
  };
  add(platform::FileNameOfPath(places.home), places.home);
  for (const std::u16string& folder : places.personal)
    add(platform::FileNameOfPath(folder), folder);
  if (platform::kPathSeparator == u'/') {
    add(u"/", u"/");
    return shortcuts;
  }
  for (char16_t letter = u'A'; letter <= u'Z'; ++letter) {
    const std::u16string drive = {letter, u':', platform::kPathSeparator};
    add(drive, drive);
  }
  return shortcuts;
}

}  // namespace parvane::desk
