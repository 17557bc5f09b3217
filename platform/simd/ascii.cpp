#include "platform/simd/ascii.h"

#include <cstdint>
#include <cstring>

#include "platform/cpu.h"
#include "platform/simd/sixteen.h"

namespace parvane::platform::simd {
namespace {

#ifndef PARVANE_SIXTEEN
constexpr std::uint64_t kHighBits = 0x8080808080808080U;

std::uint64_t Load64(const void* from) {
  std::uint64_t word;
  std::memcpy(&word, from, sizeof word);
  return word;
}
#endif

}  // namespace

std::size_t AsciiPrefix(const char* in, std::size_t size) {
  std::size_t i = 0;
#ifdef PARVANE_SIXTEEN
  for (; i + 64 <= size; i += 64) {
    const Sixteen low = Or(Load16(in + i), Load16(in + i + 16));
    const Sixteen high = Or(Load16(in + i + 32), Load16(in + i + 48));
    if (TopsOf(Or(low, high)) != 0) break;
  }
  for (; i + 16 <= size; i += 16) {
    const TopBits tops = TopsOf(Load16(in + i));
    if (tops != 0) return i + FirstOf(tops);
  }
  // What is left is looked at together with some of what has been.
  if (i < size && size >= 16) {
    const TopBits tops = TopsOf(Load16(in + size - 16));
    return tops == 0 ? size : size - 16 + FirstOf(tops);
  }
#else
  for (; i + 16 <= size; i += 16) {
    if (((Load64(in + i) | Load64(in + i + 8)) & kHighBits) != 0) break;
  }
#endif
  while (i < size && static_cast<unsigned char>(in[i]) < 0x80) ++i;
  return i;
}

#ifdef PARVANE_SIXTEEN
namespace {

// Widens 16 bytes and tells which of them are not ASCII.
TopBits Widen16(const char* in, char16_t* out) {
  const Sixteen bytes = Load16(in);
  Store16(out, WidenLow(bytes));
  Store16(out + 8, WidenHigh(bytes));
  return TopsOf(bytes);
}

// The same for 8 bytes.
TopBits Widen8(const char* in, char16_t* out) {
  const Sixteen bytes = Load8(in);
  Store16(out, WidenLow(bytes));
  return TopsOf(bytes);
}

}  // namespace
#endif

#ifdef PARVANE_SSE2
namespace {

// These take whole steps of 32 up to the first that is not plain, and return how many units.
PARVANE_TARGET("avx2")
std::size_t WidenAvx2(const char* in, std::size_t size, char16_t* out) {
  const auto load = [in](std::size_t at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + at));
  };
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    if (_mm_movemask_epi8(_mm_or_si128(load(i), load(i + 16))) != 0) break;
    auto* to = reinterpret_cast<__m256i*>(out + i);
    _mm256_storeu_si256(to, _mm256_cvtepu8_epi16(load(i)));
    _mm256_storeu_si256(to + 1, _mm256_cvtepu8_epi16(load(i + 16)));
  }
  return i;
}

PARVANE_TARGET("avx2")
std::size_t SurrogateFreeAvx2(const std::byte* in, std::size_t units) {
  const __m256i mask = _mm256_set1_epi16(static_cast<short>(0xF800));
  const __m256i mark = _mm256_set1_epi16(static_cast<short>(0xD800));
  std::size_t i = 0;
  for (; i + 32 <= units; i += 32) {
    const auto* from = reinterpret_cast<const __m256i*>(in + 2 * i);
    const __m256i low = _mm256_and_si256(_mm256_loadu_si256(from), mask);
    const __m256i high = _mm256_and_si256(_mm256_loadu_si256(from + 1), mask);
    const __m256i found =
        _mm256_or_si256(_mm256_cmpeq_epi16(low, mark), _mm256_cmpeq_epi16(high, mark));
    if (_mm256_movemask_epi8(found) != 0) break;
  }
  return i;
}

