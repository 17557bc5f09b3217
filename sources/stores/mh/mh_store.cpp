#include "sources/stores/mh/mh_store.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/path.h"

namespace parvane::sources {

using namespace QuelmarMIMEEngineCommon;
using platform::DirectoryEntry;
using platform::FileKind;

namespace {

// Of a folder with as many messages as a PST's folder takes, each named.
constexpr std::uint64_t kLargestSequences = std::uint64_t{64} << 20;

}  // namespace

void MhFolder::LearnState(std::u16string_view path, const engine::StateWishes&,
                          engine::MessageState& state) {
  if (!_sequences) _sequences.emplace(ReadSequences());
  if (*_sequences) (*_sequences)->Read(engine::MhNumber(path), state);
}

std::optional<MhSequences> MhFolder::ReadSequences() {
  const std::u16string path =
      platform::JoinPath(FolderDiskPath().value_or(u""), engine::kMhSequences);
  platform::FileSystem& files = platform::FileSystem::Default();
  const auto file = platform::ReadWholeFile(files, path, kLargestSequences);
  if (file.ok()) return MhSequences::Parse(*file);
  if (file.status().code() == platform::StatusCode::kNotFound)
    return *_marksAreKept ? std::optional(MhSequences()) : std::nullopt;
  if (Observer()) Observer()->IndexNotUsed(path, engine::IndexFault::kUnreadable, file.status());
  return std::nullopt;
}

DirectoryStore::Folder* MhStore::MakeFolderFor(std::u16string_view directory,
                                               std::u16string_view name, AssetFolderBase* parent) {
  return MakeFolder<MhFolder>(std::u16string(directory), std::u16string(name), this, parent,
                              &_marksAreKept);
}

void MhStore::AddMessages(std::u16string_view directory, const Entries& entries, Folder& folder,
                          SourceWalk& walk) {
  // Files named by numbers are many things.
  const bool isMh = engine::LayoutOf(directory, entries) == engine::MessageLayout::kMh;
  std::vector<std::pair<std::uint32_t, const DirectoryEntry*>> messages;
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind != FileKind::kFile) continue;
    if (const std::uint32_t number = engine::MhNumber(entry.name); isMh && number > 0) {
      messages.emplace_back(number, &entry);
    } else if (entry.name == engine::kMhSequences) {
      _marksAreKept = true;
    } else {
      walk.SkippedByName(platform::JoinPath(directory, entry.name));
    }
  }
  std::ranges::sort(messages, {}, [](const auto& message) { return message.first; });
  for (const auto& message : messages) folder.AddFile(message.second->name, message.second->size);
}

}  // namespace parvane::sources
