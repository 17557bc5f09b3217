#include "desk/scan_folder.h"

namespace parvane::desk {

using namespace QuelmarMIMEEngineCommon;

IAssetFolderMutable* ScanFolder::CreateAssetFolder(std::u16string_view, AssetFolderType type) {
  _folders.push_back(std::make_unique<ScanFolder>(_witness, type));
  _views.push_back(_folders.back().get());
  return _views.back();
}

CopyResult ScanFolder::CopyAssets(IAssetFolder* sourceFolder, IProgressPresenter* progressPresenter,
                                  ILogger*, ICancelable* cancelable) {
  CopyResult result(0, 0, OperationResultCode::Completed);
  sourceFolder->ResetQuery();
  while (const std::unique_ptr<IAssetQueryResult> item = sourceFolder->QueryAsset()) {
    if (progressPresenter) progressPresenter->IncrementCurrentBy(item->AssetUnitSize());
    if (item->Asset()) _witness.Take(*item->Asset());
    ++result.SuccessAssetCount;
    if (cancelable && cancelable->Cancel()) {
      result.Code = OperationResultCode::Canceled;
      break;
    }
  }
  return result;
}

}  // namespace parvane::desk
