// The folders of a PST that hold something else than mail: calendars, contacts, notes, tasks.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"

namespace parvane::cli {

// Paths below the top folder, letter case folded.
class ForeignFolders {
 public:
  // Reads the tree of an existing PST.
  static platform::Result<ForeignFolders> In(std::u16string_view pst);

  void Add(const std::vector<std::u16string>& path) { _paths.insert(Folded(path)); }
  bool empty() const { return _paths.empty(); }
  bool Contains(const std::vector<std::u16string>& path) const {
    return _paths.contains(Folded(path));
  }

 private:
  static std::vector<std::u16string> Folded(const std::vector<std::u16string>& path);

  std::set<std::vector<std::u16string>> _paths;
};

}  // namespace parvane::cli
