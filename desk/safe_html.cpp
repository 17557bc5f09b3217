#include "desk/safe_html.h"

#include <algorithm>
#include <array>

#include "carry/html_references.h"
#include "desk/html_tokens.h"
#include "desk/safe_style.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::EqualsIgnoreAsciiCase;
using platform::StartsWithIgnoreAsciiCase;

// Sorted.
constexpr auto kElements = std::to_array<std::string_view>(
    {"a",       "abbr",     "acronym",    "address", "article", "aside",  "b",    "bdi",
     "bdo",     "big",      "blockquote", "br",      "caption", "center", "cite", "code",
     "col",     "colgroup", "dd",         "del",     "dfn",     "dir",    "div",  "dl",
     "dt",      "em",       "figcaption", "figure",  "font",    "footer", "h1",   "h2",
     "h3",      "h4",       "h5",         "h6",      "header",  "hr",     "i",    "ins",
     "kbd",     "li",       "main",       "mark",    "menu",    "nav",    "nobr", "ol",
     "p",       "pre",      "q",          "rp",      "rt",      "ruby",   "s",    "samp",
     "section", "small",    "span",       "strike",  "strong",  "sub",    "sup",  "table",
     "tbody",   "td",       "tfoot",      "th",      "thead",   "time",   "tr",   "tt",
     "u",       "ul",       "var",        "wbr"});
static_assert(std::ranges::is_sorted(kElements));

// Of any element: none of them names anything to be loaded.
constexpr auto kAttributes = std::to_array<std::string_view>(
    {"abbr",     "align",   "alt",    "bgcolor", "border",   "cellpadding", "cellspacing",
     "class",    "clear",   "color",  "colspan", "datetime", "dir",         "face",
     "frame",    "height",  "hspace", "id",      "lang",     "noshade",     "nowrap",
     "reversed", "rowspan", "rules",  "scope",   "size",     "span",        "start",
     "summary",  "title",   "type",   "valign",  "value",    "vspace",      "width"});
static_assert(std::ranges::is_sorted(kAttributes));

constexpr std::size_t kLongestName = 16;  // of both lists
constexpr std::size_t kLongestAddress = 8192;
constexpr std::size_t kLongestPicture = 16 << 20;  // of data:

template <typename List>
bool Contains(const List& list, std::string_view name) {
  return std::ranges::binary_search(list, name);
}

// In lower case; empty for what is in no list, of which it is only known that it is long.
std::string LowerName(std::string_view name) {
  return name.size() > kLongestName ? std::string() : platform::ToLowerAscii(name);
}

// What is neither text nor a line's end.
bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f') || byte == 0x7F;
}

// Text as it stands in HTML: its references to characters stay, and cannot become markup.
void AppendText(std::string_view text, std::string& out) {
  for (const char c : text) {
    if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (!IsControl(c)) {
      out += c;
    }
  }
}

// Text whose references have been resolved, or which has none.
void AppendPlain(std::string_view text, std::string& out) {
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t amp = std::min(text.find('&', at), text.size());
    AppendText(text.substr(at, amp - at), out);
    if (amp < text.size()) out += "&amp;";
    at = amp + 1;
  }
}

void AppendAttribute(std::string_view name, std::string_view plain, std::string& out) {
  out.append(" ").append(name).append("=\"");
  AppendPlain(plain, out);
  out += '"';
}

