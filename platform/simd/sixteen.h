// Sixteen bytes at a time, by instructions that every machine of the architecture has: SSE2 on x86,
// NEON on 64-bit ARM. Where PARVANE_SIXTEEN is not defined there are none.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/simd/target.h"

#if defined(__SSE2__) || defined(_M_X64)
#define PARVANE_SSE2 1
#endif
#if defined(PARVANE_SSE2) || defined(PARVANE_ARM64)
#define PARVANE_SIXTEEN 1
#endif

#ifdef PARVANE_SIXTEEN

namespace parvane::platform::simd {

#ifdef PARVANE_SSE2

using Sixteen = __m128i;

inline Sixteen Load16(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}
// The upper half is 0.
inline Sixteen Load8(const void* from) {
  return _mm_loadl_epi64(static_cast<const __m128i*>(from));
}
inline void Store16(void* to, Sixteen bytes) { _mm_storeu_si128(static_cast<__m128i*>(to), bytes); }

inline Sixteen And(Sixteen a, Sixteen b) { return _mm_and_si128(a, b); }
inline Sixteen Or(Sixteen a, Sixteen b) { return _mm_or_si128(a, b); }

// Comparisons give all ones where they hold, in bytes or units of two bytes.
inline Sixteen Equal(Sixteen bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }
// Unsigned "at most" is what the minimum leaves as it is.
inline Sixteen AtMost(Sixteen bytes, char c) {
  return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(c)), bytes);
}
// Signed.
inline Sixteen Below(Sixteen bytes, char c) { return _mm_cmplt_epi8(bytes, _mm_set1_epi8(c)); }
inline Sixteen Units(char16_t unit) { return _mm_set1_epi16(static_cast<short>(unit)); }
inline Sixteen EqualUnits(Sixteen a, Sixteen b) { return _mm_cmpeq_epi16(a, b); }

// The lower and the upper eight bytes as units.
inline Sixteen WidenLow(Sixteen bytes) { return _mm_unpacklo_epi8(bytes, _mm_setzero_si128()); }
inline Sixteen WidenHigh(Sixteen bytes) { return _mm_unpackhi_epi8(bytes, _mm_setzero_si128()); }
// Units that are ASCII as bytes.
inline Sixteen Narrow(Sixteen low, Sixteen high) { return _mm_packus_epi16(low, high); }

// The bytes' highest bits, gathered in order.
using TopBits = unsigned;
constexpr TopBits kAllTop = 0xFFFF;
inline TopBits TopsOf(Sixteen bytes) { return static_cast<TopBits>(_mm_movemask_epi8(bytes)); }
inline std::size_t FirstOf(TopBits tops) {
  return static_cast<std::size_t>(std::countr_zero(tops));
}

// A bit for each of 64 bytes that is `c`.
inline std::uint64_t BitsWhereEqual(const char* from, char c) {
  std::uint64_t bits = 0;
  for (unsigned at = 0; at < 64; at += 16) {
    bits |= std::uint64_t{TopsOf(Equal(Load16(from + at), c))} << at;
  }
  return bits;
}

#else  // NEON

using Sixteen = uint8x16_t;

// By memcpy, which may look at any type.
inline Sixteen Load16(const void* from) {
  Sixteen bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  return bytes;
}
inline Sixteen Load8(const void* from) {
  std::uint64_t eight;
  std::memcpy(&eight, from, sizeof eight);
  return vreinterpretq_u8_u64(vsetq_lane_u64(eight, vdupq_n_u64(0), 0));
}
inline void Store16(void* to, Sixteen bytes) { std::memcpy(to, &bytes, sizeof bytes); }

inline Sixteen And(Sixteen a, Sixteen b) { return vandq_u8(a, b); }
inline Sixteen Or(Sixteen a, Sixteen b) { return vorrq_u8(a, b); }

inline Sixteen Bytes(char c) { return vdupq_n_u8(static_cast<std::uint8_t>(c)); }
inline Sixteen Equal(Sixteen bytes, char c) { return vceqq_u8(bytes, Bytes(c)); }
inline Sixteen AtMost(Sixteen bytes, char c) { return vcleq_u8(bytes, Bytes(c)); }
inline Sixteen Below(Sixteen bytes, char c) {
  return vcltq_s8(vreinterpretq_s8_u8(bytes), vreinterpretq_s8_u8(Bytes(c)));
}
inline Sixteen Units(char16_t unit) { return vreinterpretq_u8_u16(vdupq_n_u16(unit)); }
inline Sixteen EqualUnits(Sixteen a, Sixteen b) {
  return vreinterpretq_u8_u16(vceqq_u16(vreinterpretq_u16_u8(a), vreinterpretq_u16_u8(b)));
}

inline Sixteen WidenLow(Sixteen bytes) { return vzip1q_u8(bytes, vdupq_n_u8(0)); }
inline Sixteen WidenHigh(Sixteen bytes) { return vzip2q_u8(bytes, vdupq_n_u8(0)); }
inline Sixteen Narrow(Sixteen low, Sixteen high) { return vuzp1q_u8(low, high); }

// There is no instruction that gathers them. Each is spread over its byte; shifting every pair of
// bytes right by four and keeping the lower byte leaves four bits of each (Danila Kutenin, "Porting
// x86 vector bitmask optimizations to Arm NEON", 2022).
using TopBits = std::uint64_t;
constexpr TopBits kAllTop = ~TopBits{0};
inline TopBits TopsOf(Sixteen bytes) {
  const Sixteen spread = vcltzq_s8(vreinterpretq_s8_u8(bytes));
  const uint8x8_t halves = vshrn_n_u16(vreinterpretq_u16_u8(spread), 4);
  return vget_lane_u64(vreinterpret_u64_u8(halves), 0);
}
inline std::size_t FirstOf(TopBits tops) {
  return static_cast<std::size_t>(std::countr_zero(tops)) / 4;
}

// Each byte keeps the bit of its place, and pairs are added until eight bytes are left.
inline std::uint64_t BitsWhereEqual(const char* from, char c) {
  const Sixteen places = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201U));
  const auto look = [&](int at) { return And(Equal(Load16(from + at), c), places); };
  const Sixteen pairs = vpaddq_u8(vpaddq_u8(look(0), look(16)), vpaddq_u8(look(32), look(48)));
  return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(pairs, pairs)), 0);
}

#endif

}  // namespace parvane::platform::simd

#endif  // PARVANE_SIXTEEN
