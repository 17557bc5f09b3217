#include "platform/simd/base64.h"

#include <array>
#include <bit>
#include <cstdint>

#include "platform/cpu.h"
#include "platform/simd/sixteen.h"

namespace parvane::platform::simd {
namespace {

constexpr std::uint32_t kBad = 0x01000000;

// The value of a character already at its place in the group, kBad for all others.
constexpr std::array<std::uint32_t, 256> MakeTable(unsigned shift) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint32_t, 256> table{};
  for (auto& entry : table) entry = kBad;
  for (std::uint32_t i = 0; i < 64; ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = i << shift;
  }
  return table;
}

constexpr auto kFirst = MakeTable(18);
constexpr auto kSecond = MakeTable(12);
constexpr auto kThird = MakeTable(6);
constexpr auto kFourth = MakeTable(0);

// The length of the line end that stands at in[at], 0 when there is none.
std::size_t LineEndAt(const char* in, std::size_t size, std::size_t at) {
  if (at < size && in[at] == '\n') return 1;
  return at + 1 < size && in[at] == '\r' && in[at + 1] == '\n' ? 2 : 0;
}

// `bad` has a bit for each character read at in[i] that is none of base64. The groups before the
// first are whole; false when no line end follows these.
inline bool GoBehindLine(std::uint64_t bad, const char* in, std::size_t size, std::size_t& i,
                         char*& out) {
  const std::size_t whole = static_cast<std::size_t>(std::countr_zero(bad)) / 4;
  i += whole * 4;
  out += whole * 3;
  const std::size_t lineEnd = LineEndAt(in, size, i);
  i += lineEnd;
  return lineEnd != 0;
}

Base64Progress DecodePlain(const char* in, std::size_t size, char* out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(in);
  char* const start = out;
  std::size_t i = 0;
  while (i + 4 <= size) {
    const std::uint32_t group =
        kFirst[bytes[i]] | kSecond[bytes[i + 1]] | kThird[bytes[i + 2]] | kFourth[bytes[i + 3]];
    if (group >= kBad) {
      const std::size_t lineEnd = LineEndAt(in, size, i);
      if (lineEnd == 0) break;
      i += lineEnd;
      continue;
    }
    *out++ = static_cast<char>(group >> 16);
    *out++ = static_cast<char>(group >> 8);
    *out++ = static_cast<char>(group);
    i += 4;
  }
  return {i, static_cast<std::size_t>(out - start)};
}

#if defined(PARVANE_X86) || defined(PARVANE_ARM64)
// Values by the low seven bits of a character, 0x80 for what is not in the alphabet; characters
// beyond ASCII show by their own top bit.
constexpr std::array<unsigned char, 128> MakeValues() {
  std::array<unsigned char, 128> values{};
  for (std::size_t c = 0; c < values.size(); ++c) {
    values[c] = kFourth[c] >= kBad ? 0x80 : static_cast<unsigned char>(kFourth[c]);
  }
  return values;
}
constexpr auto kValues = MakeValues();
#endif

#ifdef PARVANE_X86

// Each character's high and low nibble select a set of flags; a character is in the alphabet when
// the two sets do not meet. Its value is the character plus an offset that its high nibble selects
// ("/" takes a slot of its own). The method is Wojciech Mula's and Daniel Lemire's ("Faster
// Base64 Encoding and Decoding using AVX2 Instructions", 2018).
#define PARVANE_LOW_FLAGS \
  0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A
#define PARVANE_HIGH_FLAGS \
  0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10
#define PARVANE_OFFSETS 0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0
#define PARVANE_PACK 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1

PARVANE_TARGET("avx2")
Base64Progress DecodeAvx2(const char* in, std::size_t size, char* out) {
  const __m256i lowFlags = _mm256_setr_epi8(PARVANE_LOW_FLAGS, PARVANE_LOW_FLAGS);
  const __m256i highFlags = _mm256_setr_epi8(PARVANE_HIGH_FLAGS, PARVANE_HIGH_FLAGS);
  const __m256i offsets = _mm256_setr_epi8(PARVANE_OFFSETS, PARVANE_OFFSETS);
  const __m256i pack = _mm256_setr_epi8(PARVANE_PACK, PARVANE_PACK);
  const __m256i nibble = _mm256_set1_epi8(0x2F);  // the shuffles look at the low four bits
  char* const start = out;
  std::size_t i = 0;
  while (i + 32 <= size) {
    const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), nibble);
    const __m256i low = _mm256_and_si256(text, nibble);
    const __m256i flags =
        _mm256_and_si256(_mm256_shuffle_epi8(lowFlags, low), _mm256_shuffle_epi8(highFlags, high));
    const __m256i good = _mm256_cmpeq_epi8(flags, _mm256_setzero_si256());
    const auto bad = ~static_cast<unsigned>(_mm256_movemask_epi8(good));
    const __m256i slash = _mm256_cmpeq_epi8(text, nibble);  // 0x2F is "/" itself
    const __m256i shift = _mm256_shuffle_epi8(offsets, _mm256_add_epi8(slash, high));
    const __m256i values = _mm256_add_epi8(text, shift);
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, pack),
                                                       _mm256_setr_epi32(0, 1, 2, 4, 5, 6, -1, -1));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
    if (bad == 0) {
      i += 32;
      out += 24;
      continue;
    }
    if (!GoBehindLine(bad, in, size, i, out)) break;
  }
  return {i, static_cast<std::size_t>(out - start)};
}

