// Encoded words (RFC 2047) as people are to read them: in subjects and other header text, and in
// display names, which are UTF-16 already once mailbox.h has parsed them.
//
// Mailers cut long text into several words, and the white space between them is not text. In file
// names it is kept (see content_coding.h).
#pragma once

#include <string>
#include <string_view>

namespace Tessary {

// The text with its encoded words decoded; text without one comes back as it is.
std::u16string DecodeEncodedWords(std::u16string_view text);

// The same for the bytes of a header value; the result is UTF-8. Raw 8-bit text that is no UTF-8 is
// read in `charset` (see text_decoding.h).
std::string DecodeHeaderText(std::string text, std::string_view charset);

}  // namespace Tessary
