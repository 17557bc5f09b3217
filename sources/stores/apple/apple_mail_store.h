// Mail as Apple Mail keeps it, or exports it.
//
//   V10/account/NAME.mbox/UUID/Data/3/1/Messages/13100.emlx    since 10.7; a mailbox lies in its
//   parent IMAP-user@host/NAME.mbox/Messages/101.emlx                 before; so does POP-, and
//   .imapmbox IMAP-user@host/NAME/CHILD.mbox/Messages/102.emlx           there children lie beside
//   their parent NAME.mbox/mbox                                             "Export Mailbox..."
//
// Where several versions left their folders (V2 to V10), the newest that holds mailboxes counts;
// the others and what lies beside them are older copies of the same mail, which the observer is
// told.
#pragma once

#include <string_view>

#include "engine/asset_bases.h"

namespace QuelmarMIMEEngineCommon {

class AppleMailStore : public AssetStoreBase {
 public:
  explicit AppleMailStore(NullableString storeDiskPath);

  // The path is the program's own folder (~/Library/Mail), one above it, an account, a mailbox, a
  // folder of exported ones, or a single message; what kind a folder is, its entries tell.
  // Mailboxes of accounts become children of a folder for the account; a single account without a
  // readable name has none. `create` and `logger` are ignored. Canceled leaves what was built so
  // far.
  OperationResultCode OpenStore(IProgressPresenter* progressPresenter, ICancelable* cancelable,
                                bool create, ILogger* logger) override;
  // Always null.
  IAssetFolder* GetDefaultFolder(AssetFolderType folderType) override;
};

}  // namespace QuelmarMIMEEngineCommon
