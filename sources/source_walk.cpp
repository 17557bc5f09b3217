#include "sources/source_walk.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "engine/file_kinds.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"
#include "sources/mailbox_cutting.h"
#include "sources/state/thunderbird_index.h"

namespace parvane::sources {

using engine::SkipReason;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

namespace {

bool IsMaildir(std::u16string_view directory) {
  const auto entries = FileSystem::Default().List(directory);
  return entries.ok() && engine::LayoutOf(directory, *entries) == engine::MessageLayout::kMaildir;
}

bool HoldsFiles(std::u16string_view directory) {
  const auto entries = FileSystem::Default().List(directory);
  return entries.ok() && std::ranges::any_of(*entries, [](const DirectoryEntry& entry) {
           return entry.kind == FileKind::kFile;
         });
}

// Programs lock files and folders by links that lead nowhere on purpose: the mail program its
// profile ("lock" -> "127.0.1.1:+4711"), editors the file in hand (".#name").
bool IsLockLink(std::u16string_view name) {
  return name == u"lock" || name.starts_with(u'.') || engine::HasExtension(name, u".msf");
}

// The index of a mailbox that is not there. An empty one counts as missing where the messages are
// kept on a server: the program makes it before it fetches the first.
bool IsIndexAlone(std::u16string_view index) {
  const std::u16string folder = platform::ParentOfPath(index);
  const platform::FileInformation mailbox =
      FileSystem::Default().Inspect(platform::JoinPath(folder, platform::StemOfPath(index)));
  if (mailbox.kind == FileKind::kNone) return true;
  return mailbox.kind == FileKind::kFile && mailbox.size == 0 &&
         folder.find(u"ImapMail") != folder.npos;
}

}  // namespace

void SourceWalk::StepInto(std::u16string_view directory,
                          const platform::FileInformation& information) {
  Step step;
  step.identity = {information.device, information.identity};
  const std::u16string name = platform::FileNameOfPath(directory);
  _linked = !_way.empty() && _way.back().HasLink(name);
  step.realPath = _way.empty() || _linked ? platform::CanonicalPath(directory)
                                          : platform::JoinPath(_way.back().realPath, name);
  _way.push_back(std::move(step));
}

std::optional<SkipReason> SourceWalk::ReasonNotToRead() {
  if (_way.size() > kMaximumDepth) return SkipReason::kTooDeep;
  const Step& here = _way.back();
  const auto leadsBack = [&](const Step& step) { return step.identity == here.identity; };
  if (std::any_of(_way.begin(), std::prev(_way.end()), leadsBack))
    return SkipReason::kSymbolicLinkLoop;
  // What lies within the source is read, or told to be left behind, where it lies and under its own
  // name, whichever of the two comes first.
  const bool within = here.realPath.starts_with(platform::JoinPath(_way.front().realPath, u""));
  if ((_linked && within) || !_read.insert(here.identity).second) return SkipReason::kLinkToFolder;
  return std::nullopt;
}

std::vector<platform::DirectoryEntry> SourceWalk::Enter(std::u16string_view directory) {
  if (_progress) _progress->CurrentProgressLabel(directory);

  FileSystem& files = FileSystem::Default();
  const platform::FileInformation information = files.Inspect(directory);
  StepInto(directory, information);
  if (information.kind == FileKind::kFile) return {};
  if (information.kind == FileKind::kFolder) {
    if (const auto reason = ReasonNotToRead()) {
      Skipped(directory, *reason);
      return {};
    }
  }
  auto entries = files.List(directory);
  if (!entries.ok()) {
    Skipped(directory, SkipReason::kUnreadable, entries.status());
    return {};
  }
  for (const DirectoryEntry& entry : *entries) {
    if (entry.link) _way.back().links.push_back(entry.name);
  }
  std::erase_if(*entries, [&](const DirectoryEntry& entry) {
    if (entry.kind == FileKind::kFile || entry.kind == FileKind::kFolder) return false;
    SkippedUnlisted(platform::JoinPath(directory, entry.name), entry.link);
    return true;
  });
  if (_observer && !_takesSingleMessages) SkippedSingleMessages(directory, *entries);
  return std::move(entries).value();
}

bool SourceWalk::AcceptMbox(std::u16string_view path) {
  platform::Status status;
  switch (ProbeMboxFile(path, &status)) {
    case MboxProbe::kMbox:
    case MboxProbe::kEmpty:
      return true;
    case MboxProbe::kOther:
      return AcceptBeginning(path);
    case MboxProbe::kUnreadable:
      Skipped(path, SkipReason::kUnreadable, status);
      return false;
  }
  return false;
}

bool SourceWalk::AcceptBeginning(std::u16string_view path) {
  if (!_anyBeginning && !_observer) return false;
  const Beginning beginning = LookAtBeginning(path);
  if (_anyBeginning && beginning != Beginning::kOther) return true;
  const bool damaged = beginning == Beginning::kMark || beginning == Beginning::kText;
  Skipped(path, damaged ? SkipReason::kDamagedBeginning : SkipReason::kNotAnMbox);
  return false;
}

void SourceWalk::Skipped(std::u16string_view path, SkipReason reason,
                         const platform::Status& status) const {
  if (_observer) _observer->PathSkipped(path, reason, status);
}

// Neither file nor folder; or not to be seen, when the directory may be listed and no more.
void SourceWalk::SkippedUnlisted(std::u16string_view path, bool link) const {
  if (!_observer) return;
  const auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (file.status().code() == platform::StatusCode::kAccessDenied)
    return Skipped(path, SkipReason::kUnreadable, file.status());
  const bool mayBeMail = link && !IsLockLink(platform::FileNameOfPath(path));
  Skipped(path, mayBeMail ? SkipReason::kDanglingLink : SkipReason::kNotAFile);
}

void SourceWalk::SkippedSingleMessages(std::u16string_view directory,
                                       const std::vector<DirectoryEntry>& entries) const {
  using engine::MessageLayout;
  const std::u16string name = platform::FileNameOfPath(directory);
  // Told of the maildir, or read.
  if ((name == u"cur" || name == u"new") && IsMaildir(platform::ParentOfPath(directory))) return;
  const MessageLayout layout = engine::LayoutOf(directory, entries);
  const auto holds = [&](std::u16string_view place) {
    return HoldsFiles(platform::JoinPath(directory, place));
  };
  const bool others =
      layout != _reads && (layout == MessageLayout::kMh ||
                           (layout == MessageLayout::kMaildir && (holds(u"cur") || holds(u"new"))));
  if (others ||
      std::ranges::any_of(entries, [&](const auto& entry) { return IsOfAnotherSource(entry); })) {
    Skipped(directory, SkipReason::kSingleMessages);
  }
}

bool SourceWalk::IsOfAnotherSource(const DirectoryEntry& entry) const {
  if (entry.kind != FileKind::kFile || !engine::IsNamedLikeAMessage(entry.name)) return false;
  if (entry.name == engine::kMhSequences) return _reads != engine::MessageLayout::kMh;
  return _reads != engine::MessageLayout::kLetters || !engine::HasExtension(entry.name, u".eml");
}

void SourceWalk::SkippedByName(std::u16string_view path) const {
  if (!_observer) return;
  platform::Status status;
  const MboxProbe probe = ProbeMboxFile(path, &status);
  switch (probe) {
    case MboxProbe::kMbox:
      return Skipped(path, SkipReason::kOtherExtension);
    case MboxProbe::kUnreadable:
      return Skipped(path, SkipReason::kUnreadable, status);
    case MboxProbe::kEmpty:
    case MboxProbe::kOther:
      // One stands beside every mailbox of a profile.
      if (engine::HasExtension(path, u".msf")) {
        if (!_way.back().HasLink(platform::StemOfPath(path)) && IsIndexAlone(path) &&
            IndexListsMessages(OpenerOf(std::u16string(path)))) {
          Skipped(path, SkipReason::kNotDownloaded);
        }
      } else {
        const bool foreign = probe == MboxProbe::kOther && engine::IsNamedLikeForeignMail(path);
        Skipped(path, engine::IsNamedLikeAnArchive(path) ? SkipReason::kCompressed
                      : foreign                          ? SkipReason::kForeignMail
                                                         : SkipReason::kOtherFile);
      }
  }
}

}  // namespace parvane::sources
