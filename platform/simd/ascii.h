// Runs of ASCII and of simple UTF-16, many units at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// How many bytes at the start of `in` are ASCII.
std::size_t AsciiPrefix(const char* in, std::size_t size);

// Widens the ASCII bytes at the start of `in` and returns how many there were. Up to `size` units
// of `out` may be written, even beyond the returned count.
std::size_t WidenAsciiPrefix(const char* in, std::size_t size, char16_t* out);

// Narrows the ASCII units at the start of `in`; `out` likewise.
std::size_t NarrowAsciiPrefix(const char16_t* in, std::size_t size, char* out);

// How many of the `units` UTF-16LE units that start at `in`, at any alignment, come before the
// first surrogate.
std::size_t SurrogateFreePrefix(const std::byte* in, std::size_t units);

}  // namespace parvane::platform::simd
