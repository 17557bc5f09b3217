// The code pages that the system's folder converts: all but UTF-8, UTF-16 and UTF-32.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

bool SystemKnowsCodePage(unsigned codePage);
// True when bytes below 128 always stand for ASCII as long as none above has been met.
bool SystemCodePageBeginsAsAscii(unsigned codePage);
// As DecodeCodePage and EncodeCodePage, for pages that the system knows.
std::size_t SystemDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t SystemEncode(unsigned codePage, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
