#include "sources/stores/message_files/directory_store.h"

#include <string>

#include "platform/path.h"

namespace parvane::sources {

using namespace QuelmarMIMEEngineCommon;
using platform::DirectoryEntry;
using platform::FileKind;

OperationResultCode DirectoryStore::OpenStore(IProgressPresenter* progressPresenter,
                                              ICancelable* cancelable, bool, ILogger*) {
  _storeRootAssetFolder = MakeFolder<Folder>(std::nullopt, std::nullopt, this, nullptr);
  SourceWalk walk(progressPresenter, cancelable, Observer(), _layout);
  const std::u16string path = _storeRootDiskPath.value_or(u"");
  walk.Guard(path, [&] {
    Populate(path, *MakeFolderFor(path, platform::FileNameOfPath(path), _storeRootAssetFolder),
             walk);
  });
  return walk.Canceled() ? OperationResultCode::Canceled : OperationResultCode::Completed;
}

bool DirectoryStore::Populate(std::u16string_view directory, Folder& folder, SourceWalk& walk) {
  const Entries entries = walk.Enter(directory);
  if (walk.Canceled()) return false;
  AddMessages(directory, entries, folder, walk);
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind != FileKind::kFolder) continue;
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    Folder* child = MakeFolderFor(path, entry.name, &folder);
    if (!Populate(path, *child, walk)) return false;
    if (child->GetSubFoldersMutable().empty() && child->FolderType() == kAssetFolderTypeAssets)
      folder.DeleteAssetFolder(child);
  }
  walk.Leave();
  return true;
}

}  // namespace parvane::sources
