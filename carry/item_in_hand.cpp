#include "carry/item_in_hand.h"

#include "engine/assets.h"

namespace parvane::carry {

void ItemInHand::BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) {
  _mail = dynamic_cast<const convert::IMailAsset*>(&item);
  const auto* stateful = dynamic_cast<const engine::IStatefulAsset*>(&item);
  _state = stateful ? stateful->State() : nullptr;
  _counts = {};
}

void ItemInHand::BeforeSave(QuelmarMIMEEngineCommon::IAsset&, mapi::IMessage&) {
  if (_mail) _observer.MailCarried(_counts);
}

}  // namespace parvane::carry
