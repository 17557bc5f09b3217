// Gives a message whose Date says nothing usable the date that its source knows, so that it stands
// in its place in lists.
#pragma once

#include "carry/item_in_hand.h"
#include "carry/step_chain.h"

namespace parvane::carry {

class DateStep : public MailStep {
 public:
  explicit DateStep(ItemInHand& item) : _item(item) {}
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  ItemInHand& _item;
};

}  // namespace parvane::carry
