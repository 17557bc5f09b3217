#include "platform/simd/search.h"

#include <bit>

#include "platform/cpu.h"
#include "platform/simd/target.h"

namespace parvane::platform::simd {
namespace {

constexpr std::size_t kBlock = 64;

// True when some i < kBlock has first[i] == a and last[i] == b. A loop that compilers turn into
// vector instructions of the architecture's baseline.
inline bool BlockHasPair(const char* first, const char* last, char a, char b) {
  unsigned char any = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    any |= static_cast<unsigned char>((first[i] == a) & (last[i] == b));
  }
  return any != 0;
}

std::size_t FindPlain(const char* text, std::size_t from, std::size_t end, std::size_t distance,
                      char first, char last) {
  std::size_t at = from;
  while (end - at >= kBlock && !BlockHasPair(text + at, text + at + distance, first, last)) {
    at += kBlock;
  }
  while (at < end && (text[at] != first || text[at + distance] != last)) ++at;
  return at;
}

#ifdef PARVANE_X86

PARVANE_TARGET("avx2")
std::size_t FindAvx2(const char* text, std::size_t from, std::size_t end, std::size_t distance,
                     char first, char last) {
  const __m256i a = _mm256_set1_epi8(first);
  const __m256i b = _mm256_set1_epi8(last);
  std::size_t at = from;
  for (; end - at >= 32; at += 32) {
    const auto* here = reinterpret_cast<const __m256i*>(text + at);
    const auto* there = reinterpret_cast<const __m256i*>(text + at + distance);
    const __m256i both = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_loadu_si256(here), a),
                                          _mm256_cmpeq_epi8(_mm256_loadu_si256(there), b));
    const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(both));
    if (mask != 0) return at + static_cast<std::size_t>(std::countr_zero(mask));
  }
  while (at < end && (text[at] != first || text[at + distance] != last)) ++at;
  return at;
}

#endif

}  // namespace

std::size_t FindPair(const char* text, std::size_t from, std::size_t end, std::size_t distance,
                     char first, char last) {
  if (from >= end) return end;
#ifdef PARVANE_X86
  if (CpuHas(CpuFeature::kAvx2)) return FindAvx2(text, from, end, distance, first, last);
#endif
  return FindPlain(text, from, end, distance, first, last);
}

}  // namespace parvane::platform::simd
