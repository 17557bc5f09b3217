// The folders that a PST has already.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"

namespace parvane::desk {

class FoldersThere {
 public:
  using Path = std::vector<std::u16string>;  // below the top folder; letter case says nothing

  // Reads the tree of an existing PST.
  static platform::Result<FoldersThere> In(std::u16string_view pst);

  void Add(const Path& path, std::string entryId, bool holdsMail, std::uint64_t messages);

  bool Contains(const Path& path) const { return EntryIdOf(path) != nullptr; }
  // By which any session with this PST opens the folder; null: there is none.
  const std::string* EntryIdOf(const Path& path) const;
  // Whether it holds something else than mail: a calendar, contacts, notes, tasks.
  bool IsForeign(const Path& path) const { return _foreign.contains(Folded(path)); }
  bool HasForeign() const { return !_foreign.empty(); }
  // In all folders.
  std::uint64_t messages() const { return _messages; }

 private:
  static Path Folded(const Path& path);

  std::map<Path, std::string> _entryIds;
  std::set<Path> _foreign;
  std::uint64_t _messages = 0;
};

}  // namespace parvane::desk
