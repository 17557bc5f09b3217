#include "platform/simd/substitute.h"

#include "platform/cpu.h"
#include "platform/simd/target.h"

namespace parvane::platform::simd {
namespace {

void ApplyPlain(const std::uint8_t* table, const std::byte* from, std::size_t size, std::byte* to) {
  for (std::size_t i = 0; i < size; ++i) {
    to[i] = static_cast<std::byte>(table[std::to_integer<std::uint8_t>(from[i])]);
  }
}

#ifdef PARVANE_X86

#define PARVANE_WIDE "avx512f,avx512bw,avx512vl,avx512vbmi"

// The table in four registers; each lookup takes two of them by its lower seven bits.
struct WideTable {
  __m512i parts[4];
};

PARVANE_TARGET(PARVANE_WIDE)
inline __m512i Look(const WideTable& table, __m512i index) {
  const __m512i low = _mm512_permutex2var_epi8(table.parts[0], index, table.parts[1]);
  const __m512i high = _mm512_permutex2var_epi8(table.parts[2], index, table.parts[3]);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
}

PARVANE_TARGET(PARVANE_WIDE)
void ApplyAvx512(const std::uint8_t* table, const std::byte* from, std::size_t size,
                 std::byte* to) {
  const WideTable wide{{_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64),
                        _mm512_loadu_si512(table + 128), _mm512_loadu_si512(table + 192)}};
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    _mm512_storeu_si512(to + i, Look(wide, _mm512_loadu_si512(from + i)));
  }
  if (i < size) {
    const __mmask64 rest = ~std::uint64_t{0} >> (64 - (size - i));
    _mm512_mask_storeu_epi8(to + i, rest, Look(wide, _mm512_maskz_loadu_epi8(rest, from + i)));
  }
}

// A shuffle looks a byte's low four bits up in one row of sixteen and gives 0 when its highest bit
// is set. Subtracting 16 from row to row makes the bytes of the rows passed negative, and because
// rows hold differences, what has gathered by then is the byte's entry. The halves of the table
// below and above 128 are looked up apart, bytes of the other half being negative throughout: the
// subtraction, saturating, keeps them so.
//
// ASCII at two bytes a character, as text lies in a PST, has nothing in the upper half, and every
// second byte is 0. Two registers of such text are packed into one for half the lookups, and
// unpacked again, which restores the order whatever the order of packing is.

PARVANE_TARGET("avx2")
inline __m256i LookInHalf(const std::uint8_t* differences, __m256i bytes) {
  __m256i found = _mm256_setzero_si256();
  for (std::size_t row = 0; row < 8; ++row) {
    const auto* entries = reinterpret_cast<const __m128i*>(differences + 16 * row);
    const __m256i twice = _mm256_broadcastsi128_si256(_mm_load_si128(entries));
    found = _mm256_xor_si256(found, _mm256_shuffle_epi8(twice, bytes));
    bytes = _mm256_subs_epi8(bytes, _mm256_set1_epi8(16));
  }
  return found;
}

PARVANE_TARGET("avx2")
inline __m256i LookAvx2(const std::uint8_t* differences, __m256i bytes) {
  const __m256i upper = _mm256_xor_si256(bytes, _mm256_set1_epi8(static_cast<char>(0x80)));
  return _mm256_xor_si256(LookInHalf(differences, bytes), LookInHalf(differences + 128, upper));
}

PARVANE_TARGET("avx2")
std::size_t ApplyAvx2(const std::uint8_t* table, const std::uint8_t* differences,
                      const std::byte* from, std::size_t size, std::byte* to) {
  const __m256i entryOfZero = _mm256_set1_epi8(static_cast<char>(table[0]));
  const __m256i noText = _mm256_set1_epi16(static_cast<short>(0xFF80));
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    const auto* in = reinterpret_cast<const __m256i*>(from + i);
    auto* out = reinterpret_cast<__m256i*>(to + i);
    const __m256i first = _mm256_loadu_si256(in);
    const __m256i second = _mm256_loadu_si256(in + 1);
    if (_mm256_testz_si256(_mm256_or_si256(first, second), noText)) {
      const __m256i found = LookInHalf(differences, _mm256_packus_epi16(first, second));
      _mm256_storeu_si256(out, _mm256_unpacklo_epi8(found, entryOfZero));
      _mm256_storeu_si256(out + 1, _mm256_unpackhi_epi8(found, entryOfZero));
    } else {
      _mm256_storeu_si256(out, LookAvx2(differences, first));
      _mm256_storeu_si256(out + 1, LookAvx2(differences, second));
    }
  }
  return i;
}

