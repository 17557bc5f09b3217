// Finding bytes, many at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace parvane::platform::simd {

// Where the first "=", CR or LF stands: the bytes that quoted-printable text does not simply copy.
// `size` when there is none.
std::size_t FindQuotedPrintableMark(const char* in, std::size_t size);

// Where the first CR or LF stands; `size` when there is none.
std::size_t FindLineEnd(const char* in, std::size_t size);

// Where a header field's name ends: the first ":", control byte, space or 0x7F. `size` when there
// is none.
std::size_t FindHeaderNameEnd(const char* in, std::size_t size);

// Where the first byte stands that is a space or below one; `size` when there is none.
std::size_t FindBlank(const char* in, std::size_t size);

// Where the first byte stands that is no printable ASCII, or that is the "?" which encoded words
// have; `size` when there is none.
std::size_t FindNotPlain(const char* in, std::size_t size);

// Goes through the LFs of a text, which must outlive it.
class LineFeeds {
 public:
  LineFeeds(const char* in, std::size_t size) : _in(in), _size(size) {}

  // Where the next one stands; the text's size, again and again, when there is none.
  std::size_t Next() {
    while (_found == 0) {
      if (_seen == _size) return _size;
      Look();
    }
    const auto bit = static_cast<std::size_t>(std::countr_zero(_found));
    _found &= _found - 1;
    return _block + bit;
  }

 private:
  // Fills _found for the next 64 bytes, or what is left.
  void Look();

  const char* _in;
  std::size_t _size;
  std::size_t _block = 0;    // where the last look began
  std::size_t _seen = 0;     // and ended
  std::uint64_t _found = 0;  // a bit for each LF of the block that Next has not returned
};

}  // namespace parvane::platform::simd
