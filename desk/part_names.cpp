#include "desk/part_names.h"

#include <algorithm>

#include "desk/destination_claim.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::FileKind;
using platform::FileSystem;

std::u16string WithSuffix(std::u16string_view destination, std::u16string_view suffix) {
  const std::u16string extension = platform::ExtensionOfPath(destination);
  std::u16string path(destination.substr(0, destination.size() - extension.size()));
  return path.append(suffix).append(extension);
}

bool IsThere(std::u16string_view path) {
  return FileSystem::Default().Inspect(path).kind != FileKind::kNone;
}

constexpr std::u16string_view kUndated = u"-undated";

}  // namespace

std::u16string PartPath(std::u16string_view destination, std::size_t number) {
  if (number <= 1) return std::u16string(destination);
  return WithSuffix(destination, u"-" + platform::Utf8ToUtf16(std::to_string(number)));
}

std::u16string YearPath(std::u16string_view destination, unsigned year) {
  if (year == 0) return WithSuffix(destination, kUndated);
  std::string digits = std::to_string(year);
  digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, '0');
  return WithSuffix(destination, u"-" + platform::Utf8ToUtf16(digits));
}

std::size_t PartsThere(std::u16string_view destination) {
  std::size_t count = 0;
  while (IsThere(PartPath(destination, count + 1))) ++count;
  return count;
}

std::vector<std::u16string> PartsBehind(std::u16string_view destination, std::size_t first) {
  std::vector<std::u16string> there;
  for (std::size_t number = first;; ++number) {
    const std::u16string path = PartPath(destination, number);
    const bool finished = IsThere(path);
    const bool partial = IsThere(PartialPath(path));
    if (!finished && !partial) return there;
    if (finished) there.push_back(path);
    if (partial) there.push_back(PartialPath(path));
  }
}

std::vector<std::u16string> YearsThere(std::u16string_view destination) {
  std::vector<std::u16string> there;
  const std::u16string stem = platform::StemOfPath(destination);
  const std::u16string folder = platform::ParentOfPath(destination);
  const auto entries = FileSystem::Default().List(folder);
  if (!entries.ok()) return there;
  for (const platform::DirectoryEntry& entry : *entries) {
    if (platform::ExtensionOfPath(entry.name) != platform::ExtensionOfPath(destination)) continue;
    const std::u16string name = platform::StemOfPath(entry.name);
    if (!name.starts_with(stem)) continue;
    const std::u16string_view rest = std::u16string_view(name).substr(stem.size());
    const bool isYear = rest.size() == 5 && rest[0] == u'-' &&
                        std::all_of(rest.begin() + 1, rest.end(),
                                    [](char16_t c) { return c >= u'0' && c <= u'9'; });
    if (isYear || rest == kUndated) there.push_back(platform::JoinPath(folder, entry.name));
  }
  std::ranges::sort(there);
  return there;
}

}  // namespace parvane::desk
