#include "desk/safe_style.h"

#include <algorithm>
#include <array>

#include "platform/text.h"

namespace parvane::desk {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f";

// Those that end in "-" stand for all that begin with them.
constexpr auto kProperties = std::to_array<std::string_view>({"align-",
                                                              "background",
                                                              "background-color",
                                                              "border",
                                                              "border-",
                                                              "box-sizing",
                                                              "caption-side",
                                                              "clear",
                                                              "color",
                                                              "column-",
                                                              "direction",
                                                              "display",
                                                              "empty-cells",
                                                              "flex",
                                                              "flex-",
                                                              "float",
                                                              "font",
                                                              "font-",
                                                              "gap",
                                                              "height",
                                                              "hyphens",
                                                              "justify-",
                                                              "letter-spacing",
                                                              "line-break",
                                                              "line-height",
                                                              "list-style",
                                                              "list-style-",
                                                              "margin",
                                                              "margin-",
                                                              "max-",
                                                              "min-",
                                                              "opacity",
                                                              "orphans",
                                                              "overflow",
                                                              "overflow-wrap",
                                                              "padding",
                                                              "padding-",
                                                              "page-break-",
                                                              "tab-size",
                                                              "table-layout",
                                                              "text-",
                                                              "unicode-bidi",
                                                              "vertical-align",
                                                              "visibility",
                                                              "white-space",
                                                              "widows",
                                                              "width",
                                                              "word-"});
constexpr auto kFunctions =
    std::to_array<std::string_view>({"rgb", "rgba", "hsl", "hsla", "calc", "min", "max", "clamp"});

bool IsWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}
bool IsForeign(char c) { return static_cast<unsigned char>(c) >= 0x80; }

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsSafeProperty(std::string_view name) {
  return std::ranges::all_of(name, IsWordCharacter) &&
         std::ranges::any_of(kProperties, [&](std::string_view known) {
           return name == known || (known.ends_with('-') && name.starts_with(known));
         });
}

bool IsKnownFunction(std::string_view before) {
  std::size_t begin = before.size();
  while (begin > 0 && IsWordCharacter(before[begin - 1])) --begin;
  const std::string_view name = before.substr(begin);
  return name.empty() || std::ranges::any_of(kFunctions, [&](std::string_view known) {
           return platform::EqualsIgnoreAsciiCase(known, name);
         });
}

// Quotes and brackets must close, lest what stands behind the value became part of it.
bool IsSafeValue(std::string_view value) {
  constexpr std::string_view kMarks = " \t\r\n\f#%.,+*/!\"'()";
  char quote = 0;
  int open = 0;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (!IsWordCharacter(c) && !IsForeign(c) && kMarks.find(c) == kMarks.npos) return false;
    if (quote != 0) {
      if (c == '\n' || c == '\r' || c == '\f') return false;
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(') {
      if (!IsKnownFunction(value.substr(0, i))) return false;
      ++open;
    } else if (c == ')' && --open < 0) {
      return false;
    }
  }
  return quote == 0 && open == 0;
}

bool IsSafeSelector(std::string_view selector) {
  constexpr std::string_view kMarks = " \t\r\n\f.#,:>+~*";
  return !selector.empty() && std::ranges::all_of(selector, [&](char c) {
    return IsWordCharacter(c) || IsForeign(c) || kMarks.find(c) != kMarks.npos;
  });
}

// A comment that does not end takes all the rest.
std::string WithoutComments(std::string_view css) {
  std::string out;
  for (std::size_t at = 0; at < css.size();) {
    const std::size_t comment = std::min(css.find("/*", at), css.size());
    out.append(css.substr(at, comment - at)).append(comment < css.size() ? " " : "");
    const std::size_t end = comment < css.size() ? css.find("*/", comment + 2) : css.npos;
    at = end == css.npos ? css.size() : end + 2;
  }
  return out;
}

void AppendDeclarations(std::string_view declarations, std::string& out) {
  while (!declarations.empty()) {
    const std::string_view one = declarations.substr(0, declarations.find(';'));
    declarations.remove_prefix(std::min(one.size() + 1, declarations.size()));
    const std::size_t colon = one.find(':');
    if (colon == one.npos) continue;
    const std::string name = platform::ToLowerAscii(Trimmed(one.substr(0, colon)));
    const std::string_view value = Trimmed(one.substr(colon + 1));
    if (!value.empty() && IsSafeProperty(name) && IsSafeValue(value))
      out.append(name).append(":").append(value).append(";");
  }
}

// Behind the rule that begins with an "@": behind its block, or its semicolon.
std::size_t BehindAtRule(std::string_view css, std::size_t at) {
  int depth = 0;
  for (at = css.find_first_of("{};", at); at != css.npos; at = css.find_first_of("{};", at + 1)) {
    if (css[at] == '{') ++depth;
    if (css[at] == '}') --depth;
    if (depth <= 0) return at + 1;
  }
  return css.size();
}

}  // namespace

std::string SafeDeclarations(std::string_view declarations) {
  std::string out;
  AppendDeclarations(WithoutComments(declarations), out);
  return out;
}

std::string SafeSheet(std::string_view sheet) {
  // Old sheets hide in marks of comments of HTML.
  constexpr std::string_view kBetween = " \t\r\n\f<>!-";
  const std::string plain = WithoutComments(sheet);
  const std::string_view css = plain;
  std::string out;
  for (std::size_t at = css.find_first_not_of(kBetween); at < css.size();
       at = css.find_first_not_of(kBetween, at)) {
    if (css[at] == '@') {
      at = BehindAtRule(css, at);
      continue;
    }
    const std::size_t open = css.find('{', at);
    if (open == css.npos) break;
    const std::size_t close = std::min(css.find('}', open), css.size());
    const std::string_view selector = Trimmed(css.substr(at, open - at));
    if (IsSafeSelector(selector)) {
      out.append(selector).append("{");
      AppendDeclarations(css.substr(open + 1, close - open - 1), out);
      out.append("}\n");
    }
    at = std::min(close + 1, css.size());
  }
  return out;
}

}  // namespace parvane::desk
