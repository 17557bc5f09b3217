#include "platform/simd/scan.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__) || defined(_M_X64)
#define PARVANE_SSE2 1
#include <emmintrin.h>
#endif

namespace parvane::platform::simd {
namespace {

#ifdef PARVANE_SSE2
__m128i Equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }
// Unsigned "at most" is what the minimum leaves as it is.
__m128i AtMost(__m128i bytes, char c) {
  return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(c)), bytes);
}
#endif

// What is looked for: one byte at a time, and in blocks of 16 that are all ones where it stands.

struct LineEnd {
  static bool Is(unsigned char c) { return c == '\r' || c == '\n'; }
#ifdef PARVANE_SSE2
  static __m128i In(__m128i bytes) { return _mm_or_si128(Equal(bytes, '\r'), Equal(bytes, '\n')); }
#endif
};

struct QuotedPrintableMark {
  static bool Is(unsigned char c) { return c == '=' || LineEnd::Is(c); }
#ifdef PARVANE_SSE2
  static __m128i In(__m128i bytes) { return _mm_or_si128(Equal(bytes, '='), LineEnd::In(bytes)); }
#endif
};

struct HeaderNameEnd {
  static bool Is(unsigned char c) { return c <= ' ' || c == ':' || c == 0x7F; }
#ifdef PARVANE_SSE2
  static __m128i In(__m128i bytes) {
    return _mm_or_si128(AtMost(bytes, ' '), _mm_or_si128(Equal(bytes, ':'), Equal(bytes, 0x7F)));
  }
#endif
};

struct Blank {
  static bool Is(unsigned char c) { return c <= ' '; }
#ifdef PARVANE_SSE2
  static __m128i In(__m128i bytes) { return AtMost(bytes, ' '); }
#endif
};

struct NotPlain {
  static bool Is(unsigned char c) { return c < ' ' || c > '~' || c == '?'; }
#ifdef PARVANE_SSE2
  // Signed, bytes beyond ASCII are below a space as well.
  static __m128i In(__m128i bytes) {
    return _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(' ')),
                        _mm_or_si128(Equal(bytes, '?'), Equal(bytes, 0x7F)));
  }
#endif
};

template <typename Mark>
std::size_t Find(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SSE2
  const auto look = [in](std::size_t at) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + at));
    return static_cast<unsigned>(_mm_movemask_epi8(Mark::In(bytes)));
  };
  for (; i + 16 <= size; i += 16) {
    const unsigned found = look(i);
    if (found != 0) return i + static_cast<std::size_t>(std::countr_zero(found));
  }
  // What is left is looked at together with some of what has been.
  if (i < size && size >= 16) {
    const unsigned found = look(size - 16);
    return found == 0 ? size : size - 16 + static_cast<std::size_t>(std::countr_zero(found));
  }
#endif
  while (i < size && !Mark::Is(static_cast<unsigned char>(in[i]))) ++i;
  return i;
}

}  // namespace

std::size_t FindQuotedPrintableMark(const char* in, std::size_t size) {
  return Find<QuotedPrintableMark>(in, size);
}

std::size_t FindLineEnd(const char* in, std::size_t size) { return Find<LineEnd>(in, size); }

std::size_t FindHeaderNameEnd(const char* in, std::size_t size) {
  return Find<HeaderNameEnd>(in, size);
}

std::size_t FindBlank(const char* in, std::size_t size) { return Find<Blank>(in, size); }

std::size_t FindNotPlain(const char* in, std::size_t size) { return Find<NotPlain>(in, size); }

void LineFeeds::Look() {
  constexpr std::size_t kBlock = 64;
  _block = _seen;
  const char* block = _in + _block;
  const std::size_t size = std::min(_size - _block, kBlock);
  _seen += size;
#ifdef PARVANE_SSE2
  if (size == kBlock) {
    for (unsigned at = 0; at < kBlock; at += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
      const auto found = static_cast<unsigned>(_mm_movemask_epi8(Equal(bytes, '\n')));
      _found |= std::uint64_t{found} << at;
    }
    return;
  }
#endif
  for (std::size_t at = 0; at < size; ++at) _found |= std::uint64_t{block[at] == '\n'} << at;
}

}  // namespace parvane::platform::simd
