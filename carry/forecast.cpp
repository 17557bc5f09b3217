#include "carry/forecast.h"

#include <algorithm>
#include <vector>

#include "carry/header_step.h"
#include "engine/assets.h"
#include "mime/email_message.h"
#include "platform/text.h"

namespace parvane::carry {

using QuelmarMIMEEngineCommon::IAsset;
using Tessary::AddressField;
using Tessary::MimeMessage2;

namespace {

void AddLeaf(const MimeMessage2& leaf, MailMakeup& makeup) {
  const bool base64 = platform::EqualsIgnoreAsciiCase(leaf.transferEncoding(), "base64");
  const std::uint64_t bytes = leaf.body().size();
  if (leaf.ContentTypeIs("text/html")) {
    makeup.html += base64 ? bytes / 4 * 3 : bytes;
  } else if (!base64) {
    makeup.text += bytes;
  } else if (leaf.ContentTypeIs("text/plain")) {
    makeup.text += bytes / 4 * 3;
  } else {
    makeup.encoded += bytes;
  }
}

}  // namespace

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

MailMakeup Forecast::MakeupOf(IAsset& item) {
  MailMakeup makeup;
  const convert::IMailAsset* mail = _mailOf(item);
  if (!mail || !mail->Parsed()) return makeup;
  const MimeMessage2& message = mail->Parsed()->entity();
  makeup.header = message.headerText().size();
  for (const AddressField field : {AddressField::kTo, AddressField::kCc, AddressField::kBcc}) {
    message.header().ForEach(Tessary::NameOf(field), [&](const Tessary::MimeField& one) {
      makeup.recipients += 1 + static_cast<std::uint64_t>(std::ranges::count(one.Raw(), ','));
    });
  }
  // No recursion: parts may nest deep.
  std::vector<const MimeMessage2*> pending = {&message};
  while (!pending.empty()) {
    const MimeMessage2& entity = *pending.back();
    pending.pop_back();
    for (const auto& child : entity.children()) pending.push_back(child.get());
    if (entity.children().empty()) AddLeaf(entity, makeup);
  }
  return makeup;
}

}  // namespace parvane::carry
