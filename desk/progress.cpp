#include "desk/progress.h"

#include <algorithm>

#include "desk/format.h"
#include "platform/path.h"

namespace parvane::desk {

void Progress::BeginFolder(std::string name, std::uint64_t bytesBefore) {
  _folder = std::move(name);
  // A message weighs what it measures with its line ends normalised, so a folder's items do not
  // add up to the size of its file: set straight at every folder.
  _done = bytesBefore;
  Update();
}

void Progress::GoOnWith(const std::vector<std::u16string>& path) { _folder = FolderPath(path); }

void Progress::OverallTotal(std::int64_t units) {
  _observer.Restart();  // what went before was only looking
  _total = static_cast<std::uint64_t>(std::max<std::int64_t>(units, 0));
}

void Progress::IncrementCurrentBy(std::int64_t units) {
  _done += static_cast<std::uint64_t>(std::max<std::int64_t>(units, 0));
  ++_messages;
  Update();
}

void Progress::CurrentProgressLabel(std::u16string_view label) {
  if (_total == 0) {  // still walking the sources
    _folder = "Looking at " + platform::PathForDisplay(label);
    Update();
  }
}

}  // namespace parvane::desk
