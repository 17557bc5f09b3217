#include "platform/simd/crc32.h"

#include <array>
#include <cstring>

#include "platform/cpu.h"
#include "platform/simd/target.h"

namespace parvane::platform::simd {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320U;

// kTables[k][b]: what byte b contributes when k more bytes follow it. Sixteen tables take sixteen
// bytes a step ("slicing"), each lookup independent of the others.
using Tables = std::array<std::array<std::uint32_t, 256>, 16>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (std::uint32_t b = 0; b < 256; ++b) {
    std::uint32_t crc = b;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
    tables[0][b] = crc;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t b = 0; b < 256; ++b) {
      const std::uint32_t before = tables[k - 1][b];
      tables[k][b] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();
static_assert(kTables[0][1] == 0x77073096);

std::uint32_t LoadLittle(const std::byte* at) {
  return std::to_integer<std::uint32_t>(at[0]) | std::to_integer<std::uint32_t>(at[1]) << 8 |
         std::to_integer<std::uint32_t>(at[2]) << 16 | std::to_integer<std::uint32_t>(at[3]) << 24;
}

std::uint32_t CrcPlain(const std::byte* bytes, std::size_t size, std::uint32_t crc) {
  const auto four = [](std::uint32_t word, std::size_t after) {
    return kTables[after + 3][word & 0xFF] ^ kTables[after + 2][(word >> 8) & 0xFF] ^
           kTables[after + 1][(word >> 16) & 0xFF] ^ kTables[after][word >> 24];
  };
  for (; size >= 16; bytes += 16, size -= 16) {
    crc = four(crc ^ LoadLittle(bytes), 12) ^ four(LoadLittle(bytes + 4), 8) ^
          four(LoadLittle(bytes + 8), 4) ^ four(LoadLittle(bytes + 12), 0);
  }
  for (; size > 0; ++bytes, --size) {
    crc = (crc >> 8) ^ kTables[0][(crc ^ std::to_integer<std::uint32_t>(*bytes)) & 0xFF];
  }
  return crc;
}

#ifdef PARVANE_X86

// Carry-less multiplication "folds" the bytes: what stands n bits before the end is congruent to
// its product with x^n mod P, so 16 bytes can be added to others further on. The method is that of
// Gopal, Ozturk, Guilford and others ("Fast CRC Computation for Generic Polynomials Using
// PCLMULQDQ Instruction", 2009).

// x^n mod P as the multiplier that reflected operands need.
constexpr std::uint64_t PowerOfX(unsigned n) {
  std::uint32_t power = 0x80000000U;  // x^0: the highest bit is the lowest power
  for (unsigned i = 0; i < n; ++i) {
    power = (power >> 1) ^ ((power & 1) != 0 ? kPolynomial : 0);
  }
  return std::uint64_t{power} << 1;
}
static_assert(PowerOfX(4 * 128 + 32) == 0x154442BD4 && PowerOfX(4 * 128 - 32) == 0x1C6E41596);

// To fold over `bits`: the low 64 bits take the first, the high ones the second.
#define PARVANE_FOLD(bits) \
  static_cast<long long>(PowerOfX((bits)-32)), static_cast<long long>(PowerOfX((bits) + 32))

PARVANE_TARGET("pclmul,sse4.1")
inline __m128i Fold(__m128i value, __m128i by, __m128i onto) {
  const __m128i low = _mm_clmulepi64_si128(value, by, 0x00);
  const __m128i high = _mm_clmulepi64_si128(value, by, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), onto);
}

PARVANE_TARGET("pclmul,sse4.1")
inline __m128i Load(const std::byte* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// Sixteen bytes that stand for everything before them, reduced to their CRC.
PARVANE_TARGET("pclmul,sse4.1")
std::uint32_t Reduce(__m128i value) {
  const __m128i fold = _mm_set_epi64x(PARVANE_FOLD(128));
  const __m128i low32 = _mm_setr_epi32(-1, 0, -1, 0);
  __m128i rest = _mm_clmulepi64_si128(value, fold, 0x10);
  value = _mm_xor_si128(_mm_srli_si128(value, 8), rest);
  rest = _mm_srli_si128(value, 4);
  value = _mm_clmulepi64_si128(_mm_and_si128(value, low32),
                               _mm_set_epi64x(0, static_cast<long long>(PowerOfX(64))), 0x00);
  value = _mm_xor_si128(value, rest);
  // Barrett: the quotient's estimate, and what is left.
  const __m128i barrett = _mm_set_epi64x(0x01F7011641, 0x01DB710641);
  rest = _mm_clmulepi64_si128(_mm_and_si128(value, low32), barrett, 0x10);
  rest = _mm_clmulepi64_si128(_mm_and_si128(rest, low32), barrett, 0x00);
  value = _mm_xor_si128(value, rest);
  return static_cast<std::uint32_t>(_mm_extract_epi32(value, 1));
}

// The first 1 to 16 bytes as a full vector: zero bytes before them do not count.
PARVANE_TARGET("pclmul,sse4.1")
inline __m128i LoadStart(const std::byte* bytes, std::size_t size) {
  alignas(16) std::array<std::byte, 16> padded{};
  std::memcpy(padded.data() + 16 - size, bytes, size);
  return _mm_load_si128(reinterpret_cast<const __m128i*>(padded.data()));
}

// `size` is at least 32, and the register was 0 before these bytes.
PARVANE_TARGET("pclmul,sse4.1")
std::uint32_t CrcClmul(const std::byte* bytes, std::size_t size) {
  const __m128i by1 = _mm_set_epi64x(PARVANE_FOLD(128));
  const std::size_t odd = (size - 1) % 16 + 1;
  __m128i value = LoadStart(bytes, odd);
  bytes += odd;
  size -= odd;
  if (size >= 128) {
    const __m128i by4 = _mm_set_epi64x(PARVANE_FOLD(4 * 128));
    __m128i value1 = Load(bytes);
    __m128i value2 = Load(bytes + 16);
    __m128i value3 = Load(bytes + 32);
    for (bytes += 48, size -= 48; size >= 64; bytes += 64, size -= 64) {
      value = Fold(value, by4, Load(bytes));
      value1 = Fold(value1, by4, Load(bytes + 16));
      value2 = Fold(value2, by4, Load(bytes + 32));
      value3 = Fold(value3, by4, Load(bytes + 48));
    }
    value = Fold(value, by1, value1);
    value = Fold(value, by1, value2);
    value = Fold(value, by1, value3);
  }
  for (; size > 0; bytes += 16, size -= 16) value = Fold(value, by1, Load(bytes));
  return Reduce(value);
}

#define PARVANE_WIDE "avx512f,avx512bw,avx512vl,avx512vbmi,vpclmulqdq,pclmul,sse4.1"

constexpr std::array<std::uint8_t, 64> kPlaces = [] {
  std::array<std::uint8_t, 64> places{};
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = static_cast<std::uint8_t>(i);
  return places;
}();

PARVANE_TARGET(PARVANE_WIDE)
inline __m512i Load512(const std::byte* at) { return _mm512_loadu_si512(at); }

PARVANE_TARGET(PARVANE_WIDE)
inline __m512i Fold512(__m512i value, __m512i by, __m512i onto) {
  const __m512i low = _mm512_clmulepi64_epi128(value, by, 0x00);
  const __m512i high = _mm512_clmulepi64_epi128(value, by, 0x11);
  return _mm512_ternarylogic_epi64(low, high, onto, 0x96);
}

// As CrcClmul, for at least 256 bytes.
PARVANE_TARGET(PARVANE_WIDE)
std::uint32_t CrcVpclmul(const std::byte* bytes, std::size_t size) {
  const __m512i by4 = _mm512_set4_epi64(PARVANE_FOLD(16 * 128), PARVANE_FOLD(16 * 128));
  const __m512i by1 = _mm512_set4_epi64(PARVANE_FOLD(4 * 128), PARVANE_FOLD(4 * 128));
  // The first 1 to 64 bytes at the end of a vector.
  const std::size_t odd = (size - 1) % 64 + 1;
  const __m512i start = _mm512_maskz_loadu_epi8(~std::uint64_t{0} >> (64 - odd), bytes);
  const __m512i places = _mm512_sub_epi8(_mm512_loadu_si512(kPlaces.data()),
                                         _mm512_set1_epi8(static_cast<char>(64 - odd)));
  __m512i value = _mm512_maskz_permutexvar_epi8(~std::uint64_t{0} << (64 - odd), places, start);
  bytes += odd;
  size -= odd;
  __m512i value1 = Load512(bytes);
  __m512i value2 = Load512(bytes + 64);
  __m512i value3 = Load512(bytes + 128);
  for (bytes += 192, size -= 192; size >= 256; bytes += 256, size -= 256) {
    value = Fold512(value, by4, Load512(bytes));
    value1 = Fold512(value1, by4, Load512(bytes + 64));
    value2 = Fold512(value2, by4, Load512(bytes + 128));
    value3 = Fold512(value3, by4, Load512(bytes + 192));
  }
  value = Fold512(value, by1, value1);
  value = Fold512(value, by1, value2);
  value = Fold512(value, by1, value3);
  for (; size > 0; bytes += 64, size -= 64) value = Fold512(value, by1, Load512(bytes));
  const __m128i one = _mm_set_epi64x(PARVANE_FOLD(128));
  alignas(64) std::array<std::byte, 64> parts;
  _mm512_store_si512(parts.data(), value);
  __m128i sum = Load(parts.data());
  for (std::size_t at = 16; at < parts.size(); at += 16) {
    sum = Fold(sum, one, Load(parts.data() + at));
  }
  return Reduce(sum);
}

#elif defined(PARVANE_ARM64)

// The instructions are for this very polynomial. Clang 14 declares their intrinsics only where all
// of a file is compiled for them; what they stand for can be had everywhere.
#if defined(_MSC_VER) && !defined(__clang__)
#define PARVANE_CRC32B __crc32b
#define PARVANE_CRC32D __crc32d
#elif defined(__clang__)
#define PARVANE_CRC32B __builtin_arm_crc32b
#define PARVANE_CRC32D __builtin_arm_crc32d
#else
#define PARVANE_CRC32B __builtin_aarch64_crc32b
#define PARVANE_CRC32D __builtin_aarch64_crc32x
#endif

PARVANE_TARGET_CRC
std::uint32_t CrcArm(const std::byte* bytes, std::size_t size, std::uint32_t crc) {
  for (; size >= 8; bytes += 8, size -= 8) {
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    crc = PARVANE_CRC32D(crc, eight);
  }
  for (; size > 0; ++bytes, --size) {
    crc = PARVANE_CRC32B(crc, std::to_integer<std::uint8_t>(*bytes));
  }
  return crc;
}

#endif

}  // namespace

std::uint32_t Crc32(const std::byte* bytes, std::size_t size, std::uint32_t crc) {
#ifdef PARVANE_X86
  constexpr std::size_t kLeastFolded = 64;
  if (crc == 0 && size >= kLeastFolded) {
    if (size >= 256 && CpuHas(CpuFeature::kVpclmul)) return CrcVpclmul(bytes, size);
    if (CpuHas(CpuFeature::kPclmul)) return CrcClmul(bytes, size);
  }
#elif defined(PARVANE_ARM64)
  if (CpuHas(CpuFeature::kArmCrc32)) return CrcArm(bytes, size, crc);
#endif
  return CrcPlain(bytes, size, crc);
}

}  // namespace parvane::platform::simd
