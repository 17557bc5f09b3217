// Code pages of mail that are put together from others, the same on every system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

// EUC-JP with the characters of Windows' Shift-JIS (51932).
std::size_t EucJpDecode(std::string_view bytes, std::u16string& out);
std::size_t EucJpEncode(std::u16string_view text, std::string& out);

// ISO-2022-JP as found in mail (50220 to 50222): JIS X 0201, 0208 (1978 and 1983), 0212, katakana
// by escape, shift or eighth bit, and the further sets of RFC 1554.
std::size_t Iso2022JpDecode(std::string_view bytes, std::u16string& out);
std::size_t Iso2022JpEncode(std::u16string_view text, std::string& out);

// Johab (1361): syllables computed from their letters, other characters by KS X 1001.
std::size_t JohabDecode(std::string_view bytes, std::u16string& out);
std::size_t JohabEncode(std::u16string_view text, std::string& out);

}  // namespace parvane::platform
