#include "engine/asset_bases.h"

#include <algorithm>

#include "engine/destination_observer.h"
#include "engine/item_step.h"
#include "engine/mailbox_wishes.h"
#include "engine/message_state.h"
#include "engine/source_observer.h"
#include "platform/path.h"

namespace QuelmarMIMEEngineCommon {

NullableString EmailAssetBase::_dumpFilePath;

EmailAssetBase::~EmailAssetBase() = default;

void EmailAssetBase::Release() { _details.reset(); }

void EmailAssetBase::SetDumpFilePath(NullableString filePath) {
  _dumpFilePath = std::move(filePath);
}

const NullableString& EmailAssetBase::DumpFilePath() { return _dumpFilePath; }

AssetFolderBase::AssetFolderBase(std::int32_t contentCount, NullableString folderName,
                                 NullableString folderDiskPath, IAssetStore* ownerStore,
                                 AssetFolderBase* parentFolder)
    : _contentCount(contentCount),
      _folderName(std::move(folderName)),
      _folderDiskPath(std::move(folderDiskPath)),
      _ownerStore(ownerStore),
      _parentFolder(parentFolder) {
  if (!_folderName && _folderDiskPath)
    _folderName = parvane::platform::StemOfPath(*_folderDiskPath);

  if (_parentFolder) {
    _fullFolderPath =
        _parentFolder->_fullFolderPath.value_or(u"") + u'\\' + _folderName.value_or(u"");
    _parentFolder->_subFolders.push_back(this);
  } else if (_ownerStore) {
    _fullFolderPath = _ownerStore->StoreName();
    if (_folderName) _fullFolderPath = _fullFolderPath.value_or(u"") + u'\\' + *_folderName;
  } else {
    _fullFolderPath = _folderName;
  }
}

AssetFolderBase::~AssetFolderBase() { AssetFolderBase::Release(); }

std::vector<IAssetFolder*> AssetFolderBase::GetSubFolders() const {
  return {_subFolders.begin(), _subFolders.end()};
}

IAssetFolderMutable* AssetFolderBase::CreateAssetFolder(std::u16string_view, AssetFolderType) {
  return nullptr;
}

bool AssetFolderBase::DeleteAssetFolder(IAssetFolderMutable* folderToDelete) {
  // From the back: the newest child is the one that is most often taken out, and a release of the
  // whole tree goes backwards too.
  const auto found = std::find(_subFolders.rbegin(), _subFolders.rend(), folderToDelete);
  if (found == _subFolders.rend()) return false;
  _subFolders.erase(std::next(found).base());
  return true;
}

CopyResult AssetFolderBase::CopyAssets(IAssetFolder*, IProgressPresenter*, ILogger*, ICancelable*) {
  return {0, 0, OperationResultCode::Completed};
}

bool AssetFolderBase::AddAssetFolder(AssetFolderBase* folderToAdd) {
  if (!folderToAdd || folderToAdd == this || !folderToAdd->_ownerStore ||
      folderToAdd->_ownerStore != _ownerStore) {
    return false;
  }
  folderToAdd->_parentFolder = this;
  _subFolders.push_back(folderToAdd);
  return true;
}

bool AssetFolderBase::RemoveAssetFolder(AssetFolderBase* folderToRemove) {
  return DeleteAssetFolder(folderToRemove);
}

void AssetFolderBase::Release() {
  if (_parentFolder) _parentFolder->AssetFolderBase::DeleteAssetFolder(this);
  _parentFolder = nullptr;
  _folderDiskPath.reset();
  _folderName.reset();
  _fullFolderPath.reset();
  _ownerStore = nullptr;
  // Each child removes itself from the list as it goes, so a snapshot is walked.
  const std::vector<IAssetFolder*> children = GetSubFolders();
  for (auto child = children.rbegin(); child != children.rend(); ++child) (*child)->Release();
  _subFolders.clear();
}

AssetStoreBase::AssetStoreBase(NullableString rootDiskFolder, NullableString storeName)
    : _storeRootDiskPath(std::move(rootDiskFolder)) {
  _storeName = storeName.value_or(u"") + u"-" + _storeRootDiskPath.value_or(u"");
}

AssetStoreBase::~AssetStoreBase() { AssetStoreBase::Release(); }

void AssetStoreBase::Release() {
  if (_storeRootAssetFolder) _storeRootAssetFolder->Release();
  _storeRootAssetFolder = nullptr;
  // Folders that were taken out of the tree hold resources too, and still name their parents: all
  // let go of each other before the first one is destroyed.
  for (const auto& folder : _folders) folder->Release();
  _storeRootDiskPath.reset();
  _storeName.reset();
}

void AssetQueryResult::Release() {
  if (_asset) _asset->Release();
  _asset.reset();
}

}  // namespace QuelmarMIMEEngineCommon

namespace parvane::engine {

bool ObserveSource(QuelmarMIMEEngineCommon::IAssetStore& store, SourceObserver* observer) {
  auto* base = dynamic_cast<QuelmarMIMEEngineCommon::AssetStoreBase*>(&store);
  if (base) base->SetSourceObserver(observer);
  return base != nullptr;
}

bool ObserveDestination(QuelmarMIMEEngineCommon::IAssetStore& store,
                        DestinationObserver* observer) {
  auto* base = dynamic_cast<QuelmarMIMEEngineCommon::AssetStoreBase*>(&store);
  if (base) base->SetDestinationObserver(observer);
  return base != nullptr;
}

bool OfferState(QuelmarMIMEEngineCommon::IAssetStore& store, const StateWishes* wishes) {
  auto* base = dynamic_cast<QuelmarMIMEEngineCommon::AssetStoreBase*>(&store);
  if (base) base->SetStateWishes(wishes);
  return base != nullptr;
}

bool CutMailboxes(QuelmarMIMEEngineCommon::IAssetStore& store, const MailboxWishes* wishes) {
  auto* base = dynamic_cast<QuelmarMIMEEngineCommon::AssetStoreBase*>(&store);
  if (base) base->SetMailboxWishes(wishes);
  return base != nullptr;
}

bool InsertItemStep(QuelmarMIMEEngineCommon::IAssetStore& destination, ItemStep* step) {
  auto* base = dynamic_cast<QuelmarMIMEEngineCommon::AssetStoreBase*>(&destination);
  if (base) base->SetItemStep(step);
  return base != nullptr;
}

}  // namespace parvane::engine
