// The HTML of a stranger's mail, made so that it can be shown: what only looks is kept, what acts
// or reaches out is gone.
//
//   kept      elements and attributes of a list, and the text of all others; style, in attributes
//             and sheets, as far as its properties and values are of a list (desk/safe_style.h)
//   links     to http, https, mailto, ftp, tel and within the text; each opens a window of its own
//             and shows its address
//   pictures  that came with the message, and those in the text itself (data:); of others the
//             words that stand for them
//   gone      scripts, events, forms, frames, objects, sheets from elsewhere, SVG and MathML,
//             refresh, base
//
// What comes out is put together from names written here and text without "<" and quotes: nothing
// of the input's markup passes as it stands, so that a browser cannot read it in another way.
// Linear in the text, without recursion. The page that shows it locks it in all the same.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace parvane::desk {

struct SafeHtml {
  std::string body;            // to stand in <body>, UTF-8
  std::string style;           // to stand in <style>
  std::uint64_t pictures = 0;  // that were left out, since they would come from elsewhere
};

// Where a picture of the message is, by what the text calls it, in the form of
// carry::ComparableReference ("cid:part1"); empty: the message has no such picture.
using PictureAddress = std::function<std::string(const std::string& reference)>;

SafeHtml MakeSafe(std::string_view utf8, const PictureAddress& pictures);
// Plain text.
SafeHtml AsSafeHtml(std::string_view utf8);

// A document of its own.
std::string SafeDocument(const SafeHtml& html);

}  // namespace parvane::desk
