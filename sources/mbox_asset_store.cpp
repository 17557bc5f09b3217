#include "sources/mbox_asset_store.h"

#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/source_walk.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using parvane::engine::SkipReason;
using parvane::sources::SourceWalk;

MBOXAssetStore::MBOXAssetStore(NullableString storeDiskPath, NullableString storeName)
    : AssetStoreBase(std::move(storeDiskPath), storeName ? std::move(storeName) : u"MBOX Store") {}

OperationResultCode MBOXAssetStore::OpenStore(IProgressPresenter* progressPresenter,
                                              ICancelable* cancelable, bool, ILogger*) {
  _storeRootAssetFolder = MakeFolder<MBOXAssetFolder>(std::nullopt, std::nullopt, this, nullptr);
  SourceWalk walk(progressPresenter, cancelable, Observer(), MailboxWishes());
  const std::u16string path = _storeRootDiskPath.value_or(u"");
  walk.Guard(path, [&] {
    auto* folder = MakeFolder<MBOXAssetFolder>(path, platform::FileNameOfPath(path), this,
                                               _storeRootAssetFolder);
    folder->PrepareContent();
    PopulateMBOXFolders(path, folder, walk);
  });
  return walk.Canceled() ? OperationResultCode::Canceled : OperationResultCode::Completed;
}

bool MBOXAssetStore::PopulateMBOXFolders(std::u16string_view directory,
                                         MBOXAssetFolder* parentFolder, SourceWalk& walk) {
  const auto entries = walk.Enter(directory);
  for (const platform::DirectoryEntry& entry : entries) {
    if (entry.kind != platform::FileKind::kFile) continue;
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    const bool named = platform::EqualsIgnoreCase(platform::ExtensionOfPath(entry.name), u".mbox");
    if (entry.name.starts_with(u"._")) {
      if (named) walk.Skipped(path, SkipReason::kResourceForkCompanion);
    } else if (!named) {
      walk.SkippedByName(path);
    } else if (walk.AcceptMbox(path)) {
      MakeFolder<MBOXAssetFolder>(path, std::nullopt, this, parentFolder)->PrepareContent();
    }
  }

  for (const platform::DirectoryEntry& entry : entries) {
    if (entry.kind != platform::FileKind::kFolder) continue;
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    auto* folder = MakeFolder<MBOXAssetFolder>(path, std::nullopt, this, parentFolder);
    if (!PopulateMBOXFolders(path, folder, walk)) return false;
    if (folder->GetSubFoldersMutable().empty()) parentFolder->DeleteAssetFolder(folder);
  }
  walk.Leave();
  return true;
}

IAssetFolder* MBOXAssetStore::GetDefaultFolder(AssetFolderType) { return nullptr; }

}  // namespace QuelmarMIMEEngineCommon