PARVANE_TARGET("ssse3")
Base64Progress DecodeSsse3(const char* in, std::size_t size, char* out) {
  const __m128i lowFlags = _mm_setr_epi8(PARVANE_LOW_FLAGS);
  const __m128i highFlags = _mm_setr_epi8(PARVANE_HIGH_FLAGS);
  const __m128i offsets = _mm_setr_epi8(PARVANE_OFFSETS);
  const __m128i pack = _mm_setr_epi8(PARVANE_PACK);
  const __m128i nibble = _mm_set1_epi8(0x2F);
  char* const start = out;
  std::size_t i = 0;
  while (i + 16 <= size) {
    const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    const __m128i high = _mm_and_si128(_mm_srli_epi32(text, 4), nibble);
    const __m128i low = _mm_and_si128(text, nibble);
    const __m128i flags =
        _mm_and_si128(_mm_shuffle_epi8(lowFlags, low), _mm_shuffle_epi8(highFlags, high));
    const __m128i good = _mm_cmpeq_epi8(flags, _mm_setzero_si128());
    const unsigned bad = ~static_cast<unsigned>(_mm_movemask_epi8(good)) & 0xFFFFU;
    const __m128i slash = _mm_cmpeq_epi8(text, nibble);
    const __m128i shift = _mm_shuffle_epi8(offsets, _mm_add_epi8(slash, high));
    const __m128i values = _mm_add_epi8(text, shift);
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(groups, pack));
    if (bad == 0) {
      i += 16;
      out += 12;
      continue;
    }
    if (!GoBehindLine(bad, in, size, i, out)) break;
  }
  return {i, static_cast<std::size_t>(out - start)};
}

// Each group's three bytes, the first one from the top of its 24 bits.
constexpr std::array<unsigned char, 64> MakePack() {
  std::array<unsigned char, 64> pack{};
  for (unsigned char i = 0; i < 48; ++i)
    pack[i] = static_cast<unsigned char>(i / 3 * 4 + 2 - i % 3);
  return pack;
}
constexpr auto kPack = MakePack();

