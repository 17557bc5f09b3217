// The mbox source: one mbox file, or a directory tree of ".mbox" files.
#pragma once

#include <string_view>

#include "engine/asset_bases.h"
#include "sources/mbox_asset_folder.h"

namespace parvane::sources {
class SourceWalk;
}

namespace QuelmarMIMEEngineCommon {

class MBOXAssetStore : public AssetStoreBase {
 public:
  // A null name becomes "MBOX Store".
  MBOXAssetStore(NullableString storeDiskPath, NullableString storeName);

  // Under the root stands one folder for the path itself, and under that the directory's mailboxes
  // and those of its subdirectories. Directories without any do not appear. `create` and `logger`
  // are ignored. Canceled leaves what was built so far.
  OperationResultCode OpenStore(IProgressPresenter* progressPresenter, ICancelable* cancelable,
                                bool create, ILogger* logger) override;
  // Always null.
  IAssetFolder* GetDefaultFolder(AssetFolderType folderType) override;

 private:
  // False when the walk was cancelled.
  bool PopulateMBOXFolders(std::u16string_view directory, MBOXAssetFolder* parentFolder,
                           parvane::sources::SourceWalk& walk);
};

}  // namespace QuelmarMIMEEngineCommon
