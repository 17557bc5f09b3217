#include "carry/forecast.h"

#include <vector>

#include "carry/header_step.h"
#include "engine/assets.h"
#include "mime/email_message.h"
#include "platform/text.h"

namespace parvane::carry {

using QuelmarMIMEEngineCommon::IAsset;
using Tessary::MimeMessage2;

void Forecast::OfMail(IAsset& item) {
  const convert::IMailAsset* mail = _mailOf(item);
  if (!mail || !mail->Parsed()) return;
  MailCounts counts{};
  if (_choice.headers && !HeaderBeforeRepair(*mail, {*mail->Parsed(), 0}).empty())
    counts[static_cast<std::size_t>(MailCount::kHeaders)] = 1;
  if (_choice.dates && mail->LacksDate()) {
    const engine::IStatefulAsset* stateful = _stateOf(item);
    const engine::MessageState* state = stateful ? stateful->State() : nullptr;
    if (state && state->undated && state->date.value)
      counts[static_cast<std::size_t>(MailCount::kDates)] = 1;
  }
  _mails.MailCarried(counts);
}

void Forecast::OfState(IAsset& item) {
  const engine::IStatefulAsset* stateful = _choice.state ? _stateOf(item) : nullptr;
  if (stateful && stateful->State()) _states.StateCarried(WhatIsCarriedOf(*stateful->State()));
}

MailBytes Forecast::BytesOf(IAsset& item) {
  MailBytes bytes;
  const convert::IMailAsset* mail = _mailOf(item);
  if (!mail || !mail->Parsed()) return bytes;
  // No recursion: parts may nest deep.
  std::vector<const MimeMessage2*> pending = {&mail->Parsed()->entity()};
  bytes.header = pending.front()->headerText().size();
  while (!pending.empty()) {
    const MimeMessage2* entity = pending.back();
    pending.pop_back();
    for (const auto& child : entity->children()) pending.push_back(child.get());
    if (!entity->children().empty()) continue;
    const bool encoded = platform::EqualsIgnoreAsciiCase(entity->transferEncoding(), "base64");
    (encoded ? bytes.encoded : bytes.text) += entity->body().size();
  }
  return bytes;
}

}  // namespace parvane::carry
