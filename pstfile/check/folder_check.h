// Folders and search folders: properties, tables against nodes in both directions, counts; through
// the contents tables every message.
#pragma once

#include "pstfile/check/context.h"

namespace parvane::pstfile::check {

class FolderChecker {
 public:
  explicit FolderChecker(Context& context) : _context(context) {}
  // `node` is of kind folder or search folder.
  void Check(const NodeRecord& node);

 private:
  class FolderCheck;

  Context& _context;
  // Walks of the whole node tree still allowed, to name what a folder's table does not list.
  int _searches = 8;
};

}  // namespace parvane::pstfile::check