// Without AVX2 the shuffles win for such text only.
PARVANE_TARGET("ssse3")
std::size_t ApplySsse3(const std::uint8_t* table, const std::uint8_t* differences,
                       const std::byte* from, std::size_t size, std::byte* to) {
  const __m128i entryOfZero = _mm_set1_epi8(static_cast<char>(table[0]));
  const __m128i noText = _mm_set1_epi16(static_cast<short>(0xFF80));
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    const auto* in = reinterpret_cast<const __m128i*>(from + i);
    auto* out = reinterpret_cast<__m128i*>(to + i);
    const __m128i first = _mm_loadu_si128(in);
    const __m128i second = _mm_loadu_si128(in + 1);
    const __m128i strange = _mm_and_si128(_mm_or_si128(first, second), noText);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(strange, _mm_setzero_si128())) != 0xFFFF) {
      ApplyPlain(table, from + i, 32, to + i);
      continue;
    }
    __m128i bytes = _mm_packus_epi16(first, second);
    __m128i found = _mm_setzero_si128();
    for (std::size_t row = 0; row < 8; ++row) {
      const auto* entries = reinterpret_cast<const __m128i*>(differences + 16 * row);
      found = _mm_xor_si128(found, _mm_shuffle_epi8(_mm_load_si128(entries), bytes));
      bytes = _mm_subs_epi8(bytes, _mm_set1_epi8(16));
    }
    _mm_storeu_si128(out, _mm_unpacklo_epi8(found, entryOfZero));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(found, entryOfZero));
  }
  return i;
}

#elif defined(PARVANE_ARM64)

// The table in four quarters of four registers each. A lookup leaves bytes as they were that are
// beyond its quarter, so that each, less 64 from quarter to quarter, finds its entry in one.
struct Quarters {
  uint8x16x4_t parts[4];
};

inline uint8x16_t LookInHalf(const Quarters& table, uint8x16_t bytes) {
  const uint8x16_t found = vqtbl4q_u8(table.parts[0], bytes);
  return vqtbx4q_u8(found, table.parts[1], vsubq_u8(bytes, vdupq_n_u8(64)));
}

inline uint8x16_t LookNeon(const Quarters& table, uint8x16_t bytes) {
  const uint8x16_t found = LookInHalf(table, bytes);
  const uint8x16_t more = vqtbx4q_u8(found, table.parts[2], vsubq_u8(bytes, vdupq_n_u8(128)));
  return vqtbx4q_u8(more, table.parts[3], vsubq_u8(bytes, vdupq_n_u8(192)));
}

// Bytes are read with every second one apart, for text as above: the zeros need no lookup, the
// others only half the table.
std::size_t ApplyNeon(const std::uint8_t* table, const std::byte* from, std::size_t size,
                      std::byte* to) {
  Quarters quarters;
  for (std::size_t i = 0; i < 4; ++i) quarters.parts[i] = vld1q_u8_x4(table + 64 * i);
  const auto* in = reinterpret_cast<const std::uint8_t*>(from);
  auto* out = reinterpret_cast<std::uint8_t*>(to);
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    uint8x16x2_t bytes = vld2q_u8(in + i);
    const uint8x16_t beyond = vorrq_u8(vtstq_u8(bytes.val[0], vdupq_n_u8(0x80)), bytes.val[1]);
    if (vmaxvq_u8(beyond) == 0) {
      bytes.val[0] = LookInHalf(quarters, bytes.val[0]);
      bytes.val[1] = vdupq_n_u8(table[0]);
    } else {
      bytes.val[0] = LookNeon(quarters, bytes.val[0]);
      bytes.val[1] = LookNeon(quarters, bytes.val[1]);
    }
    vst2q_u8(out + i, bytes);
  }
  return i;
}

#endif

}  // namespace

void ByteTable::Apply(const std::byte* from, std::size_t size, std::byte* to) const {
  std::size_t done = 0;
#ifdef PARVANE_X86
  if (CpuHas(CpuFeature::kAvx512)) return ApplyAvx512(_bytes.data(), from, size, to);
  if (CpuHas(CpuFeature::kAvx2)) {
    done = ApplyAvx2(_bytes.data(), _differences.data(), from, size, to);
  } else if (CpuHas(CpuFeature::kSsse3)) {
    done = ApplySsse3(_bytes.data(), _differences.data(), from, size, to);
  }
#elif defined(PARVANE_ARM64)
  if (CpuHas(CpuFeature::kNeon)) done = ApplyNeon(_bytes.data(), from, size, to);
#endif
  ApplyPlain(_bytes.data(), from + done, size - done, to + done);
}

}  // namespace parvane::platform::simd
