// Folders: a tree owned by its store. Pointers to folders stay good as long as the store lives.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "engine/assets.h"
#include "engine/callbacks.h"
#include "engine/releasable.h"
#include "engine/values.h"

namespace QuelmarMIMEEngineCommon {

class IAssetStore;

class IAssetFolder : public Releasable {
 public:
  virtual AssetFolderType FolderType() const = 0;
  // -1 when the number of items is not known before they are read.
  virtual std::int64_t ContentCount() const = 0;
  virtual NullableString FolderName() const = 0;
  // From the store's name down, joined by backslashes; for display, not a path on disk.
  virtual NullableString FullFolderPath() const = 0;
  // The file or directory behind the folder.
  virtual NullableString FolderDiskPath() const = 0;
  virtual IAssetFolder* ParentFolder() const = 0;  // null for a root
  virtual IAssetStore* OwnerStore() const = 0;
  // Prepares the folder for querying.
  virtual void PrepareContent() = 0;
  // The total of all items' unit sizes: the progress bar's total for this folder.
  virtual std::int64_t QueryTotalAssetUnits() = 0;
  // A snapshot.
  virtual std::vector<IAssetFolder*> GetSubFolders() const = 0;
  // The next item, or null when there are no more. At most one item need be held at a time.
  virtual std::unique_ptr<IAssetQueryResult> QueryAsset() = 0;
  // Rewinds: the next QueryAsset returns the first item again.
  virtual void ResetQuery() = 0;
};

class IAssetFolderMutable : public IAssetFolder {
 public:
  // The new (or found) subfolder, or null. Its store owns it.
  virtual IAssetFolderMutable* CreateAssetFolder(std::u16string_view folderName,
                                                 AssetFolderType folderType) = 0;
  // Takes a direct child out of the list; nothing is deleted on disk. False if it is no child.
  virtual bool DeleteAssetFolder(IAssetFolderMutable* folderToDelete) = 0;
  // The live list.
  virtual const std::vector<IAssetFolderMutable*>& GetSubFoldersMutable() const = 0;
  // Copies every item of `sourceFolder` (not of its subfolders) into this folder.
  virtual CopyResult CopyAssets(IAssetFolder* sourceFolder, IProgressPresenter* progressPresenter,
                                ILogger* logReport, ICancelable* cancelable) = 0;
};

}  // namespace QuelmarMIMEEngineCommon
