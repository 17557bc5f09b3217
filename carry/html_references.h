// What an HTML text refers to in order to show it in itself: pictures, backgrounds, objects. A link
// to follow (`<a href>`) is no such reference.
//
//   reference := the value of src, background, lowsrc, dynsrc, poster or data in a tag
//              | url( value ) anywhere, as style sheets have it
//
// Tags in conditional comments count (`<!--[if`), as mail programs read them; those in other
// comments do not. One pass for each form, whatever the text.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace parvane::carry {

// Longer ones are data, not addresses.
inline constexpr std::size_t kLongestReference = 2048;

// Each as it stands in the text.
void ForEachReference(std::string_view html, const std::function<void(std::string_view)>& take);

// References to characters resolved: the numeric ones and those of markup ("&amp;").
std::string WithoutEntities(std::string_view text);
// Entities and %XX undone, without blanks and quotes around it: what can be compared. The part of a
// `cid:` address is in lower case, as is "cid:".
std::string ComparableReference(std::string_view reference);
// Likewise for what parts are called.
std::string ReferenceToContentId(std::string_view contentId);

}  // namespace parvane::carry
