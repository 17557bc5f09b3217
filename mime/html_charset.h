// The charset of a body whose header states none, as the body itself tells it.
#pragma once

#include <string>
#include <string_view>

namespace Tessary {

// Looks for the escape sequences of ISO-2022-JP, and in HTML for the charset of a meta tag within
// the first 4096 bytes. A charset in which every byte is 7-bit goes to `declared`, because such
// text also looks like UTF-8; any other one to `fallback`, because what is valid UTF-8 is UTF-8
// whatever an old meta tag says. Leaves both alone when the body tells nothing.
void GuessCharset(std::string_view body, bool html, std::string& declared, std::string& fallback);

}  // namespace Tessary
