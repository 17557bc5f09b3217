#include "sources/source_walk.h"

#include <algorithm>
#include <string>

#include "platform/text.h"

namespace parvane::sources {

using engine::SkipReason;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

namespace {

// As far as a file that does not begin with a separator line is searched for one.
constexpr std::size_t kBeginning = 64 << 10;

// Something stands before the first message: an empty line, a byte order mark, a piece of a
// message whose first half is gone.
bool HasSeparatorFartherOn(std::u16string_view path) {
  auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return false;
  std::string beginning(kBeginning, '\0');
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(beginning)));
  if (!count.ok()) return false;
  beginning.resize(*count);
  const std::string_view text = beginning;
  for (std::size_t at = text.find("From "); at != text.npos; at = text.find("From ", at + 1)) {
    const std::string_view before = text.substr(0, at);
    const bool startsLine =
        before.ends_with('\n') || before.ends_with('\r') || before == "\xEF\xBB\xBF";
    const std::string_view line = text.substr(at, text.find_first_of("\r\n", at) - at);
    if (startsLine && SeparatorHasDate(line)) return true;
  }
  return false;
}

// As the folders of a maildir are named, which come in threes.
bool IsOfMaildir(std::u16string_view directory) {
  const std::u16string name = platform::FileNameOfPath(directory);
  return (name == u"cur" || name == u"new") &&
         FileSystem::Default().FolderExists(
             platform::JoinPath(platform::ParentOfPath(directory), u"tmp"));
}

bool IsSingleMessage(const DirectoryEntry& entry) {
  const std::u16string extension = platform::ExtensionOfPath(entry.name);
  return entry.kind == FileKind::kFile && (platform::EqualsIgnoreCase(extension, u".eml") ||
                                           platform::EqualsIgnoreCase(extension, u".emlx"));
}

}  // namespace

std::vector<platform::DirectoryEntry> SourceWalk::Enter(std::u16string_view directory) {
  ++_depth;
  if (_progress) _progress->CurrentProgressLabel(directory);

  FileSystem& files = FileSystem::Default();
  const platform::FileInformation information = files.Inspect(directory);
  if (information.kind == FileKind::kFile) return {};
  if (_depth > kMaximumDepth) {
    Skipped(directory, SkipReason::kTooDeep);
    return {};
  }
  if (information.kind == FileKind::kFolder &&
      !_seen.emplace(information.device, information.identity).second) {
    Skipped(directory, SkipReason::kSymbolicLinkLoop);
    return {};
  }
  auto entries = files.List(directory);
  if (!entries.ok()) {
    Skipped(directory, SkipReason::kUnreadable, entries.status());
    return {};
  }
  std::erase_if(*entries, [&](const DirectoryEntry& entry) {
    if (entry.kind == FileKind::kFile || entry.kind == FileKind::kFolder) return false;
    SkippedUnlisted(platform::JoinPath(directory, entry.name));
    return true;
  });
  if (_observer) SkippedSingleMessages(directory, *entries);
  return std::move(entries).value();
}

bool SourceWalk::AcceptMbox(std::u16string_view path) {
  platform::Status status;
  switch (ProbeMboxFile(path, &status)) {
    case MboxProbe::kMbox:
    case MboxProbe::kEmpty:
      return true;
    case MboxProbe::kOther:
      if (_observer)
        Skipped(path, HasSeparatorFartherOn(path) ? SkipReason::kDamagedBeginning
                                                  : SkipReason::kNotAnMbox);
      return false;
    case MboxProbe::kUnreadable:
      Skipped(path, SkipReason::kUnreadable, status);
      return false;
  }
  return false;
}

void SourceWalk::Skipped(std::u16string_view path, SkipReason reason,
                         const platform::Status& status) const {
  if (_observer) _observer->PathSkipped(path, reason, status);
}

// Neither file nor folder; or not to be seen, when the directory may be listed and no more.
void SourceWalk::SkippedUnlisted(std::u16string_view path) const {
  if (!_observer) return;
  const auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  const bool hidden = file.status().code() == platform::StatusCode::kAccessDenied;
  Skipped(path, hidden ? SkipReason::kUnreadable : SkipReason::kNotAFile,
          hidden ? file.status() : platform::Status());
}

void SourceWalk::SkippedSingleMessages(std::u16string_view directory,
                                       const std::vector<DirectoryEntry>& entries) const {
  const bool maildir = IsOfMaildir(directory) &&
                       std::any_of(entries.begin(), entries.end(), [](const DirectoryEntry& entry) {
                         return entry.kind == FileKind::kFile;
                       });
  if (maildir || std::any_of(entries.begin(), entries.end(), IsSingleMessage))
    Skipped(directory, SkipReason::kSingleMessages);
}

void SourceWalk::SkippedByName(std::u16string_view path) const {
  if (!_observer) return;
  platform::Status status;
  switch (ProbeMboxFile(path, &status)) {
    case MboxProbe::kMbox:
      return Skipped(path, SkipReason::kOtherExtension);
    case MboxProbe::kUnreadable:
      return Skipped(path, SkipReason::kUnreadable, status);
    case MboxProbe::kEmpty:
    case MboxProbe::kOther:
      // One stands beside every mailbox of a profile.
      if (!platform::EqualsIgnoreCase(platform::ExtensionOfPath(path), u".msf"))
        Skipped(path, SkipReason::kOtherFile);
  }
}

}  // namespace parvane::sources
