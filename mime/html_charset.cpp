#include "mime/html_charset.h"

#include "mime/charset_naming.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace Tessary {
namespace {

constexpr auto kNone = std::string_view::npos;

// <meta charset="x"> or <meta http-equiv=... content="text/html; charset=x">.
std::string_view MetaCharset(const std::string& lowerCaseHead) {
  const std::string_view head = lowerCaseHead;
  for (std::size_t tag = head.find("<meta"); tag != kNone; tag = head.find("<meta", tag + 1)) {
    const std::string_view text = head.substr(tag, head.find('>', tag) - tag);
    std::size_t at = text.find("charset");
    if (at == kNone) continue;
    at = text.find_first_not_of(" \t\r\n=\"'", at + 7);
    if (at == kNone) continue;
    return text.substr(at, text.find_first_of(" \t\r\n\"';/", at) - at);
  }
  return {};
}

bool IsSevenBit(unsigned codePage) {
  return codePage == parvane::platform::kCodePageUtf7 || (codePage >= 50220 && codePage <= 50229) ||
         codePage == 52936;
}

// A page that HTML found by reading it as ASCII can be in.
bool IsPossible(unsigned codePage) {
  return codePage != parvane::platform::kCodePageUtf16Le &&
         codePage != parvane::platform::kCodePageUtf16Be && codePage != 65005 && codePage != 65006;
}

}  // namespace

void GuessCharset(std::string_view body, bool html, std::string& declared, std::string& fallback) {
  if (body.find("\x1B$B") != kNone || body.find("\x1B$@") != kNone) {
    declared = "iso-2022-jp";
    return;
  }
  if (!html) return;
  constexpr std::size_t kHead = 4096;
  const std::string head = parvane::platform::ToLowerAscii(body.substr(0, kHead));
  const std::string_view name = MetaCharset(head);
  const auto codePage = Tessary::CharsetNaming::CodePageOfName(name);
  if (name.empty() || !codePage || !IsPossible(*codePage)) return;
  (IsSevenBit(*codePage) ? declared : fallback) = name;
}

}  // namespace Tessary
