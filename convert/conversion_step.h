// What may be added to a message while it is converted, for wishes beyond the conversion.
//
// A step hears of every message, also of those inside others, at the moments when something is in
// hand that is gone afterwards: the parsed mail, a part, an attachment before it is saved. By
// itself it does nothing, and the conversion is what it is without one.
#pragma once

#include <string_view>
#include <vector>

#include "mapi/message.h"
#include "mime/header_facts.h"
#include "mime/mailbox.h"

namespace Tessary {
class Email2;
class EmailMessage;
struct LeftoverPart;
}  // namespace Tessary

namespace parvane::convert {

using QuelmarMIMEEngineCommon::MailBox;

// The mail in hand; holds during the call.
struct MailInHand {
  Tessary::EmailMessage& email;  // as repaired
  int depth = 0;                 // messages around it
};

// The list of the structure that a part comes from.
enum class PartKind { kRelatedItem, kAttachment, kAttachedMessage };

class ConversionStep {
 public:
  virtual ~ConversionStep() = default;
  // The message is empty yet. Calls for messages inside it come before MailWritten for itself.
  virtual void MailBegins(const MailInHand& /*mail*/, mapi::IMessage& /*message*/) {}
  // Originators or recipients are to be made of the field. Not null: of these mailboxes, which hold
  // until the next call, and not of those that the mail as repaired names.
  virtual const std::vector<MailBox>* Correspondents(const MailInHand& /*mail*/,
                                                     Tessary::AddressField /*field*/) {
    return nullptr;
  }
  // The header is to be written. True when the step has written it.
  virtual bool TakeHeader(const MailInHand& /*mail*/, mapi::IMessage& /*message*/) { return false; }
  // An attachment is to be made of the part. True when the step has seen to it: then none is.
  virtual bool TakePart(const MailInHand& /*mail*/, PartKind /*kind*/,
                        const Tessary::Email2& /*part*/, mapi::IMessage& /*message*/) {
    return false;
  }
  // The attachment made of the part is saved next.
  virtual void AttachmentWritten(const MailInHand& /*mail*/, const Tessary::Email2& /*part*/,
                                 mapi::IAttach& /*attachment*/) {}
  // No property takes the part. True when the step has seen to it: then it is not told as left out.
  virtual bool TakeLeftover(const MailInHand& /*mail*/, const Tessary::LeftoverPart& /*part*/,
                            mapi::IMessage& /*message*/) {
    return false;
  }
  // The conversion of the message is over; it is saved next.
  virtual void MailWritten(const MailInHand& /*mail*/, mapi::IMessage& /*message*/) {}
};

// An item that is converted from parsed mail; found by dynamic_cast.
class IMailAsset {
 public:
  virtual ~IMailAsset() = default;
  // Takes the step along on conversions from now on; with null, none. Not owned.
  virtual void SetConversionStep(ConversionStep* step) = 0;
  // As it is converted, its header repaired. Null when it could not be parsed.
  virtual Tessary::EmailMessage* Parsed() const = 0;
  // Its Date is missing or says nothing usable.
  virtual bool LacksDate() const = 0;
  // The header of a mail that its conversion has in hand, or one inside it, as it came: with its
  // line ends, and before any repair.
  virtual std::string_view HeaderAsItCame(const MailInHand& mail) const = 0;
};

}  // namespace parvane::convert
