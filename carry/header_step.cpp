#include "carry/header_step.h"

#include <algorithm>
#include <utility>

#include "convert/message_streams.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/text_decoding.h"
#include "platform/code_pages/code_page.h"

namespace parvane::carry {
namespace {

using namespace mapi;
using namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities;

// What is longer goes through a stream.
constexpr std::size_t kLong = 1 << 20;

// Readers take a NUL for the end.
bool IsPlain(std::string_view header) {
  return Tessary::ReadsAsAscii(header, {}) && header.find('\0') == header.npos;
}

// In pieces: the text of a header of 100 MB takes twice that.
void WriteLong(IMessage& message, std::string_view header, std::string_view charset) {
  convert::PropertyWriter writer(message, PR_TRANSPORT_MESSAGE_HEADERS_W);
  const unsigned codePage = Tessary::ChooseCodePage(header, {}, charset);
  bool first = true;
  std::u16string clean;
  platform::DecodeInPieces(codePage, header, [&](std::u16string_view text) {
    if (std::exchange(first, false) && text.starts_with(u'\xFEFF')) text.remove_prefix(1);
    clean = text;
    std::erase(clean, u'\0');
    writer.Write({reinterpret_cast<const char*>(clean.data()), clean.size() * sizeof(char16_t)});
  });
  writer.Commit();
}

}  // namespace

std::string_view HeaderBeforeRepair(const convert::IMailAsset& asset,
                                    const convert::MailInHand& mail) {
  const std::string_view header = asset.HeaderAsItCame(mail);
  return header == mail.email.entity().headerText() ? std::string_view() : header;
}

bool HeaderStep::TakeHeader(const convert::MailInHand& mail, IMessage& message) {
  const std::string_view header = HeaderBeforeRepair(_item.mail(), mail);
  if (header.empty()) return false;
  if (mail.depth == 0) _item.Count(MailCount::kHeaders);
  if (header.size() > kLong) {
    WriteLong(message, header, mail.email.charset());
  } else if (!IsPlain(header)) {
    std::u16string text = Tessary::DecodeText(header, {}, mail.email.charset());
    std::erase(text, u'\0');
    SetPropString(&message, PR_TRANSPORT_MESSAGE_HEADERS_W, text.c_str());
  } else {
    _text.assign(header);
    SetPropString(&message, PR_TRANSPORT_MESSAGE_HEADERS_A, _text.c_str());
  }
  return true;
}

}  // namespace parvane::carry
