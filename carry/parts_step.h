// Makes attachments of parts that would reach no property, so that nothing of a message stays
// behind; and of those that would come twice, only one.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "carry/item_in_hand.h"
#include "carry/step_chain.h"

namespace parvane::carry {

class PartsStep : public MailStep {
 public:
  // `all` hears of the attachments made here as of those that the conversion makes, and of parts
  // that come to light in containers as of those that are left over.
  PartsStep(ItemInHand& item, convert::ConversionStep& all) : _item(item), _all(all) {}
  void MailBegins(const convert::MailInHand& mail, mapi::IMessage& message) override;
  bool TakePart(const convert::MailInHand& mail, convert::PartKind kind,
                const Tessary::Email2& part, mapi::IMessage& message) override;
  bool TakeLeftover(const convert::MailInHand& mail, const Tessary::LeftoverPart& part,
                    mapi::IMessage& message) override;

 private:
  // Of a mail in hand that has attachments; those inside it stand on top of it.
  struct Level {
    std::unordered_map<std::string, std::size_t> names;  // made here, and how often
  };

  void TakeLeaves(const convert::MailInHand& mail, const Tessary::Email2& container,
                  mapi::IMessage& message);
  bool Write(const convert::MailInHand& mail, const Tessary::Email2& part, mapi::IMessage& message);

  Level& LevelOf(const convert::MailInHand& mail);

  ItemInHand& _item;
  convert::ConversionStep& _all;
  std::vector<Level> _levels;  // by depth
};

}  // namespace parvane::carry
