#include "carry/header_step.h"

#include <algorithm>

#include "convert/message_streams.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/text_decoding.h"

namespace parvane::carry {
namespace {

using namespace mapi;
using namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities;

// What is longer goes through a stream, which holds no copy of it.
constexpr std::size_t kLong = 1 << 20;

// Readers take a NUL for the end.
bool IsPlain(std::string_view header) {
  return Tessary::ReadsAsAscii(header, {}) && header.find('\0') == header.npos;
}

void WriteText(IMessage& message, const std::u16string& text) {
  if (text.size() <= kLong) {
    SetPropString(&message, PR_TRANSPORT_MESSAGE_HEADERS_W, text.c_str());
    return;
  }
  convert::WritePropertyStream(
      message, PR_TRANSPORT_MESSAGE_HEADERS_W,
      {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)});
}

}  // namespace

bool HeaderStep::TakeHeader(const convert::MailInHand& mail, IMessage& message) {
  const std::string_view header = _item.mail().HeaderAsItCame(mail);
  if (header.empty() || header == mail.email.entity().headerText()) return false;
  if (mail.depth == 0) _item.Count(MailCount::kHeaders);
  if (!IsPlain(header)) {
    std::u16string text = Tessary::DecodeText(header, {}, mail.email.charset());
    std::erase(text, u'\0');
    WriteText(message, text);
  } else if (header.size() > kLong) {
    convert::WriteAsciiAsUtf16Stream(message, PR_TRANSPORT_MESSAGE_HEADERS_W, header);
  } else {
    _text.assign(header);
    SetPropString(&message, PR_TRANSPORT_MESSAGE_HEADERS_A, _text.c_str());
  }
  return true;
}

}  // namespace parvane::carry
