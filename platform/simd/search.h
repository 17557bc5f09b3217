// Finding bytes beside each other, many positions at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// The first i in [from, end) at which text[i] is `first` and text[i + distance] is `last`; `end`
// when there is none. All of text[from, end + distance) is read.
std::size_t FindPair(const char* text, std::size_t from, std::size_t end, std::size_t distance,
                     char first, char last);

}  // namespace parvane::platform::simd
