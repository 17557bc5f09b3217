#include "sources/source_walk.h"

namespace parvane::sources {

using engine::SkipReason;

std::vector<platform::DirectoryEntry> SourceWalk::Enter(std::u16string_view directory) {
  ++_depth;
  if (_progress) _progress->CurrentProgressLabel(directory);

  platform::FileSystem& files = platform::FileSystem::Default();
  const platform::FileInformation information = files.Inspect(directory);
  if (information.kind == platform::FileKind::kFile) return {};
  if (_depth > kMaximumDepth) {
    Skipped(directory, SkipReason::kTooDeep);
    return {};
  }
  if (information.kind == platform::FileKind::kFolder &&
      !_seen.emplace(information.device, information.identity).second) {
    Skipped(directory, SkipReason::kSymbolicLinkLoop);
    return {};
  }
  auto entries = files.List(directory);
  if (!entries.ok()) {
    Skipped(directory, SkipReason::kUnreadable, entries.status());
    return {};
  }
  std::erase_if(*entries, [&](const platform::DirectoryEntry& entry) {
    const bool other = entry.kind == platform::FileKind::kOther;
    if (other) Skipped(platform::JoinPath(directory, entry.name), SkipReason::kNotAFile);
    return other || entry.kind == platform::FileKind::kNone;
  });
  return std::move(entries).value();
}

bool SourceWalk::AcceptMbox(std::u16string_view path) {
  platform::Status status;
  switch (ProbeMboxFile(path, &status)) {
    case MboxProbe::kMbox:
    case MboxProbe::kEmpty:
      return true;
    case MboxProbe::kOther:
      Skipped(path, SkipReason::kNotAnMbox);
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

void SourceWalk::SkippedByName(std::u16string_view path) const {
  if (_observer && ProbeMboxFile(path, nullptr) == MboxProbe::kMbox)
    Skipped(path, SkipReason::kOtherExtension);
}

}  // namespace parvane::sources
