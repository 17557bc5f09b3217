#include "desk/message_text.h"

#include <algorithm>
#include <map>
#include <optional>

#include "desk/safe_html.h"
#include "desk/viewed_message.h"
#include "mapi/com_pointer.h"
#include "mapi/tags.h"
#include "mime/tnef/rtf_compression.h"
#include "mime/tnef/rtf_text.h"
#include "moves/property_reading.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::Result;
using platform::Status;

// What a browser shows without a word; hardly any mail has more.
constexpr std::size_t kLongestText = 32 << 20;

unsigned CodePageOf(mapi::IMessage& message) {
  mapi::SizedSPropTagArray<1> tags = {1, {mapi::PR_INTERNET_CPID}};
  mapi::ULONG count = 0;
  mapi::MapiBuffer<mapi::SPropValue> value;
  message.GetProps(tags.get(), 0, &count, value.Put());
  if (count != 1 || !value || value[0].ulPropTag != mapi::PR_INTERNET_CPID)
    return platform::kCodePageWindows1252;
  return value[0].Value.ul;
}

struct BodyText {
  std::string utf8;
  bool cut = false;
};

// Takes no more than is shown; whether it goes on after that.
template <typename Text, typename Piece>
bool TakePiece(Piece piece, Text& text, bool& cut) {
  cut = cut || piece.size() > kLongestText - text.size();
  text += piece.substr(0, kLongestText - text.size());
  return !cut;
}

std::optional<BodyText> HtmlOf(mapi::IMessage& message) {
  BodyText html;
  const bool read = moves::ReadProperty(message, mapi::PR_HTML, [&](std::string_view piece) {
    return TakePiece(piece, html.utf8, html.cut);
  });
  if (!read) return std::nullopt;
  const unsigned codePage = CodePageOf(message);
  if (codePage == platform::kCodePageUtf8) return html;
  std::u16string text;
  platform::DecodeCodePage(codePage, html.utf8, text);
  html.utf8 = platform::Utf16ToUtf8(text);
  return html;
}

std::optional<BodyText> PlainTextOf(mapi::IMessage& message) {
  std::u16string text;
  bool cut = false;
  const bool read = moves::ReadText(message, mapi::PR_BODY_W, [&](std::u16string_view piece) {
    return TakePiece(piece, text, cut);
  });
  if (!read) return std::nullopt;
  return BodyText{platform::Utf16ToUtf8(text), cut};
}

std::optional<BodyText> TextOfRtf(mapi::IMessage& message) {
  std::string packed;
  bool cut = false;
  const bool read =
      moves::ReadProperty(message, mapi::PR_RTF_COMPRESSED,
                          [&](std::string_view piece) { return TakePiece(piece, packed, cut); });
  if (!read) return std::nullopt;
  std::string text;
  tnef::RtfText rtf([&](std::u16string_view piece) { text += platform::Utf16ToUtf8(piece); });
  const bool unpacked = tnef::DecompressRtf(packed, [&](std::string_view piece) {
    rtf.Take(piece);
    cut = cut || text.size() >= kLongestText;
    return !cut;
  });
  rtf.End();
  if (!packed.empty() && !unpacked && text.empty()) return std::nullopt;
  return BodyText{std::move(text), cut};
}

SafeHtml Shown(mapi::IMessage& message, std::string_view html,
               const std::function<std::string(std::uint32_t)>& urlOfAttachment) {
  bool complete = true;
  std::map<std::string, std::uint32_t> pictures;
  for (const ViewedAttachment& attachment : ViewAttachments(message, complete)) {
    if (!attachment.reference.empty()) pictures.emplace(attachment.reference, attachment.number);
  }
  return MakeSafe(html, [&](const std::string& reference) {
    const auto found = pictures.find(reference);
    return found == pictures.end() ? std::string() : urlOfAttachment(found->second);
  });
}

std::string Document(SafeHtml html, bool cut) {
  if (cut) {
    html.body.insert(
        0,
        "<p><b>Only the beginning of this text is shown here: it is very long. All of it is "
        "in the PST.</b></p>");
  }
  return SafeDocument(html);
}

}  // namespace

Result<std::string> TextPage(mapi::IMessage& message,
                             const std::function<std::string(std::uint32_t)>& urlOfAttachment) {
  const auto html = HtmlOf(message);
  if (html && !html->utf8.empty())
    return Document(Shown(message, html->utf8, urlOfAttachment), html->cut);
  auto text = PlainTextOf(message);
  const bool readAll = html && text;
  if (!text || text->utf8.empty()) {
    auto rtf = TextOfRtf(message);
    if (!rtf || (rtf->utf8.empty() && !readAll))
      return Status(platform::StatusCode::kCorrupt, "the text of this message cannot be read");
    text = std::move(rtf);
  }
  return Document(AsSafeHtml(text->utf8), text->cut);
}

}  // namespace parvane::desk
