// What every store, folder and item of the engine is built on.
//
// Ownership: a store owns all its folders in one arena, for as long as it lives. The lists of
// subfolders are views: a folder appends itself to its parent on construction and takes itself out
// when it is released.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/assets.h"
#include "engine/folders.h"
#include "engine/stores.h"
#include "engine/values.h"

namespace parvane::engine {
class DestinationObserver;
class ItemStep;
class SourceObserver;
struct MailboxWishes;
struct StateWishes;
}  // namespace parvane::engine

namespace QuelmarMIMEEngineCommon {

class EmailAssetBase : public IEmailAsset {
 public:
  ~EmailAssetBase() override;

  const NullableString& Details() const override { return _details; }
  bool IsRead() const override { return _isRead; }
  void Release() override;

  // Where messages that cannot be parsed are kept; null: nowhere. One value for all items.
  static void SetDumpFilePath(NullableString filePath);

 protected:
  EmailAssetBase() = default;

  static const NullableString& DumpFilePath();

  NullableString _details;
  bool _isRead = false;

 private:
  static NullableString _dumpFilePath;
};

class AssetStoreBase;

// A read-only folder without items of its own; stores derive theirs from it.
class AssetFolderBase : public IAssetFolderMutable {
 public:
  // A null name is taken from the disk path, without its extension. With a parent, the new folder
  // appends itself to the parent's subfolders.
  AssetFolderBase(std::int32_t contentCount, NullableString folderName,
                  NullableString folderDiskPath, IAssetStore* ownerStore,
                  AssetFolderBase* parentFolder);
  ~AssetFolderBase() override;

  AssetFolderType FolderType() const override { return _folderType; }
  std::int64_t ContentCount() const override { return _contentCount; }
  NullableString FolderName() const override { return _folderName; }
  NullableString FullFolderPath() const override { return _fullFolderPath; }
  NullableString FolderDiskPath() const override { return _folderDiskPath; }
  IAssetFolder* ParentFolder() const override { return _parentFolder; }
  IAssetStore* OwnerStore() const override { return _ownerStore; }
  std::vector<IAssetFolder*> GetSubFolders() const override;

  IAssetFolderMutable* CreateAssetFolder(std::u16string_view folderName,
                                         AssetFolderType folderType) override;
  bool DeleteAssetFolder(IAssetFolderMutable* folderToDelete) override;
  const std::vector<IAssetFolderMutable*>& GetSubFoldersMutable() const override {
    return _subFolders;
  }
  CopyResult CopyAssets(IAssetFolder* sourceFolder, IProgressPresenter* progressPresenter,
                        ILogger* logReport, ICancelable* cancelable) override;

  // Adopts a folder of the very same store as a child; false for any other. Its full path stays
  // as it was computed at its construction.
  bool AddAssetFolder(AssetFolderBase* folderToAdd);
  // Same as DeleteAssetFolder.
  bool RemoveAssetFolder(AssetFolderBase* folderToRemove);

  // Takes this folder out of its parent and releases everything below it.
  void Release() override;

 protected:
  // The owner, when it is one of the engine's stores; else null.
  AssetStoreBase* EngineStore() const;

  std::vector<IAssetFolderMutable*> _subFolders;  // views; the store owns
  AssetFolderType _folderType = kAssetFolderTypeAssets;
  std::int64_t _contentCount = 0;
  NullableString _folderName;
  NullableString _fullFolderPath;
  NullableString _folderDiskPath;
  IAssetStore* _ownerStore = nullptr;        // not owned
  AssetFolderBase* _parentFolder = nullptr;  // not owned

 private:
  mutable const IAssetStore* _engineStoreOf = nullptr;  // whom _engineStore was last found for
  mutable AssetStoreBase* _engineStore = nullptr;
};

class AssetStoreBase : public virtual IAssetStore {
 public:
  // The store's name is `storeName`, "-" and the path, so that every full path carries it.
  AssetStoreBase(NullableString rootDiskFolder, NullableString storeName);
  ~AssetStoreBase() override;

  NullableString StoreName() const override { return _storeName; }
  NullableString StoreDiskPath() const override { return _storeRootDiskPath; }
  IAssetFolder* GetStoreRootFolder() const override { return _storeRootAssetFolder; }
  void Release() override;

  // Constructs a folder that this store owns.
  template <typename Folder, typename... Args>
  Folder* MakeFolder(Args&&... args) {
    auto folder = std::make_unique<Folder>(std::forward<Args>(args)...);
    Folder* view = folder.get();
    _folders.push_back(std::move(folder));
    return view;
  }

  void SetSourceObserver(parvane::engine::SourceObserver* observer) { _observer = observer; }
  // Null when nobody observes.
  parvane::engine::SourceObserver* Observer() const { return _observer; }

  void SetDestinationObserver(parvane::engine::DestinationObserver* observer) {
    _destinationObserver = observer;
  }
  parvane::engine::DestinationObserver* ObserverOfDestination() const {
    return _destinationObserver;
  }

  void SetStateWishes(const parvane::engine::StateWishes* wishes) { _stateWishes = wishes; }
  // Null when nobody asks for the messages' state.
  const parvane::engine::StateWishes* StateWishes() const { return _stateWishes; }

  void SetMailboxWishes(const parvane::engine::MailboxWishes* wishes) { _mailboxWishes = wishes; }
  // Null when mailboxes are cut as ever.
  const parvane::engine::MailboxWishes* MailboxWishes() const { return _mailboxWishes; }

  void SetItemStep(parvane::engine::ItemStep* step) { _itemStep = step; }
  parvane::engine::ItemStep* ItemStep() const { return _itemStep; }

 protected:
  AssetFolderBase* _storeRootAssetFolder = nullptr;  // in _folders
  NullableString _storeRootDiskPath;
  NullableString _storeName;

 private:
  std::vector<std::unique_ptr<AssetFolderBase>> _folders;
  parvane::engine::SourceObserver* _observer = nullptr;
  parvane::engine::DestinationObserver* _destinationObserver = nullptr;
  const parvane::engine::StateWishes* _stateWishes = nullptr;
  const parvane::engine::MailboxWishes* _mailboxWishes = nullptr;
  parvane::engine::ItemStep* _itemStep = nullptr;
};

inline AssetStoreBase* AssetFolderBase::EngineStore() const {
  if (_engineStoreOf != _ownerStore) {
    _engineStoreOf = _ownerStore;
    _engineStore = dynamic_cast<AssetStoreBase*>(_ownerStore);
  }
  return _engineStore;
}

class AssetQueryResult : public IAssetQueryResult, public Releasable {
 public:
  AssetQueryResult(std::unique_ptr<IAsset> asset, std::int64_t unitSize)
      : _asset(std::move(asset)), _assetUnitSize(unitSize) {}
  ~AssetQueryResult() override { AssetQueryResult::Release(); }

  IAsset* Asset() const override { return _asset.get(); }
  std::int64_t AssetUnitSize() const override { return _assetUnitSize; }
  void Release() override;

 private:
  std::unique_ptr<IAsset> _asset;
  std::int64_t _assetUnitSize;
};

}  // namespace QuelmarMIMEEngineCommon
