#include "mime/charset_naming.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "mime/charset_rows.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace Tessary {
namespace {

constexpr std::size_t kLongestName = 48;

static_assert(std::size(kCharsetRows) == 139);
static_assert(std::is_sorted(std::begin(kCharsetRows), std::end(kCharsetRows),
                             [](const CharsetRow& a, const CharsetRow& b) {
                               return a.codePage < b.codePage;
                             }));

// Lower-case letters and digits of a name, which is all that tells names apart.
class Squeezed {
 public:
  explicit Squeezed(std::string_view name) {
    for (char c : name) {
      // A language (RFC 2231), the year of a standard ("ISO_8859-1:1987") or a parameter that a
      // mailer put inside the quotes.
      if (c == '*' || c == ':' || c == ';') break;
      c = parvane::platform::AsciiToLower(c);
      if ((c < 'a' || c > 'z') && (c < '0' || c > '9')) continue;
      if (_size == kLongestName) {
        _size = 0;
        break;
      }
      _text[_size++] = c;
    }
  }
  std::string_view view() const { return {_text, _size}; }

 private:
  char _text[kLongestName];
  std::size_t _size = 0;
};

struct NamedPage {
  std::string name;
  unsigned codePage;
};

std::vector<NamedPage> SortedNames() {
  std::vector<NamedPage> names;
  for (const CharsetRow& row : kCharsetRows) {
    names.push_back({std::string(Squeezed(row.name).view()), row.codePage});
  }
  for (const CharsetAlias& alias : kCharsetAliases) {
    names.push_back({std::string(alias.name), alias.codePage});
  }
  // Of two pages of one name the later one wins (50222 over 50220).
  std::sort(names.begin(), names.end(), [](const NamedPage& a, const NamedPage& b) {
    return a.name != b.name ? a.name < b.name : a.codePage > b.codePage;
  });
  return names;
}

// "cp1252", "ibm850", "windows1251", "win1251", "x-cp437": the number decides. CCSIDs of EBCDIC
// pages carry the prefix 20 as Windows pages, hence the second try.
std::optional<unsigned> PageByNumber(std::string_view name) {
  for (const std::string_view prefix :
       {"cp", "xcp", "ibm", "xibm", "windows", "xwindows", "win", "dos", "ms", "ccsid"}) {
    if (name.substr(0, prefix.size()) != prefix) continue;
    const std::string_view digits = name.substr(prefix.size());
    if (digits.empty() || digits.size() > 5) continue;
    unsigned number = 0;
    bool valid = true;
    for (const char c : digits) {
      valid = valid && c >= '0' && c <= '9';
      number = number * 10 + static_cast<unsigned>(c - '0');
    }
    if (!valid) continue;
    if (CharsetNaming::NameOfCodePage(number)) return number;
    if (number < 1000 && CharsetNaming::NameOfCodePage(20000 + number)) return 20000 + number;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string_view> CharsetNaming::NameOfCodePage(unsigned codePage) {
  const auto row = std::lower_bound(
      std::begin(kCharsetRows), std::end(kCharsetRows), codePage,
      [](const CharsetRow& candidate, unsigned page) { return candidate.codePage < page; });
  if (row == std::end(kCharsetRows) || row->codePage != codePage) return std::nullopt;
  return row->name;
}

std::optional<unsigned> CharsetNaming::CodePageOfName(std::string_view name) {
  static const std::vector<NamedPage> kNames = SortedNames();
  const Squeezed squeezed(name);
  if (squeezed.view().empty()) return std::nullopt;
  const auto found = std::lower_bound(
      kNames.begin(), kNames.end(), squeezed.view(),
      [](const NamedPage& candidate, std::string_view wanted) { return candidate.name < wanted; });
  if (found != kNames.end() && found->name == squeezed.view()) return found->codePage;
  return PageByNumber(squeezed.view());
}

}  // namespace Tessary
