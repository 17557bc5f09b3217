// Sizes and places every part of the lowest storey agrees on ([MS-PST] 2.2.2).
#pragma once

#include <cstddef>
#include <cstdint>

namespace parvane::pstfile {

inline constexpr std::size_t kPageSize = 512;
inline constexpr std::size_t kPageBodySize = 496;  // before the trailer

inline constexpr std::size_t kBlockTrailerSize = 16;
inline constexpr std::size_t kBlockAlignment = 64;
inline constexpr std::size_t kMaximumBlockSize = 8192;  // on disk
inline constexpr std::size_t kMaximumBlockData = kMaximumBlockSize - kBlockTrailerSize;

// What a block of `dataSize` bytes takes on disk: data, padding, trailer.
constexpr std::size_t BlockSizeOnDisk(std::size_t dataSize) {
  return (dataSize + kBlockTrailerSize + kBlockAlignment - 1) & ~(kBlockAlignment - 1);
}
static_assert(BlockSizeOnDisk(kMaximumBlockData) == kMaximumBlockSize);

inline constexpr std::size_t kMaximumXBlockEntries = 1021;  // XBLOCK, XXBLOCK
inline constexpr std::size_t kMaximumSlBlockEntries = 340;  // SLBLOCK
inline constexpr std::size_t kMaximumSiBlockEntries = 510;  // SIBLOCK
inline constexpr std::size_t kXBlockEntrySize = 8;          // a block id
inline constexpr std::size_t kSlBlockEntrySize = 24;
inline constexpr std::size_t kSiBlockEntrySize = 16;
inline constexpr std::size_t kInternalBlockHeaderSize = 8;  // of all four
// lcbTotal has 32 bits.
inline constexpr std::uint64_t kMaximumDataTreeSize = 0xFFFFFFFF;

inline constexpr std::size_t kHeaderSize = 564;
inline constexpr std::uint64_t kHeaderCopyOffset = 0x2000;  // see commit protocol, node_database.h
inline constexpr std::uint64_t kDListOffset = 0x4200;
inline constexpr std::uint64_t kFirstAMapOffset = 0x4400;
inline constexpr std::uint64_t kAMapInterval = kPageBodySize * 8 * kBlockAlignment;
static_assert(kAMapInterval == 253952);
inline constexpr std::uint64_t kSmallestFile = kFirstAMapOffset + kAMapInterval;
static_assert(kSmallestFile == 271360);

}  // namespace parvane::pstfile
