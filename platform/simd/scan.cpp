#include "platform/simd/scan.h"

#include <bit>

#if defined(__SSE2__) || defined(_M_X64)
#define PARVANE_SSE2 1
#include <emmintrin.h>
#endif

namespace parvane::platform::simd {

std::size_t FindQuotedPrintableMark(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SSE2
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('=')),
                                       _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')),
                                                    _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'))));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (mask != 0) return i + static_cast<std::size_t>(std::countr_zero(mask));
  }
#endif
  while (i < size && in[i] != '=' && in[i] != '\r' && in[i] != '\n') ++i;
  return i;
}

std::size_t FindLineEnd(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SSE2
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')),
                                       _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (mask != 0) return i + static_cast<std::size_t>(std::countr_zero(mask));
  }
#endif
  while (i < size && in[i] != '\r' && in[i] != '\n') ++i;
  return i;
}

std::size_t FindHeaderNameEnd(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SSE2
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    // Unsigned "at most a space" is what the minimum leaves as it is.
    const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes);
    const __m128i found =
        _mm_or_si128(low, _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(':')),
                                       _mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7F))));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
    if (mask != 0) return i + static_cast<std::size_t>(std::countr_zero(mask));
  }
#endif
  while (i<size&& static_cast<unsigned char>(in[i])> ' ' && in[i] != ':' && in[i] != 0x7F) ++i;
  return i;
}

}  // namespace parvane::platform::simd
