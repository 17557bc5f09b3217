#include "factory/store_factory.h"

#include <exception>
#include <utility>

#include "engine/asset_bases.h"
#include "mapi/entry_points.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "pst/pst_asset_store.h"
#include "pst/pst_service.h"
#include "sources/mbox_asset_store.h"
#include "sources/profile_asset_store.h"

namespace CWLEngine {

using namespace QuelmarMIMEEngineCommon;
namespace platform = parvane::platform;

namespace {

// A new user's local application data may not be there yet: up to the home folder, which is.
void CreateFolders(platform::FileSystem& files, const std::u16string& folder, int missingLevels) {
  if (files.FolderExists(folder)) return;
  if (missingLevels > 0) CreateFolders(files, platform::ParentOfPath(folder), missingLevels - 1);
  static_cast<void>(files.CreateFolder(folder, true));
}

// Called for every source, so that the dump follows the user's settings of that moment.
void PrepareDumpFile() {
  try {
    const auto local = platform::LocalApplicationDataFolder();
    if (!local) return EmailAssetBase::SetDumpFilePath(std::nullopt);
    platform::FileSystem& files = platform::FileSystem::Default();
    const std::u16string folder = platform::JoinPath(*local, u"Quelmar K4M Dump");
    CreateFolders(files, folder, 3);
    if (files.FolderExists(folder))
      EmailAssetBase::SetDumpFilePath(platform::JoinPath(folder, u"MessageErrorDump.dmp"));
  } catch (const std::exception&) {
    EmailAssetBase::SetDumpFilePath(std::nullopt);
  }
}

}  // namespace

std::unique_ptr<IAssetStore> StoreFactory::CreateStore(StoreType storeType,
                                                       NullableString storeDiskPath,
                                                       NullableString storeName) {
  PrepareDumpFile();
  switch (storeType) {
    case kThunderbirdStore:
      return std::make_unique<TBAssetStore>(std::move(storeDiskPath), std::move(storeName));
    case kOrphanPSTMAPIStore:
      return std::make_unique<PSTMAPIAssetStore>(std::move(storeDiskPath), std::move(storeName));
    case kMBOXAssetStore:
      return std::make_unique<MBOXAssetStore>(std::move(storeDiskPath), std::move(storeName));
    default:
      return nullptr;
  }
}

std::unique_ptr<IAssetStoreMutable> StoreFactory::CreateStoreMutable(StoreType storeType,
                                                                     NullableString storeDiskPath,
                                                                     NullableString storeName) {
  if (storeType != kOrphanPSTMAPIStore) return nullptr;
  return std::make_unique<PSTMAPIAssetStoreMutable>(std::move(storeDiskPath), std::move(storeName));
}

}  // namespace CWLEngine

namespace QuelmarMIMEEngineCommon {

std::int32_t MAPISystemUtilities::MAPIInitialize() {
  return parvane::mapi::MAPIInitialize(nullptr);
}

void MAPISystemUtilities::MAPIUninitialize() { parvane::mapi::MAPIUninitialize(); }

const char* MAPISystemUtilities::TemporaryProfileName() { return kTemporaryProfileName; }

}  // namespace QuelmarMIMEEngineCommon
