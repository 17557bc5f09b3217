// Blocks on disk ([MS-PST] 2.2.2.8).
//
//   block := data[cb] padding trailer          size is a multiple of 64
//
//   offset size field  of the trailer
//        0    2 cb     data bytes, without padding and trailer
//        2    2 wSig   signature of (file offset, bid)
//        4    4 dwCRC  CRC of the data as stored, that is, after encoding
//        8    8 bid    the block's own id
//
// The trailer ends the aligned block; it does not follow the data directly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/status.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

// Where a block is and how long.
struct BlockPlace {
  FileOffset offset;
  std::uint16_t dataSize = 0;
};

// What a block says of itself, as it is stored.
struct BlockTrailer {
  std::uint16_t dataSize = 0;
  std::uint16_t signature = 0;
  std::uint32_t crc = 0;
  std::uint64_t id = 0;  // with bit 0

  // `block` is the whole block as stored.
  static BlockTrailer Decode(std::span<const std::byte> block);
};

// Builds the whole block in `block`, whose size is BlockSizeOnDisk(data.size()).
void BuildBlock(std::span<const std::byte> data, BlockId bid, FileOffset offset, CryptMethod crypt,
                std::span<std::byte> block);
// ok when the trailer in `block` (the whole block as stored) fits id, place, size and data.
platform::Status CheckBlock(std::span<const std::byte> block, BlockId bid, BlockPlace place);

// The first 8 bytes of an internal block.
//
//   btype (1), cLevel (1), cEnt (2), lcbTotal (4; subnode blocks: 0)
inline constexpr std::uint8_t kDataTreeBlock = 1;     // XBLOCK (level 1), XXBLOCK (level 2)
inline constexpr std::uint8_t kSubnodeTreeBlock = 2;  // SLBLOCK (level 0), SIBLOCK (level 1)

struct InternalBlock {
  std::uint8_t type = 0;
  std::uint8_t level = 0;
  std::uint16_t count = 0;
  std::uint32_t total = 0;
  std::span<const std::byte> entries;  // exactly those in use

  std::size_t EntrySize() const;
  // The first 8 bytes as they are stored; `entries` stays empty.
  static InternalBlock DecodeHeader(std::span<const std::byte> bytes);
  // kCorrupt when `bytes` is none of the four kinds or has more entries than fit.
  static platform::Result<InternalBlock> Parse(std::span<const std::byte> bytes, BlockId bid);
  // Appends the ids of the blocks this one refers to, 0s left out.
  void AppendReferences(std::vector<BlockId>& to) const;
};

// The bytes of an internal block with room for `count` entries of `entrySize`, header done.
std::vector<std::byte> StartInternalBlock(std::uint8_t type, std::uint8_t level, std::size_t count,
                                          std::size_t entrySize, std::uint32_t total);

}  // namespace parvane::pstfile
