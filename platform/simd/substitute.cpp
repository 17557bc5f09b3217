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
// below and above 128 are looked up apart, bytes of the other half being negative throughout.
PARVANE_TARGET("avx2")
std::size_t ApplyAvx2(const std::uint8_t* differences, const std::byte* from, std::size_t size,
                      std::byte* to) {
  __m256i rows[16];
  for (int row = 0; row < 16; ++row) {
    rows[row] = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(differences + 16 * row)));
  }
  const __m256i sixteen = _mm256_set1_epi8(16);
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + i));
    // Of a byte in the other half all differences must stay away: it starts negative, and the
    // subtraction, saturating, keeps it so.
    __m256i lower = bytes;
    __m256i upper = _mm256_xor_si256(bytes, _mm256_set1_epi8(static_cast<char>(0x80)));
    __m256i found =
        _mm256_xor_si256(_mm256_shuffle_epi8(rows[0], lower), _mm256_shuffle_epi8(rows[8], upper));
    for (int row = 1; row < 8; ++row) {
      lower = _mm256_subs_epi8(lower, sixteen);
      upper = _mm256_subs_epi8(upper, sixteen);
      found = _mm256_xor_si256(found, _mm256_xor_si256(_mm256_shuffle_epi8(rows[row], lower),
                                                       _mm256_shuffle_epi8(rows[8 + row], upper)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), found);
  }
  return i;
}

#endif  // PARVANE_X86

}  // namespace

void ByteTable::Apply(const std::byte* from, std::size_t size, std::byte* to) const {
  std::size_t done = 0;
#ifdef PARVANE_X86
  if (CpuHas(CpuFeature::kAvx512)) return ApplyAvx512(_bytes.data(), from, size, to);
  if (size >= 32 && CpuHas(CpuFeature::kAvx2)) {
    done = ApplyAvx2(_differences.data(), from, size, to);
  }
#endif
  ApplyPlain(_bytes.data(), from + done, size - done, to + done);
}

}  // namespace parvane::platform::simd
