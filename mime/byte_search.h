// Searching long byte strings for a short one at memory speed.
//
// Positions where the needle's first and last byte both fit are found many at a time, in a loop
// that compilers turn into vector instructions; only those are compared in full. The cost is the
// text's length times, at worst, the needle's: needles are to be short.
#pragma once

#include <cstddef>
#include <string_view>

namespace Tessary {

// The first position of `needle` in `text` at or after `from`; npos when there is none, and for an
// empty needle.
std::size_t FindBytes(std::string_view text, std::string_view needle, std::size_t from = 0);

// True when two line feeds stand side by side anywhere.
bool HasDoubleLineFeed(std::string_view text);

}  // namespace Tessary
