// From the bytes of a header or a body to text, when the declared charset may be missing, unknown
// or wrong.
#pragma once

#include <string>
#include <string_view>

namespace Tessary {

// The ladder, first rung that holds:
//   1. the declared charset, when it is known; a declared UTF-8 that is broken keeps its valid
//      part, bad bytes become U+FFFD, unless invalid sequences outnumber valid multi-byte ones
//   2. UTF-8, when the bytes are valid UTF-8
//   3. the fallback charset (a header's message, say), when it is known
//   4. Windows-1252
// Any of the two names may be empty. A byte order mark at the start is dropped. Linear.
std::u16string DecodeText(std::string_view bytes, std::string_view declaredCharset,
                          std::string_view fallbackCharset);

// The same, as UTF-8.
std::string DecodeTextToUtf8(std::string_view bytes, std::string_view declaredCharset,
                             std::string_view fallbackCharset);

// True when the ladder reads every byte as the ASCII character that it is.
bool ReadsAsAscii(std::string_view bytes, std::string_view declaredCharset);

// The code page that the ladder chooses; the text is then DecodeCodePage's.
unsigned ChooseCodePage(std::string_view bytes, std::string_view declaredCharset,
                        std::string_view fallbackCharset);

}  // namespace Tessary
