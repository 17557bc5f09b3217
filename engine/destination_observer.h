// What MAPI answered while a destination was opened, written and closed.
//
// Opening and copying discard MAPI's results on purpose: whoever must account for every message
// installs an observer on the store before opening it. With the built-in MAPI there is a better
// witness, the record of the store that was opened (mapi/diagnostics.h), which knows what has
// reached the file; with the system's MAPI these results are all there is.
//
// A folder of a PST takes as many messages as its table holds, some 1.4 to 2.1 million. What comes
// after goes to a sibling, which the asset interfaces have no place to tell of.
//
// All calls come on the conversion's thread, between OpenStore and the end of the store's release.
#pragma once

#include <cstdint>
#include <vector>

#include "mapi/message_store.h"
#include "mapi/refusals.h"

namespace QuelmarMIMEEngineCommon {
class IAssetFolder;
class IAssetStore;
}  // namespace QuelmarMIMEEngineCommon

namespace parvane::engine {

enum class DestinationStep {
  kAdministerProfiles,
  kConfigureService,  // creates the PST or opens the one that is there
  kLogOn,
  kOpenStore,
  kOpenTopFolder,
  kCreateFolder,
  kCreateMessage,
  kSaveMessage,  // accepted, which need not mean that it is in the file
  kLogOff,
};

class DestinationObserver {
 public:
  virtual ~DestinationObserver() = default;
  // `result` is an HRESULT: negative is failure. A step that was not reached is not reported.
  virtual void MapiAnswered(DestinationStep /*step*/, std::int32_t /*result*/) {}
  // Released after kLogOff at the latest; whoever keeps it adds a reference.
  virtual void StoreOpened(mapi::IMsgStore& /*store*/) {}
  // The folder has been made (or found) without these properties.
  virtual void FolderRefused(const QuelmarMIMEEngineCommon::IAssetFolder& /*folder*/,
                             const std::vector<mapi::Refusal>& /*refusals*/) {}
  // `full` takes nothing more: the item in hand and those after it go to `next`.
  virtual void FolderContinued(const QuelmarMIMEEngineCommon::IAssetFolder& /*full*/,
                               const QuelmarMIMEEngineCommon::IAssetFolder& /*next*/) {}
};

// Installs (or, with null, takes off) the observer of one store. The observer must outlive the
// store. False when the store is not one of the engine's.
bool ObserveDestination(QuelmarMIMEEngineCommon::IAssetStore& store, DestinationObserver* observer);

}  // namespace parvane::engine
