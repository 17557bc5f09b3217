#include "carry/part_names.h"

#include <algorithm>
#include <utility>

#include "mime/content_type_table.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

using platform::EqualsIgnoreAsciiCase;
using platform::StartsWithIgnoreAsciiCase;
using Tessary::Email2;

constexpr std::pair<std::string_view, std::string_view> kNames[] = {
    {"application/pkcs7-signature", "smime.p7s"},
    {"application/x-pkcs7-signature", "smime.p7s"},
    {"application/pkcs7-mime", "smime.p7m"},
    {"application/x-pkcs7-mime", "smime.p7m"},
    {"application/pgp-signature", "signature.asc"},
    {"application/pgp-encrypted", "pgp-version.txt"},
    {"application/pgp-keys", "public-key.asc"},
    {"message/delivery-status", "delivery-status.txt"},
    {"message/global-delivery-status", "delivery-status.txt"},
    {"message/disposition-notification", "disposition-notification.txt"},
    {"message/feedback-report", "feedback-report.txt"},
    {"message/external-body", "external-body.txt"},
    {"message/rfc822", "message.eml"},
    {"text/rfc822-headers", "headers.txt"},
    {"text/html", "text.html"},
    {"text/x-amp-html", "text.amp.html"},
    {"text/enriched", "enriched-text.txt"},
    {"text/richtext", "enriched-text.txt"},
    {"text/vcard", "contact.vcf"},
    {"text/x-vcard", "contact.vcf"},
    {"text/css", "style.css"},
    {"text/csv", "text.csv"},
    {"text/xml", "text.xml"},
    {"image/jpeg", "image.jpg"},
    {"image/jpg", "image.jpg"},
    {"image/gif", "image.gif"},
    {"image/webp", "image.webp"},
    {"image/svg+xml", "image.svg"},
    {"application/pdf", "document.pdf"},
};

// What a calendar's method asks for (RFC 5546).
constexpr std::pair<std::string_view, std::string_view> kMethods[] = {
    {"request", "invitation"},
    {"reply", "reply"},
    {"cancel", "cancellation"},
};

// The value of the calendar's first line of that name, unfolded and without escapes; empty when
// there is none.
std::string CalendarValue(std::string_view calendar, std::string_view name) {
  std::size_t at = 0;
  const auto line = [&] {
    const std::size_t end = std::min(calendar.find('\n', at), calendar.size());
    std::string_view found = calendar.substr(at, end - at);
    at = std::min(end + 1, calendar.size());
    if (found.ends_with('\r')) found.remove_suffix(1);
    return found;
  };
  std::string value;
  while (at < calendar.size() && value.empty()) {
    const std::string_view first = line();
    if (!StartsWithIgnoreAsciiCase(first, name)) continue;
    const char behind = first.size() > name.size() ? first[name.size()] : '\0';
    if (behind != ':' && behind != ';') continue;
    const std::size_t colon = first.find(':');
    value = first.substr(colon == first.npos ? first.size() : colon + 1);
    while (at < calendar.size() && (calendar[at] == ' ' || calendar[at] == '\t'))
      value += line().substr(1);
  }
  std::string out;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      out += value[i];
    } else {
      ++i;
      out += value[i] == 'n' || value[i] == 'N' ? ' ' : value[i];
    }
  }
  return out;
}

// What every file system takes, cut after some length.
std::string FitForFile(std::string_view title) {
  constexpr std::size_t kLongest = 80;
  constexpr std::string_view kRefused = "\\/:*?\"<>|";
  std::u16string wide = platform::Utf8ToUtf16(title);
  for (char16_t& c : wide) {
    if (c < 0x20 || c == 0x7F || (c < 0x80 && kRefused.find(static_cast<char>(c)) != kRefused.npos))
      c = u'_';
  }
  if (wide.size() > kLongest) wide.resize(kLongest);
  platform::ReplaceUnpairedSurrogates(wide);
  const std::size_t start = wide.find_first_not_of(u" .");
  if (start == wide.npos) return {};
  return platform::Utf16ToUtf8(wide.substr(start, wide.find_last_not_of(u" .") - start + 1));
}

std::string CalendarName(const Email2& part, std::string_view text) {
  std::string title = FitForFile(CalendarValue(text, "SUMMARY"));
  if (!title.empty()) return title + ".ics";
  std::string method(part.entity().contentType().Get("method"));
  if (method.empty()) method = CalendarValue(text, "METHOD");
  for (const auto& [code, word] : kMethods) {
    if (EqualsIgnoreAsciiCase(method, code)) return std::string(word) + ".ics";
  }
  return "calendar.ics";
}

std::string PartialName(const Email2& part) {
  std::string name = "message-part";
  for (const auto& [parameter, before] : {std::pair{"number", "-"}, std::pair{"total", "-of-"}}) {
    std::string value(part.entity().contentType().Get(parameter));
    std::erase_if(value, [](char c) { return c < '0' || c > '9'; });
    constexpr std::size_t kMostDigits = 6;
    if (!value.empty()) name.append(before).append(value.substr(0, kMostDigits));
  }
  return name + ".eml";
}

}  // namespace

std::string NameOfPart(const Tessary::EmailMessage& email, const Email2& part,
                       std::string_view text) {
  if (!part.filename().empty() || !part.name().empty()) {
    std::string name = email.FileName(part);
    if (!name.empty()) return name;
  }
  if (part.TypeIs("text/calendar")) return CalendarName(part, text);
  if (part.TypeIs("message/partial")) return PartialName(part);
  const bool encrypted = email.entity().ContentTypeIs("multipart/encrypted");
  if (encrypted && part.TypeIs("application/octet-stream")) return "encrypted.asc";
  for (const auto& [type, name] : kNames) {
    if (part.TypeIs(type)) return std::string(name);
  }
  if (part.contentType().empty() || part.TypeBeginsWith("text/")) return "text.txt";
  const std::string extension(Tessary::ExtensionOfContentType(part.contentType()));
  for (const std::string_view kind : {"image", "audio", "video", "message"}) {
    if (part.TypeBeginsWith(std::string(kind) + '/')) {
      return std::string(kind) + '.' + (kind == "message" ? "txt" : extension);
    }
  }
  return "part." + extension;
}

bool IsBody(const Tessary::EmailMessage& email, const Email2& part) {
  Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
  return email.structure().FindPlainTextBody(unread) == &part ||
         email.structure().FindHtmlBody(unread) == &part;
}

std::string Numbered(const std::string& name, std::size_t number) {
  if (number < 2) return name;
  const std::size_t dot = std::min(name.rfind('.'), name.size());
  return name.substr(0, dot) + '-' + std::to_string(number) + name.substr(dot);
}

}  // namespace parvane::carry
