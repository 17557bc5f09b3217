#include "sources/profile_asset_store.h"

#include <set>

#include "platform/file.h"
#include "platform/path.h"
#include "sources/source_walk.h"
#include "sources/state/mailbox_index.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using parvane::engine::SkipReason;
using parvane::sources::SourceWalk;

namespace {

constexpr std::u16string_view kSubfolderSuffix = u".sbd";

// A name that ends in its only dot has no extension.
bool HasExtension(std::u16string_view name) { return platform::ExtensionOfPath(name).size() > 1; }

}  // namespace

TBAssetFolder::TBAssetFolder(NullableString folderDiskPath, NullableString folderNameOverride,
                             IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : MBOXAssetFolder(std::move(folderDiskPath), std::move(folderNameOverride), ownerStore,
                      parentFolder) {}

TBAssetFolder::~TBAssetFolder() = default;

parvane::engine::MessageState TBAssetFolder::StateOf(const parvane::sources::StateHeaders& headers,
                                                     const parvane::engine::StateWishes& wishes) {
  return Index().StateOf(Place(), headers, wishes);
}

std::optional<bool> TBAssetFolder::IndexHasSeparatorAt(std::uint64_t offset) {
  return Index().HasSeparatorAt(offset);
}

parvane::sources::MailboxIndex& TBAssetFolder::Index() {
  if (!_index) {
    _index = std::make_unique<parvane::sources::MailboxIndex>(FolderDiskPath().value_or(u""));
    if (_index->fault() && Observer())
      Observer()->IndexNotUsed(_index->path(), *_index->fault(), _index->status());
  }
  return *_index;
}

void TBAssetFolder::ResetQuery() {
  _index.reset();
  MBOXAssetFolder::ResetQuery();
}

TBAssetStore::TBAssetStore(NullableString storeRootDiskPath, NullableString storeName)
    : AssetStoreBase(std::move(storeRootDiskPath),
                     storeName ? std::move(storeName) : u"Mozilla Email Database") {}

OperationResultCode TBAssetStore::OpenStore(IProgressPresenter* progressPresenter,
                                            ICancelable* cancelable, bool, ILogger*) {
  auto* root = MakeFolder<TBAssetFolder>(std::nullopt, std::nullopt, this, nullptr);
  _storeRootAssetFolder = root;
  SourceWalk walk(progressPresenter, cancelable, Observer(), MailboxWishes());
  const std::u16string path = _storeRootDiskPath.value_or(u"");
  walk.Guard(path, [&] { PopulateMailFolders(path, root, walk); });
  return walk.Canceled() ? OperationResultCode::Canceled : OperationResultCode::Completed;
}

bool TBAssetStore::PopulateMailFolders(std::u16string_view folderDiskPath,
                                       TBAssetFolder* parentFolderArg, SourceWalk& walk) {
  const auto entries = walk.Enter(folderDiskPath);
  std::set<std::u16string> subfoldersRead;
  for (const platform::DirectoryEntry& entry : entries) {
    if (entry.kind != platform::FileKind::kFile) continue;
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(folderDiskPath, entry.name);
    if (HasExtension(entry.name)) {
      walk.SkippedByName(path);
      continue;
    }
    if (!walk.AcceptMbox(path)) continue;
    auto* folder = MakeFolder<TBAssetFolder>(path, entry.name, this, parentFolderArg);
    folder->PrepareContent();
    std::u16string subfolders = path + std::u16string(kSubfolderSuffix);
    if (!platform::FileSystem::Default().FolderExists(subfolders)) continue;
    if (!PopulateMailFolders(subfolders, folder, walk)) return false;
    subfoldersRead.insert(std::move(subfolders));
  }

  for (const platform::DirectoryEntry& entry : entries) {
    if (entry.kind != platform::FileKind::kFolder) continue;
    if (walk.Canceled()) return false;
    const std::u16string path = platform::JoinPath(folderDiskPath, entry.name);
    if (path.ends_with(kSubfolderSuffix)) {
      // Reached only through its mailbox; without one it is never read.
      if (!subfoldersRead.contains(path)) walk.Skipped(path, SkipReason::kOrphanSbd);
      continue;
    }
    auto* folder = MakeFolder<TBAssetFolder>(path, std::nullopt, this, parentFolderArg);
    if (!PopulateMailFolders(path, folder, walk)) return false;
    if (folder->GetSubFoldersMutable().empty() && folder->FolderType() == kAssetFolderTypeAssets)
      parentFolderArg->DeleteAssetFolder(folder);
  }
  walk.Leave();
  return true;
}

IAssetFolder* TBAssetStore::GetDefaultFolder(AssetFolderType) { return nullptr; }

}  // namespace QuelmarMIMEEngineCommon
