// Where an application obtains its stores, and how it starts and ends Extended MAPI.
//
//   MAPISystemUtilities::MAPIInitialize()
//   source = StoreFactory::CreateStore(kMBOXAssetStore, path, name); source->OpenStore(...)
//   target = StoreFactory::CreateStoreMutable(kOrphanPSTMAPIStore, pst, name); target->OpenStore()
//   for each source folder: target folder = CreateAssetFolder(name, type), CopyAssets(source...)
//   release both stores
//   MAPISystemUtilities::MAPIUninitialize()
#pragma once

#include <cstdint>
#include <memory>

#include "engine/stores.h"
#include "engine/values.h"

namespace CWLEngine {

// Kinds without a store are declared for callers and keep their numbers.
enum StoreType : std::int32_t {
  kAppleMailDBStore = 0,       // none
  kAppleMailArchiveStore = 1,  // none
  kMSEArchiveStore = 2,        // none
  kThunderbirdStore = 3,       // source: a mail profile's directory
  kOrphanPSTMAPIStore = 4,     // destination: a PST file; its folders yield no items
  kMBOXAssetStore = 5,         // source: an mbox file or a directory of them
  kEMLAssetStore = 6,          // none
};

class StoreFactory {
 public:
  // A store that is not yet opened, or null for a kind without one. Every call also prepares the
  // file that collects messages nobody could parse:
  // <local application data>/Quelmar K4M Dump/MessageErrorDump.dmp (no home, no dump).
  static std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStore> CreateStore(
      StoreType storeType, QuelmarMIMEEngineCommon::NullableString storeDiskPath,
      QuelmarMIMEEngineCommon::NullableString storeName);

  // A writable store, or null; only kOrphanPSTMAPIStore has one. One at a time in a process: it
  // uses a temporary MAPI profile with a fixed name.
  static std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStoreMutable> CreateStoreMutable(
      StoreType storeType, QuelmarMIMEEngineCommon::NullableString storeDiskPath,
      QuelmarMIMEEngineCommon::NullableString storeName);
};

}  // namespace CWLEngine

namespace QuelmarMIMEEngineCommon {

class MAPISystemUtilities {
 public:
  // Extended MAPI's own result, unchanged (an HRESULT).
  static std::int32_t MAPIInitialize();
  static void MAPIUninitialize();
  // Of the profile that an open PST is reached through; it is deleted when the store is released.
  static const char* TemporaryProfileName();
};

}  // namespace QuelmarMIMEEngineCommon
