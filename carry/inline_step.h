// Hides attachments that the HTML body shows in itself, so that they are in the text and not beside
// it; and takes the paper clip off a message of which all are.
//
// What the body does not refer to stays in sight, whatever its disposition says.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "carry/item_in_hand.h"
#include "carry/step_chain.h"

namespace parvane::carry {

class InlineStep : public MailStep {
 public:
  explicit InlineStep(ItemInHand& item) : _item(item) {}
  void MailBegins(const convert::MailInHand& mail, mapi::IMessage& message) override;
  void AttachmentWritten(const convert::MailInHand& mail, const Tessary::Email2& part,
                         mapi::IAttach& attachment) override;
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  struct References {
    std::string folder;  // what addresses are relative to
    // What the parts of a mail are called, and whether its HTML refers to them so.
    std::unordered_map<std::string, bool> names;
  };
  // Of a mail in hand that has attachments; those inside it stand on top of it.
  struct Level {
    std::unique_ptr<References> references;  // null: nobody has asked yet
    mapi::ULONG hidden = 0;
  };

  static std::unique_ptr<References> ReferencesOf(const convert::MailInHand& mail);
  static bool IsShown(const convert::MailInHand& mail, const References& references,
                      const Tessary::Email2& part);
  void HidePaperClip(mapi::IMessage& message);

  Level& LevelOf(const convert::MailInHand& mail);

  ItemInHand& _item;
  std::vector<Level> _levels;                 // by depth
  std::optional<mapi::ULONG> _smartNoAttach;  // the property, as this store numbers it
};

}  // namespace parvane::carry
