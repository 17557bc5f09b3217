#include "sources/message_repair.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mime/mailbox.h"
#include "mime/ts_byte_data.h"
#include "mime/ts_mime.h"
#include "mime/ts_string.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using Tessary::TsByteData;
using Tessary::TsMime;
using Tessary::TsString;

namespace {

// Messages within messages beyond this are left as they are: no real mail gets there, and each
// level parses the rest of the message again.
constexpr int kMaximumMessageDepth = 32;

constexpr std::array<const char*, 6> kMailBoxHeaders = {"From", "To",     "Cc",
                                                        "Bcc",  "Sender", "Reply-To"};

void Adjust(TsMime& mime, int depth);

bool HasContentType(TsMime& mime, const char* type) {
  TsString text;
  return mime.get_ContentType(text) && text.equalsIgnoreCase(type);
}

// Most attached messages stand in the body as they are; some mailers encode them all the same, and
// are repaired in the clear.
bool LoadAttachedMessage(TsMime& attachment, TsMime& message, bool& encoded) {
  TsString encoding;
  attachment.encoding(encoding);
  encoded = encoding.equalsIgnoreCase("base64") || encoding.equalsIgnoreCase("quoted-printable");
  if (encoded) {
    TsByteData bytes;
    return attachment.GetDecodedBody(bytes) && message.LoadMimeBytes(bytes);
  }
  TsString body;
  return attachment.getEntireBody(body) && message.LoadMime(body);
}

void RepairAttachedMessage(TsMime& attachment, int depth) {
  TsMime message;
  message.put_Utf8(true);
  bool encoded = false;
  if (!LoadAttachedMessage(attachment, message, encoded)) return;
  Adjust(message, depth + 1);
  TsString text;
  if (!message.getMime(text)) return;
  if (encoded) attachment.SetHeaderField("Content-Transfer-Encoding", "8bit");
  attachment.SetBody(text);
}

void FixRelated(TsMime& mime, int depth) {
  const int parts = mime.get_NumParts();
  if (mime.IsMultipartRelated()) {
    for (int i = 0; i < parts; ++i)
      if (std::unique_ptr<TsMime> part{mime.GetPart(i)})
        part->RemoveHeaderField("Content-Disposition");
  }
  if (depth < kMaximumMessageDepth && mime.IsAttachment() && HasContentType(mime, "message/rfc822"))
    RepairAttachedMessage(mime, depth);
  for (int i = 0; i < parts; ++i)
    if (std::unique_ptr<TsMime> part{mime.GetPart(i)}) FixRelated(*part, depth);
}

std::u16string RewriteMailBoxes(std::u16string_view list) {
  std::vector<std::u16string> mailBoxes;
  SplitMailBoxes(list, mailBoxes);
  std::u16string result;
  for (const std::u16string& mailBox : mailBoxes) {
    std::u16string name;
    std::u16string address;
    ParseEmailAddress(mailBox, name, address);
    // The blanks inside the angle brackets are trimmed when the field is parsed.
    if (&mailBox != &mailBoxes.front()) result += u',';
    result += u'"';
    result += EscapeQuotedName(name);
    result += u"\" < ";
    result += address;
    result += u" >";
  }
  return result;
}

void AppendListed(std::u16string& list, std::u16string_view value) {
  if (!list.empty()) list += u',';
  list += value;
}

void SetMailBoxes(const char* headerName, std::u16string_view list, TsMime& mime) {
  if (list.empty()) return;
  TsString value;
  value.put_Utf8(true);
  value.appendU(std::u16string_view(RewriteMailBoxes(list)));
  mime.SetHeaderField(headerName, value);
}

// All address headers in one walk over the fields: what FixMailBox does for each of them.
void FixMailBoxes(TsMime& mime) {
  std::array<std::u16string, kMailBoxHeaders.size()> lists;
  const int fields = mime.get_NumHeaderFields();
  TsString name;
  TsString value;
  for (int i = 0; i < fields; ++i) {
    mime.GetHeaderFieldName(i, name);
    const std::string_view text = name.viewUtf8();
    for (std::size_t header = 0; header < lists.size(); ++header) {
      if (!platform::EqualsIgnoreAsciiCase(text, kMailBoxHeaders[header])) continue;
      mime.GetHeaderFieldValue(i, value);
      AppendListed(lists[header], value.viewUnicode());
    }
  }
  for (std::size_t header = 0; header < lists.size(); ++header)
    SetMailBoxes(kMailBoxHeaders[header], lists[header], mime);
}

bool IsLetterOrDigit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

void Adjust(TsMime& mime, int depth) {
  FixRelated(mime, depth);
  FixMailBoxes(mime);
  FixDate(&mime);
}

}  // namespace

void AdjustMimeForTSMail(TsMime* mime) {
  if (mime) Adjust(*mime, 0);
}

void FixRelatedContentDisposition(TsMime* mime) {
  if (mime) FixRelated(*mime, 0);
}

void FixMailBox(const char* headerName, TsMime* mime) {
  if (!mime || !headerName) return;
  std::u16string list;
  const int fields = mime->get_NumHeaderFields();
  TsString name;
  TsString value;
  for (int i = 0; i < fields; ++i) {
    mime->GetHeaderFieldName(i, name);
    if (!name.equalsIgnoreCase(headerName)) continue;
    mime->GetHeaderFieldValue(i, value);
    AppendListed(list, value.viewUnicode());
  }
  SetMailBoxes(headerName, list, *mime);
}

void FixDate(TsMime* mime) {
  if (!mime) return;
  TsString date;
  if (!mime->GetHeaderField("Date", date) || date.isEmpty()) return;
  const std::size_t length = date.getSizeUnicode();
  date.trim();
  const std::u16string_view text = date.viewUnicode();
  std::size_t start = 0;
  while (start < text.size() && !IsLetterOrDigit(text[start])) ++start;
  if (start > 0 && start < text.size()) date = date.substring(start, length - start);
  if (DateTimeUtilities::TryFixTimeStr(date)) mime->SetHeaderField("Date", date);
}

}  // namespace QuelmarMIMEEngineCommon
