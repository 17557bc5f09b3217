// Writes the header of a message as it came, and not as it was repaired.
#pragma once

#include <string>
#include <string_view>

#include "carry/item_in_hand.h"
#include "carry/step_chain.h"

namespace parvane::carry {

// The header as it came; empty where repair has left it as it was.
std::string_view HeaderBeforeRepair(const convert::IMailAsset& asset,
                                    const convert::MailInHand& mail);

class HeaderStep : public MailStep {
 public:
  explicit HeaderStep(ItemInHand& item) : _item(item) {}
  bool TakeHeader(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  ItemInHand& _item;
  std::string _text;  // for reuse
};

}  // namespace parvane::carry
