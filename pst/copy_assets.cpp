// The copying itself: every item of a source folder becomes a message.

#include <algorithm>
#include <new>

#include "engine/auto_release_iunknown.h"
#include "engine/destination_observer.h"
#include "engine/item_step.h"
#include "mapi/constants.h"
#include "mapi/results.h"
#include "platform/text.h"
#include "pst/pst_asset_folder.h"

namespace QuelmarMIMEEngineCommon {

using parvane::engine::DestinationStep;
using parvane::mapi::IMessage;

namespace {

// The number under which some clients ask to keep a message open for writing; the published headers
// call it FORCE_SAVE (KEEP_OPEN_READWRITE is 2). Stores take either, and the message is released
// next.
constexpr parvane::mapi::ULONG kSaveFlags = 4;

// Far more mail than a PST holds; an end to the search, should every folder be full at once.
constexpr int kLongestSeries = 200;
constexpr std::size_t kLongestName = 255;

std::u16string NumberedName(std::u16string name, int number) {
  const std::u16string suffix =
      u" (" + parvane::platform::Utf8ToUtf16(std::to_string(number)) + u")";
  std::size_t length = std::min(name.size(), kLongestName - suffix.size());
  // Not half of a pair.
  if (length < name.size() && length > 0 && (name[length] & 0xFC00) == 0xDC00) --length;
  name.resize(length);
  return name + suffix;
}

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
  PSTMAPIAssetFolderMutable* target = this;
  while (item) {
    IMessage* message = CreateMessage(target, logReport);
    const AutoReleaseIUnknown messageGuard(message);
    bool copied = false;
    try {
      copied = CopyAsset(*item, message, progressPresenter, logReport);
    } catch (const std::bad_alloc&) {
      // Memory did not suffice for this item; for the next one it may.
    }
    if (copied) {
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
  target->_mapiFolderP->SaveChanges(kSaveFlags);
  return result;
}

IMessage* PSTMAPIAssetFolderMutable::CreateMessage(PSTMAPIAssetFolderMutable*& target,
                                                   ILogger* logReport) {
  IMessage* message = nullptr;
  PSTMAPIAssetFolderMutable* folder = target;
  parvane::mapi::HRESULT result = folder->_mapiFolderP->CreateMessage(nullptr, 0, &message);
  while (result == parvane::mapi::MAPI_E_TABLE_TOO_BIG) {
    PSTMAPIAssetFolderMutable* next = folder->Continuation();
    if (!next) break;
    folder = next;
    result = folder->_mapiFolderP->CreateMessage(nullptr, 0, &message);
  }
  Tell(DestinationStep::kCreateMessage, result);
  if (folder == target) return message;
  target->_mapiFolderP->SaveChanges(kSaveFlags);
  if (logReport) {
    logReport->WriteLog(u"The folder " + target->_folderName.value_or(u"") +
                            u" is full. The messages that follow go to the folder " +
                            folder->_folderName.value_or(u"") + u".",
                        true, true);
  }
  const AssetStoreBase* store = EngineStore();
  if (store && store->ObserverOfDestination())
    store->ObserverOfDestination()->FolderContinued(*target, *folder);
  target = folder;
  return message;
}

PSTMAPIAssetFolderMutable* PSTMAPIAssetFolderMutable::Continuation() {
  if (_continuation && _continuation->_mapiFolderP) return _continuation;
  auto* parent = dynamic_cast<PSTMAPIAssetFolderMutable*>(_parentFolder);
  if (!parent) return nullptr;
  const std::u16string base = _seriesName.empty() ? _folderName.value_or(u"") : _seriesName;
  for (int number = _seriesNumber + 1; number <= kLongestSeries; ++number) {
    const std::u16string name = NumberedName(base, number);
    // A folder made for other mail is left to it.
    if (parent->FindSubFolder(name)) continue;
    _continuation =
        dynamic_cast<PSTMAPIAssetFolderMutable*>(parent->CreateAssetFolder(name, _folderType));
    if (!_continuation) return nullptr;
    _continuation->_seriesName = base;
    _continuation->_seriesNumber = number;
    return _continuation;
  }
  return nullptr;
}

bool PSTMAPIAssetFolderMutable::CopyAsset(IAssetQueryResult& item, IMessage* message,
                                          IProgressPresenter* progressPresenter,
                                          ILogger* logReport) {
  IAsset* asset = item.Asset();
  static const NullableString kNone;
  const NullableString& details = asset ? asset->Details() : kNone;
  if (progressPresenter) {
    progressPresenter->IncrementCurrentBy(item.AssetUnitSize());
    progressPresenter->ProgressMessage(details ? std::u16string_view(*details)
                                               : std::u16string_view());
  }
  const AssetStoreBase* store = EngineStore();
  parvane::engine::ItemStep* step = message && asset && store ? store->ItemStep() : nullptr;
  if (step) step->BeforeConversion(*asset);
  // Nothing has been kept of an item that had no message to go to, whatever it says.
  const bool converted = ConvertAsset(asset, message) && message != nullptr;
  if (!converted && logReport)
    logReport->WriteLog(u"\r\nERROR : Error occurred while converting this item.", false, true);
  if (step) step->BeforeSave(*asset, *message);
  // Whatever a failed conversion managed to write stays.
  if (message) Tell(DestinationStep::kSaveMessage, message->SaveChanges(kSaveFlags));
  if (logReport) {
    // Used again for each item.
    _logLine.assign(details ? std::u16string_view(*details) : std::u16string_view());
    logReport->WriteLog(_logLine.append(u"\r\n\r\n"), false, true);
  }
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
