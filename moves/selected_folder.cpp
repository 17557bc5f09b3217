#include "moves/selected_folder.h"

#include <utility>

namespace parvane::moves {

using QuelmarMIMEEngineCommon::IAssetQueryResult;

std::unique_ptr<IAssetQueryResult> SelectedFolder::QueryAsset() {
  if (_held) return std::move(_held);
  while (std::unique_ptr<IAssetQueryResult> item = _source.QueryAsset()) {
    if (!item->Asset()) return item;
    const Judgement judgement = _filter.Judge(*item->Asset());
    if (judgement.verdict == Verdict::kTake) return item;
    if (judgement.verdict == Verdict::kStop) {
      _held = std::move(item);
      return nullptr;
    }
    const std::int64_t units = item->AssetUnitSize();
    item.reset();  // its memory is the next one's
    if (!_observer.ItemPassedOver(judgement, units)) return nullptr;
  }
  return nullptr;
}

void SelectedFolder::ResetQuery() {
  if (!_held) _source.ResetQuery();
}

}  // namespace parvane::moves
