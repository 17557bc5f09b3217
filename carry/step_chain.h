// The steps of a conversion, one after another: one object for the destination, which takes one.
#pragma once

#include <string_view>
#include <vector>

#include "convert/conversion_step.h"
#include "engine/item_step.h"
#include "engine/sibling_cast.h"

namespace parvane::carry {

// A step taken along on the conversion of mail.
class MailStep : public convert::ConversionStep {
 public:
  // The mail is converted next; it stays where it is until that is over.
  virtual void Begin(const convert::IMailAsset& /*mail*/) {}
};

class StepChain : public engine::ItemStep, public convert::ConversionStep {
 public:
  // In the order in which they are asked: of a part, the first that sees to it. Each must outlive
  // the chain.
  void Add(engine::ItemStep& step) { _itemSteps.push_back(&step); }
  void Add(MailStep& step) { _mailSteps.push_back(&step); }
  bool empty() const { return _itemSteps.empty() && _mailSteps.empty(); }

  void BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) override;
  void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) override;

  void MailBegins(const convert::MailInHand& mail, mapi::IMessage& message) override;
  const std::vector<convert::MailBox>* Correspondents(const convert::MailInHand& mail,
                                                      Tessary::AddressField field) override;
  bool TakeHeader(const convert::MailInHand& mail, mapi::IMessage& message) override;
  bool TakePart(const convert::MailInHand& mail, convert::PartKind kind,
                const Tessary::Email2& part, mapi::IMessage& message) override;
  void AttachmentWritten(const convert::MailInHand& mail, const Tessary::Email2& part,
                         mapi::IAttach& attachment) override;
  bool TakeLeftover(const convert::MailInHand& mail, const Tessary::LeftoverPart& part,
                    mapi::IMessage& message) override;
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  engine::SiblingCast<convert::IMailAsset, QuelmarMIMEEngineCommon::IAsset> _mailOf;
  std::vector<engine::ItemStep*> _itemSteps;
  std::vector<MailStep*> _mailSteps;
};

}  // namespace parvane::carry
