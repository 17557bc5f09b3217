// The tags and texts of HTML, cut as browsers cut them (WHATWG HTML 13.2.5), one after the other
// and without a tree.
//
// Comments, declarations and processing instructions are passed over, what stands in conditional
// comments (`<!--[if mso]>`) too. A tag that the text ends in is none.
#pragma once

#include <string_view>
#include <vector>

namespace parvane::desk {

struct HtmlAttribute {
  std::string_view name;   // as it stands there
  std::string_view value;  // without quotes, its character references not resolved
};

struct HtmlTag {
  std::string_view name;  // as it stands there
  bool closing = false;
  std::vector<HtmlAttribute> attributes;

  // Null: it has none of this name, which is in lower case. The first of several.
  const HtmlAttribute* Find(std::string_view attribute) const;
};

class HtmlTokenSink {
 public:
  virtual ~HtmlTokenSink() = default;
  virtual void Text(std::string_view text) = 0;
  virtual void Tag(const HtmlTag& tag) = 0;
  // The content of an element in which there are no tags: script, style, title, textarea, ...; the
  // opening tag came before it, a closing one does not come.
  virtual void RawText(std::string_view text) = 0;
};

void ReadHtml(std::string_view html, HtmlTokenSink& sink);

}  // namespace parvane::desk
