#include "cli/part_names.h"

#include "cli/destination_claim.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::cli {
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

}  // namespace

std::u16string PartPath(std::u16string_view destination, std::size_t number) {
  if (number <= 1) return std::u16string(destination);
  return WithSuffix(destination, u"-" + platform::Utf8ToUtf16(std::to_string(number)));
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

}  // namespace parvane::cli
