// The folders of a plan in the PST that is being written: made when they are first asked for, with
// those above them.
#pragma once

#include <cstddef>
#include <vector>

#include "desk/folder_plan.h"
#include "engine/folders.h"

namespace parvane::desk {

class MadeFolders {
 public:
  explicit MadeFolders(const FolderPlan& plan) : _plan(plan) {}

  // None of them is made below `top`, from here on.
  void BeginBelow(QuelmarMIMEEngineCommon::IAssetFolderMutable& top);
  bool Has(std::size_t folder) const { return _made[folder] != nullptr; }
  // The folder at this place of the plan; null when the PST refuses.
  QuelmarMIMEEngineCommon::IAssetFolderMutable* Make(std::size_t folder);

 private:
  const FolderPlan& _plan;
  QuelmarMIMEEngineCommon::IAssetFolderMutable* _top = nullptr;
  std::vector<QuelmarMIMEEngineCommon::IAssetFolderMutable*> _made;  // null: not yet
};

}  // namespace parvane::desk
