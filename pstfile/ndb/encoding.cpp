#include "pstfile/ndb/encoding.h"

#include <algorithm>

#include "pstfile/ndb/encoding_tables.h"

namespace parvane::pstfile {

namespace {

void Substitute(const std::array<std::uint8_t, 256>& table, std::span<const std::byte> from,
                std::span<std::byte> to) {
  for (std::size_t i = 0; i < from.size(); ++i) {
    to[i] = static_cast<std::byte>(table[static_cast<std::uint8_t>(from[i])]);
  }
}

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

void Transform(CryptMethod method, const std::array<std::uint8_t, 256>& table, std::uint32_t key,
               std::span<const std::byte> from, std::span<std::byte> to) {
  switch (method) {
    case CryptMethod::kNone:
      return Copy(from, to);
    case CryptMethod::kPermute:
      return Substitute(table, from, to);
    case CryptMethod::kCyclic:
      return Cyclic(key, from, to);
  }
}

}  // namespace

void Encode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes) {
  Transform(method, kTableR, key, bytes, bytes);
}

void Decode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes) {
  Transform(method, kTableI, key, bytes, bytes);
}

void EncodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to) {
  Transform(method, kTableR, key, from, to);
}

void DecodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to) {
  Transform(method, kTableI, key, from, to);
}

}  // namespace parvane::pstfile
