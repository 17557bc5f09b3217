#include "desk/folder_evidence.h"

#include <array>
#include <deque>
#include <set>
#include <utility>

#include "engine/file_kinds.h"
#include "factory/source_factory.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using engine::MessageLayout;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::Result;

// Searching a folder for mail stops after this many folders: whoever points at a whole disk by
// mistake gets an answer.
constexpr std::size_t kMostFoldersSearched = 20'000;

FileSystem& Files() { return FileSystem::Default(); }

void LookAtFile(std::u16string_view folder, const DirectoryEntry& entry,
                const std::set<std::u16string_view>& folderNames, FolderEvidence& evidence) {
  const std::u16string extension = platform::ExtensionOfPath(entry.name);
  if (engine::HasExtension(entry.name, u".mbox") && !entry.name.starts_with(u"._")) {
    // The first is one or none is.
    if (!evidence.mboxFiles) {
      const auto packed = factory::PackedSourceAt(platform::JoinPath(folder, entry.name));
      evidence.gmailExport = packed.ok() && *packed == factory::SourceKind::kTakeout;
    }
    evidence.mboxFiles = true;
  }
  // That of an account stands beside the account's folder.
  evidence.indexFiles |= engine::HasExtension(entry.name, u".msf") &&
                         !folderNames.contains(platform::StemOfPath(entry.name));
  evidence.appleMail |= engine::HasExtension(entry.name, u".emlx") && !entry.name.starts_with(u'.');
  evidence.compressed |= engine::IsNamedLikeAnArchive(entry.name);
  if (extension.empty() && entry.size > 0 && !evidence.mailFiles) {
    const auto beginning = LookAtBeginning(platform::JoinPath(folder, entry.name));
    evidence.mailFiles = beginning.ok() && *beginning == Beginning::kMail;
  }
}

bool IsMaildir(std::u16string_view folder) {
  if (!Files().FolderExists(platform::JoinPath(folder, u"cur"))) return false;
  const auto entries = Files().List(folder);
  return entries.ok() && engine::LayoutOf(folder, *entries) == MessageLayout::kMaildir;
}

bool IsStrong(const FolderEvidence& evidence) {
  return evidence.profileRoot || evidence.mboxFiles || evidence.appleMail ||
         evidence.Thunderbird() || evidence.maildirs ||
         evidence.layout == MessageLayout::kMaildir || evidence.layout == MessageLayout::kMh;
}

}  // namespace

Result<Beginning> LookAtBeginning(std::u16string_view path) {
  auto file = Files().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::array<char, 5> start{};
  auto count = file.value()->ReadAt(0, std::as_writable_bytes(std::span(start)));
  if (!count.ok()) return count.status();
  if (*count == 0) return Beginning::kEmpty;
  return std::string_view(start.data(), *count) == "From " ? Beginning::kMail : Beginning::kOther;
}

FolderEvidence LookInto(std::u16string_view folder, const std::vector<DirectoryEntry>& entries) {
  FolderEvidence evidence;
  std::set<std::u16string_view> fileNames, folderNames;
  for (const DirectoryEntry& entry : entries)
    (entry.kind == FileKind::kFolder ? folderNames : fileNames).insert(entry.name);
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind == FileKind::kFolder) {
      evidence.appleMail |= engine::IsMailboxFolder(entry.name);
      evidence.subfolders |= platform::ExtensionOfPath(entry.name) == u".sbd" &&
                             fileNames.contains(platform::StemOfPath(entry.name));
      evidence.maildirs |= IsMaildir(platform::JoinPath(folder, entry.name));
    } else if (entry.kind == FileKind::kFile) {
      LookAtFile(folder, entry, folderNames, evidence);
    } else {
      // Programs lock by links that are meant to lead nowhere: "lock", ".#name".
      evidence.deadLinks |= entry.kind == FileKind::kNone && entry.link && entry.name != u"lock" &&
                            !entry.name.starts_with(u'.');
    }
  }
  evidence.appleMail |= engine::IsMailboxFolder(engine::NameOfSource(folder)) &&
                        (fileNames.contains(u"mbox") || folderNames.contains(u"Messages"));
  evidence.profileRoot = fileNames.contains(u"prefs.js") &&
                         (folderNames.contains(u"Mail") || folderNames.contains(u"ImapMail"));
  evidence.layout = engine::LayoutOf(folder, entries);
  return evidence;
}

Result<FolderEvidence> SearchFolder(const std::u16string& top) {
  FolderEvidence unread;
  std::deque<std::u16string> waiting = {top};
  std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
  for (std::size_t searched = 0; !waiting.empty() && searched < kMostFoldersSearched; ++searched) {
    const std::u16string folder = std::move(waiting.front());
    waiting.pop_front();
    const auto information = Files().Inspect(folder);
    if (!seen.emplace(information.device, information.identity).second) continue;
    auto entries = Files().List(folder);
    if (!entries.ok()) {
      if (folder == top) return entries.status();
      unread.locked |= entries.status().code() == platform::StatusCode::kAccessDenied;
      continue;
    }
    FolderEvidence evidence = LookInto(folder, *entries);
    // Above the mail itself a profile's root is only that.
    if (folder != top) evidence.profileRoot = false;
    if (IsStrong(evidence)) return evidence;
    if (unread.layout == MessageLayout::kNone) unread.layout = evidence.layout;
    unread.singleMessages |= evidence.singleMessages;
    unread.compressed |= evidence.compressed;
    unread.deadLinks |= evidence.deadLinks;
    for (const DirectoryEntry& entry : *entries) {
      if (entry.kind == FileKind::kFolder)
        waiting.push_back(platform::JoinPath(folder, entry.name));
    }
  }
  return unread;
}

std::string NoMailText(const FolderEvidence& found) {
  std::string text = "no mail found in it that is read here";
  if (found.singleMessages) {
    return text +
           ", but messages in files of their own: let the program that keeps them export them as "
           "mbox";
  }
  if (found.compressed)
    return text + ", but compressed files or archives: give these themselves as sources";
  if (found.deadLinks) return text + ", but links that lead nowhere: connect the disk they lead to";
  if (found.locked) return "no mail found in it, but folders that may not be opened";
  return "no mail found in it";
}

}  // namespace parvane::desk
