// A step of its own between the conversion of an item and the saving of its message: for what is no
// part of the conversion, such as putting what the source knows of the message onto it.
#pragma once

namespace QuelmarMIMEEngineCommon {
class IAsset;
class IAssetStore;
}  // namespace QuelmarMIMEEngineCommon
namespace parvane::mapi {
class IMessage;
}

namespace parvane::engine {

class ItemStep {
 public:
  virtual ~ItemStep() = default;
  // The item is converted next.
  virtual void BeforeConversion(QuelmarMIMEEngineCommon::IAsset& /*item*/) {}
  // The item has been converted into `message`, as far as that succeeded, and the message is saved
  // next.
  virtual void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) = 0;
};

// Installs (or, with null, takes off) the step of a destination. The step must outlive the store.
// False when the store is not one of the engine's.
bool InsertItemStep(QuelmarMIMEEngineCommon::IAssetStore& destination, ItemStep* step);

}  // namespace parvane::engine
