// The mail directory of a mail profile: mailboxes are files without an extension ("Inbox"), and
// the subfolders of a mailbox lie in a directory named after it ("Inbox.sbd").
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "engine/asset_bases.h"
#include "sources/mbox_asset_folder.h"

namespace parvane::sources {
class MailboxIndex;
class SourceWalk;
}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

// Reads its messages as any mbox folder does.
class TBAssetFolder : public MBOXAssetFolder {
 public:
  TBAssetFolder(NullableString folderDiskPath, NullableString folderNameOverride,
                IAssetStore* ownerStore, AssetFolderBase* parentFolder);
  ~TBAssetFolder() override;

  void ResetQuery() override;

 protected:
  // Of the mailbox and the index beside it.
  parvane::engine::MessageState StateOf(const parvane::sources::StateHeaders& headers,
                                        const parvane::engine::StateWishes& wishes) override;

  std::optional<bool> IndexHasSeparatorAt(std::uint64_t offset) override;

 private:
  // Read when it is first needed; the observer is told why it is not used.
  parvane::sources::MailboxIndex& Index();

  std::unique_ptr<parvane::sources::MailboxIndex> _index;  // from the first message to the last
};

class TBAssetStore : public AssetStoreBase {
 public:
  // A null name becomes "Mozilla Email Database".
  TBAssetStore(NullableString storeRootDiskPath, NullableString storeName);

  // The profile's mailboxes stand directly under the root. `create` and `logger` are ignored.
  // Canceled leaves what was built so far.
  OperationResultCode OpenStore(IProgressPresenter* progressPresenter, ICancelable* cancelable,
                                bool create, ILogger* logger) override;
  // Always null.
  IAssetFolder* GetDefaultFolder(AssetFolderType folderType) override;

 private:
  // False when the walk was cancelled.
  bool PopulateMailFolders(std::u16string_view folderDiskPath, TBAssetFolder* parentFolderArg,
                           parvane::sources::SourceWalk& walk);
};

}  // namespace QuelmarMIMEEngineCommon
