// Hostile HTML made safe: what comes out is read again, and may hold nothing but what only looks.
#include <cstdint>
#include <string>
#include <string_view>

#include "desk/html_tokens.h"
#include "desk/safe_html.h"
#include "fuzz/expect.h"
#include "platform/text.h"

namespace {

using namespace parvane::desk;
using parvane::platform::StartsWithIgnoreAsciiCase;

constexpr std::string_view kPicture = "picture?n=1";

void ExpectSafeStyle(std::string_view style) {
  Expect(style.find_first_of("<\\@") == style.npos, "no markup, escape or rule with @ in style");
  Expect(parvane::platform::ToLowerAscii(style).find("url(") == style.npos, "style loads nothing");
}

// Everything that looks like a tag to a reader must be one of ours.
class Judge : public HtmlTokenSink {
 public:
  void Text(std::string_view text) override {
    Expect(text.find('<') == text.npos, "no stray opening of a tag");
  }
  void RawText(std::string_view) override { Expect(false, "no element with raw text"); }
  void Tag(const HtmlTag& tag) override {
    for (const std::string_view name : {"script", "style", "iframe", "object", "embed", "form",
                                        "input", "base", "link", "meta", "svg", "math"})
      Expect(tag.name != name, "no element that acts");
    for (const HtmlAttribute& attribute : tag.attributes) Attribute(tag, attribute);
  }

 private:
  static void Attribute(const HtmlTag& tag, const HtmlAttribute& attribute) {
    const std::string_view value = attribute.value;
    Expect(!attribute.name.starts_with("on"), "no event");
    Expect(value.find_first_of("<>\"") == value.npos, "a value stays one");
    if (attribute.name == "src") {
      Expect(tag.name == "img" &&
                 (value == kPicture || StartsWithIgnoreAsciiCase(value, "data:image/")),
             "pictures come from the message alone");
    } else if (attribute.name == "href") {
      bool known = value.starts_with('#');
      for (const std::string_view scheme : {"http://", "https://", "mailto:", "ftp://", "tel:"})
        known = known || StartsWithIgnoreAsciiCase(value, scheme);
      Expect(tag.name == "a" && known, "links lead where they say");
    } else if (attribute.name == "style") {
      ExpectSafeStyle(value);
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const SafeHtml html = MakeSafe(bytes, [](const std::string& reference) {
    return std::string(reference.starts_with("cid:") ? kPicture : "");
  });
  Judge judge;
  ReadHtml(html.body, judge);
  ExpectSafeStyle(html.style);
  Expect(parvane::platform::IsValidUtf8(html.body), "UTF-8 comes out");
  // At most an escaped quote for each byte, three bytes of U+FFFD, or an attribute said twice.
  Expect(html.body.size() + html.style.size() <= 20 * size, "nothing grows beyond measure");

  Judge plain;
  ReadHtml(AsSafeHtml(bytes).body, plain);
  return 0;
}