// As browsers take an address: without line ends and tabs, and without blanks around it.
std::string AddressOf(std::string_view value) {
  if (value.size() > kLongestPicture) return {};
  std::string address = carry::WithoutEntities(value);
  std::erase_if(address, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  const std::size_t first = address.find_first_not_of(' ');
  if (first == address.npos) return {};
  return address.substr(first, address.find_last_not_of(' ') - first + 1);
}

bool LeadsToKnownPlace(std::string_view address) {
  constexpr auto kSchemes =
      std::to_array<std::string_view>({"http://", "https://", "mailto:", "ftp://", "tel:"});
  return address.size() <= kLongestAddress &&
         std::ranges::any_of(kSchemes, [&](std::string_view scheme) {
           return StartsWithIgnoreAsciiCase(address, scheme);
         });
}

// A picture in the text itself, of the kinds that are nothing but pictures.
bool IsPictureItself(std::string_view address) {
  constexpr auto kTypes = std::to_array<std::string_view>(
      {"data:image/png;base64,", "data:image/jpeg;base64,", "data:image/jpg;base64,",
       "data:image/gif;base64,", "data:image/webp;base64,", "data:image/bmp;base64,"});
  return std::ranges::any_of(
      kTypes, [&](std::string_view type) { return StartsWithIgnoreAsciiCase(address, type); });
}

class Maker : public HtmlTokenSink {
 public:
  explicit Maker(const PictureAddress& pictures) : _pictures(pictures) {}

  SafeHtml Take() { return std::move(_html); }

  void Text(std::string_view text) override {
    if (_foreign.empty()) AppendText(text, _html.body);
  }

  void Tag(const HtmlTag& tag) override {
    const std::string name = LowerName(tag.name);
    const bool known = Contains(kElements, name);
    if (!_foreign.empty()) {
      // Any element of HTML ends what is none, whether that was closed or not.
      if (!known && name != "body" && name != "img" && !(tag.closing && name == _foreign)) return;
      _foreign.clear();
    }
    if (name == "svg" || name == "math") {
      if (!tag.closing) _foreign = name;
    } else if (known) {
      Element(name, tag);
    } else if (!tag.closing && (name == "html" || name == "body")) {
      Ground(tag);
    } else if (!tag.closing && (name == "img" || name == "image")) {
      Picture(tag);
    }
    _rawText = tag.closing ? "" : name;
    if (_rawText == "style" && !IsForScreens(tag)) _rawText.clear();
  }

  void RawText(std::string_view text) override {
    if (!_foreign.empty()) return;
    if (_rawText == "style") {
      _html.style += SafeSheet(text);
    } else if (_rawText == "textarea" || _rawText == "xmp" || _rawText == "plaintext") {
      AppendText(text, _html.body);
    }
  }

 private:
  static bool IsForScreens(const HtmlTag& tag) {
    const HtmlAttribute* media = tag.Find("media");
    return !media || media->value.empty() || EqualsIgnoreAsciiCase(media->value, "all") ||
           StartsWithIgnoreAsciiCase(media->value, "screen");
  }

  void Element(const std::string& name, const HtmlTag& tag) {
    std::string& out = _html.body;
    if (tag.closing) {
      out.append("</").append(name).append(">");
      return;
    }
    out.append("<").append(name);
    const bool link = name == "a" && Link(tag);
    Attributes(tag, link);
    out += '>';
  }

  // What the whole text stands on: HTML may have any number of these, but not in an element.
  void Ground(const HtmlTag& tag) {
    _html.body += "<div";
    std::string style;
    for (const auto& [attribute, property] :
         {std::pair{"bgcolor", "background-color:"}, std::pair{"text", "color:"}}) {
      if (const HtmlAttribute* color = tag.Find(attribute))
        style.append(property).append(carry::WithoutEntities(color->value)).append(";");
    }
    if (const HtmlAttribute* own = tag.Find("style")) style += carry::WithoutEntities(own->value);
    if (const std::string safe = SafeDeclarations(style); !safe.empty())
      AppendAttribute("style", safe, _html.body);
    for (const std::string_view name : {"class", "dir", "id", "lang"}) {
      if (const HtmlAttribute* attribute = tag.Find(name)) Attribute(name, attribute->value);
    }
    _html.body += '>';
  }

  void Attributes(const HtmlTag& tag, bool link) {
    for (const HtmlAttribute& attribute : tag.attributes) {
      const std::string name = LowerName(attribute.name);
      if (name == "style") {
        const std::string style = SafeDeclarations(carry::WithoutEntities(attribute.value));
        if (!style.empty()) AppendAttribute(name, style, _html.body);
      } else if (Contains(kAttributes, name) && !(link && name == "title")) {
        Attribute(name, attribute.value);
      }
    }
  }

  void Attribute(std::string_view name, std::string_view value) {
    _html.body.append(" ").append(name).append("=\"");
    AppendText(value, _html.body);
    _html.body += '"';
  }

  // False: its text leads nowhere.
  bool Link(const HtmlTag& tag) {
    if (const HtmlAttribute* name = tag.Find("name"); name && !tag.Find("id"))
      Attribute("id", name->value);
    const HtmlAttribute* href = tag.Find("href");
    const std::string address = href ? AddressOf(href->value) : "";
    if (address.starts_with('#')) {
      AppendAttribute("href", address, _html.body);
      return false;
    }
    if (!LeadsToKnownPlace(address)) return false;
    AppendAttribute("href", address, _html.body);
    AppendAttribute("title", address, _html.body);
    _html.body += " target=\"_blank\" rel=\"noopener noreferrer\"";
    return true;
  }

  void Picture(const HtmlTag& tag) {
    const HtmlAttribute* source = tag.Find("src");
    const std::string address = source ? AddressOf(source->value) : "";
    std::string& out = _html.body;
    out += "<img";
    const bool itself = IsPictureItself(address);
    const std::string there =
        itself || address.empty() ? address : _pictures(carry::ComparableReference(source->value));
    if (!there.empty()) {
      AppendAttribute("src", there, out);
      Attributes(tag, false);
    } else {
      // The words alone, which need not have the picture's size.
      if (!address.empty()) ++_html.pictures;
      if (const HtmlAttribute* words = tag.Find("alt")) Attribute("alt", words->value);
    }
    out += '>';
  }

  const PictureAddress& _pictures;
  SafeHtml _html;
  std::string _foreign;  // the element in which there is no HTML; empty: none
  std::string _rawText;  // the element whose content comes next
};

}  // namespace

SafeHtml MakeSafe(std::string_view utf8, const PictureAddress& pictures) {
  if (!platform::IsValidUtf8(utf8))
    return MakeSafe(platform::Utf16ToUtf8(platform::Utf8ToUtf16(utf8)), pictures);
  Maker maker(pictures);
  ReadHtml(utf8, maker);
  return maker.Take();
}

SafeHtml AsSafeHtml(std::string_view utf8) {
  if (!platform::IsValidUtf8(utf8))
    return AsSafeHtml(platform::Utf16ToUtf8(platform::Utf8ToUtf16(utf8)));
  SafeHtml html{"<pre dir=\"auto\">\n", {}, 0};
  AppendPlain(utf8, html.body);
  html.body += "</pre>";
  return html;
}

// Mail is written for white paper.
std::string SafeDocument(const SafeHtml& html) {
  return "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Message</title><style>\n"
         ":root{color-scheme:light;background:#fff;color:#000}\n"
         "body{margin:1em;font-family:sans-serif;overflow-wrap:break-word}\n"
         "pre{font-family:monospace;white-space:pre-wrap}\n"
         "img{max-width:100%}\n" +
         html.style + "</style></head>\n<body dir=\"auto\">" + html.body + "</body></html>\n";
}

}  // namespace parvane::desk
