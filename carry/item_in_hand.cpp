#include "carry/item_in_hand.h"

namespace parvane::carry {

void ItemInHand::Begin(const convert::IMailAsset& mail) {
  _mail = &mail;
  _counts = {};
}

void ItemInHand::MailWritten(const convert::MailInHand& mail, mapi::IMessage&) {
  if (mail.depth == 0) _observer.MailCarried(_counts);
}

}  // namespace parvane::carry
