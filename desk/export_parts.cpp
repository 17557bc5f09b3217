#include "desk/export_parts.h"

#include <algorithm>
#include <string>
#include <vector>

#include "desk/source_names.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

// The files beside it that are parts of the same export: of the same kind and with another number.
std::vector<std::u16string> OtherPartsOf(const std::u16string& part) {
  std::vector<std::u16string> others;
  const std::u16string series = SeriesOf(part);
  if (series.empty()) return others;
  const std::u16string folder = platform::ParentOfPath(part);
  auto entries = platform::FileSystem::Default().List(folder);
  if (!entries.ok()) return others;
  const std::u16string extension = platform::ExtensionOfPath(part);
  for (const platform::DirectoryEntry& entry : *entries) {
    std::u16string path = platform::JoinPath(folder, entry.name);
    const bool same = entry.kind == platform::FileKind::kFile && SeriesOf(path) == series &&
                      platform::EqualsIgnoreCase(platform::ExtensionOfPath(path), extension);
    if (same && entry.name != platform::FileNameOfPath(part)) others.push_back(std::move(path));
  }
  return others;
}

}  // namespace

void NoteMissingParts(SourcePlan& plan) {
  for (const SourceStore& store : plan.stores) {
    if (store.labels == engine::LabelUse::kOff || store.parts.empty()) continue;
    std::vector<std::u16string> given;
    for (const std::u16string& part : store.parts) given.push_back(platform::FileNameOfPath(part));
    for (std::u16string& other : OtherPartsOf(store.parts.front())) {
      if (std::ranges::find(given, platform::FileNameOfPath(other)) == given.end())
        plan.leftBehind.push_back({std::move(other), engine::SkipReason::kOtherPart, {}});
    }
  }
}

}  // namespace parvane::desk
