// Code pages of one byte a character, by table.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

// True for the pages that this file's tables hold; ICU brings most of them, the rest is in
// single_byte_tables.h.
bool IsSingleBytePage(unsigned codePage);
std::size_t SingleByteDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t SingleByteEncode(unsigned codePage, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
