#include "carry/step_chain.h"

#include <algorithm>

#include "engine/assets.h"

namespace parvane::carry {

void StepChain::BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) {
  for (engine::ItemStep* step : _itemSteps) step->BeforeConversion(item);
  if (_mailSteps.empty()) return;
  convert::IMailAsset* const mail = _mailOf(item);
  if (!mail) return;
  mail->SetConversionStep(this);
  for (MailStep* step : _mailSteps) step->Begin(*mail);
}

void StepChain::BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) {
  for (engine::ItemStep* step : _itemSteps) step->BeforeSave(item, message);
}

void StepChain::MailBegins(const convert::MailInHand& mail, mapi::IMessage& message) {
  for (MailStep* step : _mailSteps) step->MailBegins(mail, message);
}

const std::vector<convert::MailBox>* StepChain::Correspondents(const convert::MailInHand& mail,
                                                               Tessary::AddressField field) {
  for (MailStep* step : _mailSteps) {
    if (const auto* read = step->Correspondents(mail, field)) return read;
  }
  return nullptr;
}

bool StepChain::TakeHeader(const convert::MailInHand& mail, mapi::IMessage& message) {
  return std::ranges::any_of(_mailSteps,
                             [&](MailStep* step) { return step->TakeHeader(mail, message); });
}

bool StepChain::TakePart(const convert::MailInHand& mail, convert::PartKind kind,
                         const Tessary::Email2& part, mapi::IMessage& message) {
  return std::ranges::any_of(
      _mailSteps, [&](MailStep* step) { return step->TakePart(mail, kind, part, message); });
}

void StepChain::AttachmentWritten(const convert::MailInHand& mail, const Tessary::Email2& part,
                                  mapi::IAttach& attachment) {
  for (MailStep* step : _mailSteps) step->AttachmentWritten(mail, part, attachment);
}

bool StepChain::TakeLeftover(const convert::MailInHand& mail, const Tessary::LeftoverPart& part,
                             mapi::IMessage& message) {
  return std::ranges::any_of(
      _mailSteps, [&](MailStep* step) { return step->TakeLeftover(mail, part, message); });
}

void StepChain::MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) {
  for (MailStep* step : _mailSteps) step->MailWritten(mail, message);
}

}  // namespace parvane::carry
