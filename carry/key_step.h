// Puts onto a message by what it is known again (engine/message_facts.h): its PR_SEARCH_KEY.
#pragma once

#include "engine/item_step.h"
#include "engine/message_facts.h"
#include "engine/sibling_cast.h"

namespace parvane::carry {

class KeyStep : public engine::ItemStep {
 public:
  void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) override;

 private:
  engine::SiblingCast<engine::IMessageFacts, QuelmarMIMEEngineCommon::IAsset> _factsOf;
};

}  // namespace parvane::carry