PARVANE_TARGET("avx512f,avx512bw,avx512vl,avx512vbmi")
Base64Progress DecodeAvx512(const char* in, std::size_t size, char* out) {
  const __m512i lowValues = _mm512_loadu_si512(kValues.data());
  const __m512i highValues = _mm512_loadu_si512(kValues.data() + 64);
  const __m512i pack = _mm512_loadu_si512(kPack.data());
  char* const start = out;
  std::size_t i = 0;
  while (i + 64 <= size) {
    const __m512i text = _mm512_loadu_si512(in + i);
    const __m512i values = _mm512_permutex2var_epi8(lowValues, text, highValues);
    const std::uint64_t bad = _mm512_movepi8_mask(_mm512_or_si512(values, text));
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i groups = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    // Masked, because GCC 12 takes the plain form's unused operand for uninitialised.
    _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi8(~__mmask64{0}, pack, groups));
    if (bad == 0) {
      i += 64;
      out += 48;
      continue;
    }
    if (!GoBehindLine(bad, in, size, i, out)) break;
  }
  return {i, static_cast<std::size_t>(out - start)};
}

#elif defined(PARVANE_ARM64)

// Sixteen groups at a time, a register for the first characters of all of them, one for the
// second...
Base64Progress DecodeNeon(const char* in, std::size_t size, char* out) {
  const uint8x16x4_t lowValues = vld1q_u8_x4(kValues.data());
  const uint8x16x4_t highValues = vld1q_u8_x4(kValues.data() + 64);
  // 0 for what is in neither half, which is beyond ASCII.
  const auto look = [&](uint8x16_t text) {
    const uint8x16_t found = vqtbl4q_u8(lowValues, text);
    return vqtbx4q_u8(found, highValues, vsubq_u8(text, vdupq_n_u8(64)));
  };
  char* const start = out;
  std::size_t i = 0;
  while (i + 64 <= size) {
    const uint8x16x4_t text = vld4q_u8(reinterpret_cast<const std::uint8_t*>(in + i));
    const uint8x16_t a = look(text.val[0]);
    const uint8x16_t b = look(text.val[1]);
    const uint8x16_t c = look(text.val[2]);
    const uint8x16_t d = look(text.val[3]);
    uint8x16x3_t bytes;
    bytes.val[0] = vorrq_u8(vshlq_n_u8(a, 2), vshrq_n_u8(b, 4));
    bytes.val[1] = vorrq_u8(vshlq_n_u8(b, 4), vshrq_n_u8(c, 2));
    bytes.val[2] = vorrq_u8(vshlq_n_u8(c, 6), d);
    vst3q_u8(reinterpret_cast<std::uint8_t*>(out), bytes);
    const uint8x16_t values = vorrq_u8(vorrq_u8(a, b), vorrq_u8(c, d));
    const uint8x16_t texts =
        vorrq_u8(vorrq_u8(text.val[0], text.val[1]), vorrq_u8(text.val[2], text.val[3]));
    // Four bits a group, as many as it has characters: the first group that is bad shows where
    // its first character would.
    const TopBits bad = TopsOf(Or(values, texts));
    if (bad == 0) {
      i += 64;
      out += 48;
      continue;
    }
    if (!GoBehindLine(bad, in, size, i, out)) break;
  }
  return {i, static_cast<std::size_t>(out - start)};
}

#endif

}  // namespace

Base64Progress DecodeBase64Groups(const char* in, std::size_t size, char* out) {
  Base64Progress done;
#ifdef PARVANE_X86
  if (size >= 64 && CpuHas(CpuFeature::kAvx512)) {
    done = DecodeAvx512(in, size, out);
  } else if (size >= 32 && CpuHas(CpuFeature::kAvx2)) {
    done = DecodeAvx2(in, size, out);
  } else if (size >= 16 && CpuHas(CpuFeature::kSsse3)) {
    done = DecodeSsse3(in, size, out);
  }
#elif defined(PARVANE_ARM64)
  if (size >= 64 && CpuHas(CpuFeature::kNeon)) done = DecodeNeon(in, size, out);
#endif
  const Base64Progress rest = DecodePlain(in + done.taken, size - done.taken, out + done.made);
  return {done.taken + rest.taken, done.made + rest.made};
}

}  // namespace parvane::platform::simd
