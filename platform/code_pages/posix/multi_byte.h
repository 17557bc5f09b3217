// More code pages that no single converter of ICU reads as mail needs them: they are cut into runs
// that one does, or computed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/code_pages/runs.h"

namespace parvane::platform {

// The Macintosh's East Asian pages 10001, 10002, 10003 and 10008: another page's double bytes and
// a few single ones of their own.
std::size_t MacEastAsianDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t MacEastAsianEncode(unsigned codePage, std::u16string_view text, std::string& out);

// Big5 (950). What Windows leaves to private use is read as the Hong Kong set and, with it, the
// Eten system define it: kana, Cyrillic and characters that Taiwanese mail does use.
std::size_t Big5Decode(std::string_view bytes, std::u16string& out);

// CNS 11643 planes 1 and 2 in two bytes (20000).
std::size_t CnsDecode(std::string_view bytes, std::u16string& out);
std::size_t CnsEncode(std::u16string_view text, std::string& out);

// T.61 (20261) and ISO 6937 (20269): an accent comes before its letter.
std::size_t AccentedDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t AccentedEncode(unsigned codePage, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
