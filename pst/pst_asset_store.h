// The PST as a store: the destination of every conversion.
#pragma once

#include "engine/asset_bases.h"
#include "mapi/session.h"
#include "pst/pst_asset_folder.h"

namespace QuelmarMIMEEngineCommon {

// Owns the session, the message store and the wrapper of the PST's top folder, which is named
// "Personal Folders". One at a time in a process: the temporary profile's name is fixed.
class PSTMAPIAssetStore : public AssetStoreBase {
 public:
  // A null name becomes "Orphan Outlook PST".
  PSTMAPIAssetStore(NullableString storeRootDiskPath, NullableString storeName);
  ~PSTMAPIAssetStore() override;

  // Failed when there is no such file, or no session, store or top folder. The first three
  // arguments are not used.
  OperationResultCode OpenStore(IProgressPresenter* progressPresenter, ICancelable* cancelable,
                                bool create, ILogger* logger) override;
  // Always null.
  IAssetFolder* GetDefaultFolder(AssetFolderType folderType) override;

  // Releases the folders, then the message store, logs off, and deletes the temporary profile,
  // also when the store was never opened. Only the first call does anything.
  void Release() override;

 protected:
  // Logs on to the PST and opens its top folder; false when there is no session.
  bool OpenSession();
  // The PST's top folder with the caller's reference, or null.
  parvane::mapi::IMAPIFolder* OpenTopFolder();

  parvane::mapi::IMAPISession* _mapiSessionP = nullptr;  // owned, one reference
  parvane::mapi::IMsgStore* _messageStoreP = nullptr;    // owned, one reference

 private:
  void CloseSession();

  bool _released = false;
};

class PSTMAPIAssetStoreMutable : public PSTMAPIAssetStore, public virtual IAssetStoreMutable {
 public:
  // A null name becomes "Orphan Mutable Outlook PST".
  PSTMAPIAssetStoreMutable(NullableString storeRootDiskPath, NullableString storeName);

  // Creates the PST when it is missing. Without a session it tells `logger` so.
  OperationResultCode OpenStore(IProgressPresenter* progressPresenter, ICancelable* cancelable,
                                bool create, ILogger* logger) override;
  IAssetFolderMutable* GetStoreRootFolderMutable() const override;
  // Always null.
  IAssetFolderMutable* GetDefaultFolderMutable(AssetFolderType folderType, bool create) override;
};

}  // namespace QuelmarMIMEEngineCommon
