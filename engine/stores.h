// Stores: what is opened, holds a tree of folders, and is released.
#pragma once

#include "engine/callbacks.h"
#include "engine/folders.h"
#include "engine/releasable.h"
#include "engine/values.h"

namespace QuelmarMIMEEngineCommon {

class IAssetStore : public Releasable {
 public:
  virtual NullableString StoreName() const = 0;
  virtual NullableString StoreDiskPath() const = 0;
  // Opens (with `create`, creates) the store and builds its folder tree.
  virtual OperationResultCode OpenStore(IProgressPresenter* progressPresenter,
                                        ICancelable* cancelable, bool create, ILogger* logger) = 0;
  // Null before OpenStore and after Release.
  virtual IAssetFolder* GetStoreRootFolder() const = 0;
  virtual IAssetFolder* GetDefaultFolder(AssetFolderType folderType) = 0;
};

// Virtual, because the writable stores implement this over a base that already is an IAssetStore.
class IAssetStoreMutable : public virtual IAssetStore {
 public:
  virtual IAssetFolderMutable* GetStoreRootFolderMutable() const = 0;
  virtual IAssetFolderMutable* GetDefaultFolderMutable(AssetFolderType folderType, bool create) = 0;
};

}  // namespace QuelmarMIMEEngineCommon
