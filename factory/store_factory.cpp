#include "factory/store_factory.h"

#include <utility>

#include "factory/error_dump.h"
#include "mapi/entry_points.h"
#include "pst/pst_asset_store.h"
#include "pst/pst_service.h"
#include "sources/mbox_asset_store.h"
#include "sources/profile_asset_store.h"

namespace CWLEngine {

using namespace QuelmarMIMEEngineCommon;

std::unique_ptr<IAssetStore> StoreFactory::CreateStore(StoreType storeType,
                                                       NullableString storeDiskPath,
                                                       NullableString storeName) {
  parvane::factory::PrepareErrorDump();
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
