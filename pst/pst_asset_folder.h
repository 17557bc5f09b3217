// A folder of a PST, as a destination: it never yields items.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "engine/asset_bases.h"
#include "engine/destination_observer.h"
#include "engine/mapi_folder.h"
#include "mapi/folder.h"

namespace parvane::mapi {
class IMAPISession;
}

namespace QuelmarMIMEEngineCommon {

class PSTMAPIAssetFolder : public AssetFolderBase, public parvane::engine::IMapiFolderHolder {
 public:
  // Takes over the caller's reference to `mapiFolder`; the session stays its store's.
  PSTMAPIAssetFolder(parvane::mapi::IMAPISession* session, parvane::mapi::IMAPIFolder* mapiFolder,
                     NullableString folderName, AssetFolderType folderType, IAssetStore* ownerStore,
                     AssetFolderBase* parentFolder);
  ~PSTMAPIAssetFolder() override;

  void PrepareContent() override {}
  std::int64_t QueryTotalAssetUnits() override { return _contentCount; }
  std::unique_ptr<IAssetQueryResult> QueryAsset() override { return nullptr; }
  void ResetQuery() override {}
  void Release() override;
  parvane::mapi::IMAPIFolder* MapiFolder() const override { return _mapiFolderP; }

 protected:
  parvane::mapi::IMAPISession* _mapiSessionP;  // borrowed
  parvane::mapi::IMAPIFolder* _mapiFolderP;    // owned, one reference
};

// Adds what a conversion consists of.
class PSTMAPIAssetFolderMutable : public PSTMAPIAssetFolder {
 public:
  using PSTMAPIAssetFolder::PSTMAPIAssetFolder;

  // Finds the subfolder of that name without regard to case, or creates it (a folder of that name
  // which the PST has already is opened). Appointment and contact folders get their class, every
  // other type that of mail. Null when the PST refuses.
  IAssetFolderMutable* CreateAssetFolder(std::u16string_view folderName,
                                         AssetFolderType folderType) override;

  // Creates one message for each item of the source folder, lets the item write itself into it and
  // saves it, also after a failure. Failed, with nothing done, when the source's type is not this
  // folder's. An item that is not of the folder's kind throws std::bad_cast. What MAPI does not
  // take of an item makes it no failure (mapi/refusals.h tells). When the
  // folder is full, the copy goes on in a sibling, "Name (2)" (see engine/destination_observer.h).
  CopyResult CopyAssets(IAssetFolder* sourceFolder, IProgressPresenter* progressPresenter,
                        ILogger* logReport, ICancelable* cancelable) override;

 private:
  // The subfolder of that name, the first one if there are several.
  IAssetFolderMutable* FindSubFolder(std::u16string_view folderName);
  void Tell(parvane::engine::DestinationStep step, parvane::mapi::HRESULT result) const;
  // A message to fill, or null; `target` becomes the folder it is in.
  parvane::mapi::IMessage* CreateMessage(PSTMAPIAssetFolderMutable*& target, ILogger* logReport);
  // The sibling that takes what does not fit here; null when there can be none.
  PSTMAPIAssetFolderMutable* Continuation();
  bool ConvertAsset(IAsset* asset, parvane::mapi::IMessage* message);
  bool CopyAsset(IAssetQueryResult& item, parvane::mapi::IMessage* message,
                 IProgressPresenter* progressPresenter, ILogger* logReport);

  std::u16string _logLine;  // of the item in hand

  // The first so many subfolders by folded name. The list itself is the truth, and may change
  // behind this.
  std::unordered_map<std::u16string, IAssetFolderMutable*> _byName;
  std::size_t _indexed = 0;
  const IAssetFolderMutable* _lastIndexed = nullptr;

  PSTMAPIAssetFolderMutable* _continuation = nullptr;  // the store's
  // Of a folder that goes on for another: that one's name, and which of the series this is.
  std::u16string _seriesName;
  int _seriesNumber = 1;
};

}  // namespace QuelmarMIMEEngineCommon
