// Replacing every byte by its entry in a table, many at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace parvane::platform::simd {

// A table of 256 bytes, with what the fast paths need beside it. Made once, kept.
class ByteTable {
 public:
  explicit constexpr ByteTable(const std::array<std::uint8_t, 256>& table) : _bytes(table) {
    // Each row of sixteen as its difference from the one before; the two halves by themselves.
    for (std::size_t i = 0; i < table.size(); ++i) {
      const bool first = i % 128 < 16;
      _differences[i] = static_cast<std::uint8_t>(first ? table[i] : table[i] ^ table[i - 16]);
    }
  }

  // `size` bytes from `from` to `to`, which may be the same.
  void Apply(const std::byte* from, std::size_t size, std::byte* to) const;

 private:
  alignas(64) std::array<std::uint8_t, 256> _bytes;
  alignas(64) std::array<std::uint8_t, 256> _differences{};
};

}  // namespace parvane::platform::simd