// Asking for them pays from here on.
constexpr std::size_t kLong = 128;

}  // namespace
#endif

std::size_t WidenAsciiPrefix(const char* in, std::size_t size, char16_t* out) {
  std::size_t i = 0;
#ifdef PARVANE_SIXTEEN
  const auto prefix = [size](std::size_t at, TopBits tops) {
    return tops == 0 ? size : at + FirstOf(tops);
  };
#ifdef PARVANE_SSE2
  if (size >= kLong && CpuHas(CpuFeature::kAvx2)) i = WidenAvx2(in, size, out);
#endif
  for (; i + 16 <= size; i += 16) {
    const TopBits tops = Widen16(in + i, out + i);
    if (tops != 0) return prefix(i, tops);
  }
  // What is left is widened together with some of what has been.
  if (i == size) return size;
  if (size >= 16) return prefix(size - 16, Widen16(in + size - 16, out + size - 16));
  if (size >= 8) {
    const TopBits tops = Widen8(in, out);
    if (tops != 0) return prefix(0, tops);
    return prefix(size - 8, Widen8(in + size - 8, out + size - 8));
  }
#else
  for (; i + 16 <= size; i += 16) {
    if (((Load64(in + i) | Load64(in + i + 8)) & kHighBits) != 0) break;
    for (std::size_t k = 0; k < 16; ++k) out[i + k] = static_cast<unsigned char>(in[i + k]);
  }
#endif
  for (; i < size && static_cast<unsigned char>(in[i]) < 0x80; ++i) {
    out[i] = static_cast<unsigned char>(in[i]);
  }
  return i;
}

std::size_t NarrowAsciiPrefix(const char16_t* in, std::size_t size, char* out) {
  std::size_t i = 0;
  for (; i + 16 <= size; i += 16) {
#ifdef PARVANE_SIXTEEN
    const Sixteen low = Load16(in + i);
    const Sixteen high = Load16(in + i + 8);
    const Sixteen beyond = And(Or(low, high), Units(0xFF80));
    if (TopsOf(EqualUnits(beyond, Units(0))) != kAllTop) break;
    Store16(out + i, Narrow(low, high));
#else
    char16_t all = 0;
    for (std::size_t k = 0; k < 16; ++k) all |= in[i + k];
    if (all >= 0x80) break;
    for (std::size_t k = 0; k < 16; ++k) out[i + k] = static_cast<char>(in[i + k]);
#endif
  }
  for (; i < size && in[i] < 0x80; ++i) out[i] = static_cast<char>(in[i]);
  return i;
}

std::size_t SurrogateFreePrefix(const std::byte* in, std::size_t units) {
  std::size_t i = 0;
  const auto isSurrogate = [in](std::size_t unit) {
    return (in[2 * unit + 1] & std::byte{0xF8}) == std::byte{0xD8};
  };
#ifdef PARVANE_SSE2
  if (units >= kLong && CpuHas(CpuFeature::kAvx2)) i = SurrogateFreeAvx2(in, units);
#endif
#ifdef PARVANE_SIXTEEN
  const auto surrogates = [in](std::size_t at) {
    return EqualUnits(And(Load16(in + 2 * at), Units(0xF800)), Units(0xD800));
  };
  for (; i + 16 <= units; i += 16) {
    if (TopsOf(Or(surrogates(i), surrogates(i + 8))) != 0) break;
  }
  // What is left, eight units at a time; the last of them together with some that were seen.
  const auto isFree = [&](std::size_t at) { return TopsOf(surrogates(at)) == 0; };
  if (i + 8 <= units && isFree(i)) i += 8;
  if (units >= 8 && i + 8 > units && isFree(units - 8)) return units;
#else
  for (; i + 16 <= units; i += 16) {
    bool found = false;
    for (std::size_t k = 0; k < 16; ++k) found |= isSurrogate(i + k);
    if (found) break;
  }
#endif
  while (i < units && !isSurrogate(i)) ++i;
  return i;
}

}  // namespace parvane::platform::simd
