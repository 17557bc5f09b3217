// The HTML of a stranger's mail, made so that it can be shown: what only looks is kept, what acts
// or reaches out is gone.
//
//   kept      elements and attributes of a list, everything else is unknown (and its text stays);
//             style, in elements, attributes and sheets, as far as properties and values of a list
//   links     to http, https, mailto, ftp, tel and within the text; each opens a window of its own
//             and shows its address
//   pictures  from the message itself (cid:) and in the text (data:); of others the replacement
//   text gone      scripts, events, forms, frames, objects, sheets from elsewhere, SVG and MathML,
//             refresh, base
//
// What comes out is made of pieces written here and of text without "<": nothing of the input's
// markup passes by itself, so that a browser cannot read it in another way. Linear in the text,
// without recursion. The page that shows it sandboxes it all the same.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace parvane::desk {

struct SafeHtml {
  std::string body;            // to stand in <body>, UTF-8
  std::string style;           // to stand in <style>
  std::uint64_t pictures = 0;  // that were left out, since they would be loaded from elsewhere
};

// `urlOfContentId`: where the picture is that the text names "cid:..." (the name in lower case);
// empty: there is none.
SafeHtml MakeSafe(std::string_view utf8,
                  const std::function<std::string(std::string_view)>& urlOfContentId);

// Plain text as HTML: "<pre>".
std::string PlainTextAsHtml(std::string_view utf8);

// Either as a document of its own.
std::string SafeDocument(const SafeHtml& html);

}  // namespace parvane::desk
