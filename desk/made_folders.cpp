#include "desk/made_folders.h"

namespace parvane::desk {

using QuelmarMIMEEngineCommon::IAssetFolderMutable;

void MadeFolders::BeginBelow(IAssetFolderMutable& top) {
  _top = &top;
  _made.assign(_plan.folders().size(), nullptr);
}

IAssetFolderMutable* MadeFolders::Make(std::size_t folder) {
  // No recursion: folders may nest deep.
  std::vector<std::size_t> missing;
  for (std::size_t at = folder; at != kTopFolder && !_made[at]; at = _plan.folders()[at].parent)
    missing.push_back(at);
  for (auto at = missing.rbegin(); at != missing.rend(); ++at) {
    const PlannedFolder& planned = _plan.folders()[*at];
    IAssetFolderMutable* parent = planned.parent == kTopFolder ? _top : _made[planned.parent];
    _made[*at] = parent->CreateAssetFolder(planned.name, planned.type);
    if (!_made[*at]) return nullptr;
  }
  return _made[folder];
}

}  // namespace parvane::desk
