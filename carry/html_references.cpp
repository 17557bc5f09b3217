#include "carry/html_references.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/text.h"

namespace parvane::carry {
namespace {

using platform::EqualsIgnoreAsciiCase;
using platform::StartsWithIgnoreAsciiCase;

constexpr std::string_view kBlanks = " \t\r\n\f";
constexpr std::string_view kCid = "cid:";

bool IsBlank(char c) { return kBlanks.find(c) != kBlanks.npos; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool ShowsWhatItNames(std::string_view attribute) {
  constexpr std::array<std::string_view, 6> kShown = {"src",    "background", "lowsrc",
                                                      "dynsrc", "poster",     "data"};
  return std::ranges::any_of(
      kShown, [&](std::string_view name) { return EqualsIgnoreAsciiCase(name, attribute); });
}

// What looks like a tag, as browsers see it: no quotes need to end, no attribute needs a value, and
// "<" in running text is none unless a letter follows.
class TagReader {
 public:
  TagReader(std::string_view html, const std::function<void(std::string_view)>& take)
      : _html(html), _take(take) {}

  void Read() {
    while ((_at = _html.find('<', _at)) != _html.npos) {
      const std::string_view rest = _html.substr(++_at);
      if (rest.starts_with("!--")) {
        SkipComment(rest);
      } else if (!rest.empty() && IsLetter(rest.front())) {
        ReadTag();
      }
    }
  }

 private:
  void SkipComment(std::string_view rest) {
    constexpr std::string_view kOpening = "!--";
    constexpr std::string_view kConditional = "!--[if";
    _at += kOpening.size();
    if (!StartsWithIgnoreAsciiCase(rest, kConditional)) _at = _html.find("-->", _at);
  }

  // The place of the first of these characters, or the end.
  std::size_t Find(std::string_view any) const {
    return std::min(_html.find_first_of(any, _at), _html.size());
  }

  void ReadTag() {
    _at = Find(" \t\r\n\f/>");
    while (_at < _html.size() && _html[_at] != '>') {
      if (IsBlank(_html[_at]) || _html[_at] == '/' || _html[_at] == '=') {
        ++_at;
        continue;
      }
      const std::size_t start = _at;
      _at = Find(" \t\r\n\f/>=");
      ReadValue(_html.substr(start, _at - start));
    }
  }

  void ReadValue(std::string_view attribute) {
    const std::size_t equals = _html.find_first_not_of(kBlanks, _at);
    if (equals == _html.npos || _html[equals] != '=') return;
    _at = std::min(_html.find_first_not_of(kBlanks, equals + 1), _html.size());
    if (_at == _html.size()) return;
    const char quote = _html[_at];
    const bool quoted = quote == '"' || quote == '\'';
    const std::size_t start = _at + (quoted ? 1 : 0);
    _at = start;
    const std::size_t end =
        quoted ? std::min(_html.find(quote, start), _html.size()) : Find(" \t\r\n\f>");
    _at = std::min(end + (quoted ? 1 : 0), _html.size());
    if (end - start <= kLongestReference && ShowsWhatItNames(attribute))
      _take(_html.substr(start, end - start));
  }

  std::string_view _html;
  const std::function<void(std::string_view)>& _take;
  std::size_t _at = 0;
};

// In style sheets, style attributes and quoted in either: taken for a reference wherever it stands,
// since at worst a part is looked for that nobody named so. The place of the last ")" is kept, so
// that a text of nothing but "url(" costs one search and not one each.
void ReadStyleUrls(std::string_view html, const std::function<void(std::string_view)>& take) {
  constexpr std::string_view kUrl = "url";
  std::size_t end = 0;
  for (std::size_t at = html.find('('); at != html.npos; at = html.find('(', at + 1)) {
    const std::string_view before = html.substr(0, at);
    if (!EqualsIgnoreAsciiCase(before.substr(at - std::min(at, kUrl.size())), kUrl)) continue;
    if (end <= at) end = html.find(')', at);
    if (end == html.npos) return;
    if (end - at <= kLongestReference) take(html.substr(at + 1, end - at - 1));
  }
}

// The character of "#64" or "amp"; 0: none.
char32_t CharacterOf(std::string_view entity) {
  constexpr std::pair<std::string_view, char32_t> kNamed[] = {
      {"amp", U'&'}, {"quot", U'"'}, {"apos", U'\''}, {"lt", U'<'}, {"gt", U'>'}, {"commat", U'@'}};
  if (!entity.starts_with('#')) {
    const auto* named =
        std::ranges::find(kNamed, entity, &std::pair<std::string_view, char32_t>::first);
    return named == std::end(kNamed) ? U'\0' : named->second;
  }
  entity.remove_prefix(1);
  const bool hex = StartsWithIgnoreAsciiCase(entity, "x");
  if (hex) entity.remove_prefix(1);
  std::uint32_t value = 0;
  for (const char c : entity) {
    const int digit = HexDigit(c);
    if (digit < 0 || (!hex && digit > 9) || value > 0x10FFFF) return 0;
    value = value * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit);
  }
  return value > 0x10FFFF || (value >= 0xD800 && value < 0xE000) ? 0 : value;
}

std::string WithoutPercents(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool escape = text[at] == '%' && at + 2 < text.size() && HexDigit(text[at + 1]) >= 0 &&
                        HexDigit(text[at + 2]) >= 0;
    out +=
        escape ? static_cast<char>(HexDigit(text[at + 1]) * 16 + HexDigit(text[at + 2])) : text[at];
    if (escape) at += 2;
  }
  return out;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kAround = " \t\r\n\f\"'";
  const std::size_t start = text.find_first_not_of(kAround);
  if (start == text.npos) return {};
  return text.substr(start, text.find_last_not_of(kAround) - start + 1);
}

}  // namespace

std::string WithoutEntities(std::string_view text) {
  constexpr std::size_t kLongestEntity = 10;
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t end = text[at] == '&' ? text.substr(at, kLongestEntity).find(';') : text.npos;
    const char32_t c = end == text.npos ? 0 : CharacterOf(text.substr(at + 1, end - 1));
    if (c == 0) {
      out += text[at];
      continue;
    }
    std::u16string wide;
    if (c >= 0x10000) {
      wide += static_cast<char16_t>(0xD7C0 + (c >> 10));
      wide += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      wide += static_cast<char16_t>(c);
    }
    out += platform::Utf16ToUtf8(wide);
    at += end;
  }
  return out;
}

void ForEachReference(std::string_view html, const std::function<void(std::string_view)>& take) {
  TagReader(html, take).Read();
  ReadStyleUrls(html, take);
}

std::string ComparableReference(std::string_view reference) {
  const std::string plain = WithoutEntities(reference);
  std::string out = WithoutPercents(Trimmed(plain));
  return StartsWithIgnoreAsciiCase(out, kCid) ? platform::ToLowerAscii(out) : out;
}

std::string ReferenceToContentId(std::string_view contentId) {
  return platform::ToLowerAscii(std::string(kCid) + WithoutPercents(Trimmed(contentId)));
}

}  // namespace parvane::carry
