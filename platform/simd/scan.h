// Finding bytes, many at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// Where the first "=", CR or LF stands: the bytes that quoted-printable text does not simply copy.
// `size` when there is none.
std::size_t FindQuotedPrintableMark(const char* in, std::size_t size);

// Where the first CR or LF stands; `size` when there is none.
std::size_t FindLineEnd(const char* in, std::size_t size);

// Where a header field's name ends: the first ":", control byte, space or 0x7F. `size` when there
// is none.
std::size_t FindHeaderNameEnd(const char* in, std::size_t size);

// Where the first byte stands that is no printable ASCII, or that is the "?" which encoded words
// have; `size` when there is none.
std::size_t FindNotPlain(const char* in, std::size_t size);

}  // namespace parvane::platform::simd
