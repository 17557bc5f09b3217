#include "pst/pst_asset_store.h"

#include <utility>

#include "mapi/constants.h"
#include "platform/file.h"
#include "platform/text.h"
#include "pst/pst_service.h"

namespace QuelmarMIMEEngineCommon {

using namespace parvane::mapi;

namespace {

constexpr const char16_t* kTopFolderName = u"Personal Folders";

std::u16string NoSessionMessage() {
  return u"It seems that either Outlook is not installed or it is not set as default email client "
         u"on your machine.\r\nPlease contact " +
         parvane::platform::Utf8ToUtf16(PARVANE_SUPPORT_CONTACT) + u" for assistance.";
}

}  // namespace

PSTMAPIAssetStore::PSTMAPIAssetStore(NullableString storeRootDiskPath, NullableString storeName)
    : AssetStoreBase(std::move(storeRootDiskPath),
                     storeName ? std::move(storeName) : u"Orphan Outlook PST") {}

PSTMAPIAssetStore::~PSTMAPIAssetStore() { PSTMAPIAssetStore::Release(); }

OperationResultCode PSTMAPIAssetStore::OpenStore(IProgressPresenter*, ICancelable*, bool,
                                                 ILogger*) {
  if (!_storeRootDiskPath ||
      !parvane::platform::FileSystem::Default().FileExists(*_storeRootDiskPath)) {
    return OperationResultCode::Failed;
  }
  IMAPIFolder* folder = OpenSession() ? OpenTopFolder() : nullptr;
  if (!folder) return OperationResultCode::Failed;
  _storeRootAssetFolder = MakeFolder<PSTMAPIAssetFolder>(
      _mapiSessionP, folder, kTopFolderName, kAssetFolderTypeFolderGroup, this, nullptr);
  return OperationResultCode::Completed;
}

bool PSTMAPIAssetStore::OpenSession() {
  if (_released || !_storeRootDiskPath) return false;
  CloseSession();  // opened a second time
  _mapiSessionP = CreatePST(*_storeRootDiskPath, kTemporaryProfileName, ObserverOfDestination());
  return _mapiSessionP != nullptr;
}

IMAPIFolder* PSTMAPIAssetStore::OpenTopFolder() {
  _messageStoreP = OpenDefaultMsgStore(_mapiSessionP, ObserverOfDestination());
  return GetRootFolder(_messageStoreP, MAPI_BEST_ACCESS, ObserverOfDestination());
}

IAssetFolder* PSTMAPIAssetStore::GetDefaultFolder(AssetFolderType) { return nullptr; }

void PSTMAPIAssetStore::CloseSession() {
  if (_storeRootAssetFolder) std::exchange(_storeRootAssetFolder, nullptr)->Release();
  if (_messageStoreP) std::exchange(_messageStoreP, nullptr)->Release();
  if (_mapiSessionP) {
    const HRESULT loggedOff = _mapiSessionP->Logoff(0, 0, 0);
    if (auto* observer = ObserverOfDestination())
      observer->MapiAnswered(parvane::engine::DestinationStep::kLogOff, loggedOff);
    std::exchange(_mapiSessionP, nullptr)->Release();
  }
}

void PSTMAPIAssetStore::Release() {
  AssetStoreBase::Release();
  if (std::exchange(_released, true)) return;
  CloseSession();
  CleanupTempProfiles(kTemporaryProfileName);
}

PSTMAPIAssetStoreMutable::PSTMAPIAssetStoreMutable(NullableString storeRootDiskPath,
                                                   NullableString storeName)
    : PSTMAPIAssetStore(std::move(storeRootDiskPath),
                        storeName ? std::move(storeName) : u"Orphan Mutable Outlook PST") {}

OperationResultCode PSTMAPIAssetStoreMutable::OpenStore(IProgressPresenter*, ICancelable*, bool,
                                                        ILogger* logger) {
  if (!OpenSession()) {
    if (logger) logger->WriteLog(NoSessionMessage(), true, true);
    return OperationResultCode::Failed;
  }
  IMAPIFolder* folder = OpenTopFolder();
  if (!folder) return OperationResultCode::Failed;
  _storeRootAssetFolder = MakeFolder<PSTMAPIAssetFolderMutable>(
      _mapiSessionP, folder, kTopFolderName, kAssetFolderTypeFolderGroup, this, nullptr);
  return OperationResultCode::Completed;
}

IAssetFolderMutable* PSTMAPIAssetStoreMutable::GetStoreRootFolderMutable() const {
  return _storeRootAssetFolder;
}

IAssetFolderMutable* PSTMAPIAssetStoreMutable::GetDefaultFolderMutable(AssetFolderType, bool) {
  return nullptr;
}

}  // namespace QuelmarMIMEEngineCommon
