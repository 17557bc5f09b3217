#include "pstfile/ndb/encoding.h"

#include <algorithm>

#include "platform/simd/substitute.h"
#include "pstfile/ndb/encoding_tables.h"

namespace parvane::pstfile {

namespace {

constexpr platform::simd::ByteTable kEncode(kTableR);
constexpr platform::simd::ByteTable kDecode(kTableI);

// One routine for both directions: R, S, I and the four additions undo themselves. The key's high
// byte changes only every 256 bytes, so the middle three steps become one table per run.
void Cyclic(std::uint32_t key, std::span<const std::byte> from, std::span<std::byte> to) {
  auto w = static_cast<std::uint16_t>(key ^ (key >> 16));
  std::size_t i = 0;
  while (i < from.size()) {
    const auto high = static_cast<std::uint8_t>(w >> 8);
    const std::size_t run = std::min<std::size_t>(from.size() - i, 256 - (w & 0xFF));
    std::array<std::uint8_t, 256> middle;
    const bool worthATable = run >= 64;
    const auto step = [high](std::uint8_t b) {
      const auto s = kTableS[static_cast<std::uint8_t>(kTableR[b] + high)];
      return kTableI[static_cast<std::uint8_t>(s - high)];
    };
    if (worthATable) {
      for (std::size_t b = 0; b < 256; ++b) middle[b] = step(static_cast<std::uint8_t>(b));
    }
    for (const std::size_t end = i + run; i < end; ++i, ++w) {
      const auto low = static_cast<std::uint8_t>(w);
      const auto b = static_cast<std::uint8_t>(static_cast<std::uint8_t>(from[i]) + low);
      const std::uint8_t m = worthATable ? middle[b] : step(b);
      to[i] = static_cast<std::byte>(static_cast<std::uint8_t>(m - low));
    }
  }
}

void Copy(std::span<const std::byte> from, std::span<std::byte> to) {
  if (from.data() != to.data()) std::copy(from.begin(), from.end(), to.begin());
}

void Transform(CryptMethod method, const platform::simd::ByteTable& table, std::uint32_t key,
               std::span<const std::byte> from, std::span<std::byte> to) {
  switch (method) {
    case CryptMethod::kNone:
      return Copy(from, to);
    case CryptMethod::kPermute:
      return table.Apply(from.data(), from.size(), to.data());
    case CryptMethod::kCyclic:
      return Cyclic(key, from, to);
  }
}

}  // namespace

void Encode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes) {
  Transform(method, kEncode, key, bytes, bytes);
}

void Decode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes) {
  Transform(method, kDecode, key, bytes, bytes);
}

void EncodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to) {
  Transform(method, kEncode, key, from, to);
}

void DecodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to) {
  Transform(method, kDecode, key, from, to);
}

}  // namespace parvane::pstfile
