#include "sources/stores/maildir/maildir_folder.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/time.h"
#include "sources/state/fallback_date.h"

namespace parvane::sources {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

constexpr std::u16string_view kCur = u"cur";
constexpr std::u16string_view kNew = u"new";
constexpr std::u16string_view kKeywords = u"dovecot-keywords";
// It names 26 keywords.
constexpr std::uint64_t kLargestKeywords = 1 << 20;

platform::FileTime FromUnix(std::uint64_t seconds) {
  return platform::FileTimeFromTicks(
      (static_cast<std::uint64_t>(platform::kUnixEpochInFileTimeSeconds) + seconds) *
      platform::kTicksPerSecond);
}

struct Message {
  std::uint64_t delivered;  // ticks
  std::u16string_view place;
  const DirectoryEntry* entry;
};

std::uint64_t DeliveryTicks(std::u16string_view directory, std::u16string_view name) {
  if (const auto delivered = ParseMaildirName(name).delivered)
    return platform::FileTimeTicks(FromUnix(*delivered));
  return platform::FileTimeTicks(
      FileSystem::Default().Inspect(platform::JoinPath(directory, name)).modified);
}

void Gather(std::u16string_view directory, std::u16string_view place,
            const std::vector<DirectoryEntry>& entries, std::vector<Message>& messages,
            const SourceWalk& walk) {
  for (const DirectoryEntry& entry : entries) {
    const std::u16string path = platform::JoinPath(directory, entry.name);
    if (entry.kind == FileKind::kFolder) {
      walk.Skipped(path, engine::SkipReason::kOtherFile);
    } else if (entry.name.starts_with(u'.')) {
      walk.SkippedByName(path);
    } else {
      messages.push_back({DeliveryTicks(directory, entry.name), place, &entry});
    }
  }
}

}  // namespace

void MaildirFolder::TakeDirectory(std::u16string_view directory, SourceWalk& walk) {
  _folderDiskPath = directory;
  _folderType = QuelmarMIMEEngineCommon::kAssetFolderTypeEmail;
  std::vector<Message> messages;
  std::vector<DirectoryEntry> entries[2];
  const std::u16string_view places[] = {kCur, kNew};
  for (std::size_t i = 0; i < std::size(places); ++i) {
    const std::u16string path = platform::JoinPath(directory, places[i]);
    if (!FileSystem::Default().FolderExists(path)) continue;
    entries[i] = walk.Enter(path);
    walk.Leave();
    Gather(path, places[i], entries[i], messages, walk);
  }
  std::ranges::stable_sort(messages, {}, &Message::delivered);
  for (const Message& message : messages)
    AddFile(platform::JoinPath(message.place, message.entry->name), message.entry->size);
}

engine::MessageState MaildirFolder::StateOf(const StateHeaders& headers,
                                            const engine::StateWishes& wishes) {
  if (!std::exchange(_indexed, true)) {
    const std::u16string directory = FolderDiskPath().value_or(u"");
    if (MailboxIndex::KnowsDirectory(directory))
      _index = std::make_unique<MailboxIndex>(directory, MailboxIndex::Kind::kDirectory);
    if (_index && _index->fault() && Observer())
      Observer()->IndexNotUsed(_index->path(), *_index->fault(), _index->status());
  }
  return _index ? _index->StateOfFile(headers, wishes)
                : MessageFileFolder::StateOf(headers, wishes);
}

void MaildirFolder::Close() {
  _keywords.reset();
  _index.reset();
  _indexed = false;
}

void MaildirFolder::LearnState(std::u16string_view path, const engine::StateWishes& wishes,
                               engine::MessageState& state) {
  const MaildirName name = ParseMaildirName(platform::FileNameOfPath(path));
  if (name.keywords != 0 && !_keywords) {
    const std::u16string file = platform::JoinPath(FolderDiskPath().value_or(u""), kKeywords);
    const auto words = platform::ReadWholeFile(FileSystem::Default(), file, kLargestKeywords);
    _keywords.emplace();
    if (words.ok()) {
      *_keywords = ParseDovecotKeywords(*words);
    } else if (words.status().code() != platform::StatusCode::kNotFound && Observer()) {
      Observer()->IndexNotUsed(file, engine::IndexFault::kUnreadable, words.status());
    }
  }
  const bool isNew = platform::ParentOfPath(path) == kNew;
  ReadMaildirMarks(name, isNew, _keywords.value_or(MaildirKeywords()), wishes, state);
}

void MaildirFolder::LearnDateElsewhere(engine::MessageState& state) {
  MessageFileFolder::LearnDateElsewhere(state);
  const std::u16string_view path = FileInHand();
  const auto delivered = ParseMaildirName(platform::FileNameOfPath(path)).delivered;
  if (delivered) LearnDate(FromUnix(*delivered), engine::StateOrigin::kFileName, state);
  if (state.date.value) return;
  const std::u16string file = platform::JoinPath(FolderDiskPath().value_or(u""), path);
  LearnDate(FileSystem::Default().Inspect(file).modified, engine::StateOrigin::kFileTime, state);
}

}  // namespace parvane::sources
