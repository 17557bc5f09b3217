// The copying itself: every item of a source folder becomes a message.

#include "engine/auto_release_iunknown.h"
#include "mapi/constants.h"
#include "pst/pst_asset_folder.h"

namespace QuelmarMIMEEngineCommon {

using parvane::engine::DestinationStep;
using parvane::mapi::IMessage;

namespace {

// Asked for with the number of KEEP_OPEN_READWRITE in the interface this was written against; the
// published headers call it FORCE_SAVE. Stores take either.
constexpr parvane::mapi::ULONG kSaveFlags = 4;

}  // namespace

CopyResult PSTMAPIAssetFolderMutable::CopyAssets(IAssetFolder* sourceFolder,
                                                 IProgressPresenter* progressPresenter,
                                                 ILogger* logReport, ICancelable* cancelable) {
  CopyResult result(0, 0, OperationResultCode::Completed);
  if (!sourceFolder || !_mapiFolderP || !_mapiSessionP ||
      sourceFolder->FolderType() != _folderType) {
    result.Code = OperationResultCode::Failed;
    return result;
  }

  sourceFolder->ResetQuery();
  std::unique_ptr<IAssetQueryResult> item = sourceFolder->QueryAsset();
  if (progressPresenter) {
    progressPresenter->CurrentTotal(sourceFolder->QueryTotalAssetUnits());
    progressPresenter->CurrentProgressLabel(u"Folder: " + sourceFolder->FolderName().value_or(u""));
  }
  while (item) {
    IMessage* message = nullptr;
    Tell(DestinationStep::kCreateMessage, _mapiFolderP->CreateMessage(nullptr, 0, &message));
    const AutoReleaseIUnknown messageGuard(message);
    if (CopyAsset(*item, message, progressPresenter, logReport)) {
      ++result.SuccessAssetCount;
    } else {
      ++result.FailAssetCount;
      result.Code = OperationResultCode::CompletedWithError;
    }
    if (cancelable && cancelable->Cancel()) {
      result.Code = OperationResultCode::Canceled;
      break;
    }
    item.reset();
    item = sourceFolder->QueryAsset();
  }
  _mapiFolderP->SaveChanges(kSaveFlags);
  return result;
}

bool PSTMAPIAssetFolderMutable::CopyAsset(IAssetQueryResult& item, IMessage* message,
                                          IProgressPresenter* progressPresenter,
                                          ILogger* logReport) {
  IAsset* asset = item.Asset();
  const std::u16string details = asset ? asset->Details().value_or(u"") : u"";
  if (progressPresenter) {
    progressPresenter->IncrementCurrentBy(item.AssetUnitSize());
    progressPresenter->ProgressMessage(details);
  }
  // Nothing has been kept of an item that had no message to go to, whatever it says.
  const bool converted = ConvertAsset(asset, message) && message != nullptr;
  if (!converted && logReport)
    logReport->WriteLog(u"\r\nERROR : Error occurred while converting this item.", false, true);
  // Whatever a failed conversion managed to write stays.
  if (message) Tell(DestinationStep::kSaveMessage, message->SaveChanges(kSaveFlags));
  if (logReport) logReport->WriteLog(details + u"\r\n\r\n", false, true);
  return converted;
}

bool PSTMAPIAssetFolderMutable::ConvertAsset(IAsset* asset, IMessage* message) {
  if (!asset) return false;
  switch (_folderType) {
    case kAssetFolderTypeEmail:
      return dynamic_cast<IEmailAsset&>(*asset).ConvertToMAPIMessage(message, _mapiSessionP);
    case kAssetFolderTypeContact:
      return dynamic_cast<IContactAsset&>(*asset).ConvertToMAPIMessage(message, _mapiSessionP);
    case kAssetFolderTypeAppointment:
      return dynamic_cast<ICalendarEventAsset&>(*asset).ConvertToMAPIMessage(message,
                                                                             _mapiSessionP);
    default:
      return false;
  }
}

}  // namespace QuelmarMIMEEngineCommon
