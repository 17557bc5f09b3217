#include "carry/winmail_step.h"

#include <string>
#include <string_view>
#include <utility>

#include "carry/tnef_message.h"
#include "mime/email2.h"
#include "mime/email_structure.h"
#include "mime/tnef/tnef_reader.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

bool IsWinmail(const Tessary::Email2& part) {
  constexpr std::string_view kName = "winmail.dat";
  return part.TypeIs("application/ms-tnef") || part.TypeIs("application/vnd.ms-tnef") ||
         platform::EqualsIgnoreAsciiCase(part.filename(), kName) ||
         platform::EqualsIgnoreAsciiCase(part.name(), kName);
}

}  // namespace

bool WinmailStep::TakePart(const convert::MailInHand&, convert::PartKind kind,
                           const Tessary::Email2& part, mapi::IMessage& message) {
  return kind != convert::PartKind::kAttachedMessage && IsWinmail(part) && Open(part, message);
}

// A mail that is nothing else.
bool WinmailStep::TakeLeftover(const convert::MailInHand&, const Tessary::LeftoverPart& part,
                               mapi::IMessage& message) {
  return part.node && IsWinmail(*part.node) && Open(*part.node, message);
}

void WinmailStep::MailWritten(const convert::MailInHand& mail, mapi::IMessage&) {
  if (mail.depth > 0 || _carried.opened + _carried.partly + _carried.unreadable == 0) return;
  _observer.WinmailCarried(std::exchange(_carried, {}));
}

bool WinmailStep::Open(const Tessary::Email2& part, mapi::IMessage& message) {
  const Tessary::ByteSlice bytes = part.entity().DecodedBody();
  const auto tnef = tnef::ReadTnef(bytes.view());
  if (!tnef) {
    ++_carried.unreadable;
    return false;
  }
  TnefMessageWriter writer(_names);
  const bool whole = writer.WriteBeside(message, *tnef) && tnef->whole;
  _carried.attachments += writer.attachments();
  ++(whole ? _carried.opened : _carried.partly);
  return whole;
}

}  // namespace parvane::carry
