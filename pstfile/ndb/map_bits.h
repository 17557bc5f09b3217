// The body of an allocation map: a bit for each 64 bytes of its interval, set where they are in use
// ([MS-PST] 2.2.2.7.2).
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "pstfile/ndb/page.h"

namespace parvane::pstfile {

inline constexpr std::size_t kSlotsPerMap = kPageBodySize * 8;

// The bit of a 64-byte slot: bit 7 of byte 0 is the first.
inline bool TestBit(std::span<const std::byte> bits, std::uint64_t i) {
  return (bits[i / 8] & std::byte{0x80} >> (i % 8)) != std::byte{0};
}
inline void SetBit(std::span<std::byte> bits, std::uint64_t i) {
  bits[i / 8] |= std::byte{0x80} >> (i % 8);
}
inline void ClearBit(std::span<std::byte> bits, std::uint64_t i) {
  bits[i / 8] &= ~(std::byte{0x80} >> (i % 8));
}

// Sets `count` bits from `first` on; false as soon as one is found that was set before.
inline bool TakeBits(std::span<std::byte> bits, std::uint64_t first, std::uint64_t count) {
  for (const std::uint64_t end = first + count; first < end;) {
    std::byte& slots = bits[first / 8];
    if (first % 8 == 0 && end - first >= 8) {
      if (slots != std::byte{}) return false;
      slots = std::byte{0xFF};
      first += 8;
    } else {
      if (TestBit(bits, first)) return false;
      SetBit(bits, first++);
    }
  }
  return true;
}

// Clears `count` bits from `first` on; how many of them were set.
inline std::uint64_t ClearBits(std::span<std::byte> bits, std::uint64_t first,
                               std::uint64_t count) {
  std::uint64_t cleared = 0;
  for (const std::uint64_t end = first + count; first < end;) {
    std::byte& slots = bits[first / 8];
    if (first % 8 == 0 && end - first >= 8) {
      cleared += static_cast<unsigned>(std::popcount(static_cast<unsigned char>(slots)));
      slots = {};
      first += 8;
    } else {
      cleared += TestBit(bits, first) ? 1 : 0;
      ClearBit(bits, first++);
    }
  }
  return cleared;
}

inline std::uint64_t CountClear(std::span<const std::byte> bits) {
  std::uint64_t set = 0;
  for (const std::byte b : bits) {
    set += static_cast<unsigned>(std::popcount(static_cast<unsigned char>(b)));
  }
  return bits.size() * 8 - set;
}

inline void SetMapPages(std::span<std::byte> bits, std::uint64_t interval) {
  for (std::uint64_t i = 0; i < MapPageCount(interval) * kPageSize / kBlockAlignment; ++i) {
    SetBit(bits, i);
  }
}

}  // namespace parvane::pstfile
