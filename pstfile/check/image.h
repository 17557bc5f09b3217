// A PST file as the checker sees it: bytes at offsets, a header, two B-trees, blocks.
//
// Nothing here judges. What cannot be read is absent (none, false); the checks that walk the trees
// and blocks say why. Every place and size taken from the file is checked before it is used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile::check {

// The header's fields that mean something to the checker ([MS-PST] 2.2.2.6).
struct HeaderFields {
  std::uint32_t magic = 0;
  std::uint32_t partialCrc = 0;
  std::uint16_t clientMagic = 0;
  std::uint16_t version = 0;
  std::uint16_t clientVersion = 0;
  std::uint8_t platformCreate = 0;
  std::uint8_t platformAccess = 0;
  std::uint32_t openerData1 = 0;  // dwReserved1, dwReserved2: Outlook's, zero in a new file
  std::uint32_t openerData2 = 0;
  std::uint64_t unusedBlockId = 0;
  std::uint64_t nextPageId = 0;
  std::uint32_t unique = 0;
  std::array<std::uint32_t, 32> nodeCounters{};
  std::uint64_t endOfFile = 0;
  std::uint64_t lastAMap = 0;
  std::uint64_t freeBytes = 0;
  std::uint64_t freePageBytes = 0;
  std::uint64_t nodeRootId = 0;
  std::uint64_t nodeRootOffset = 0;
  std::uint64_t blockRootId = 0;
  std::uint64_t blockRootOffset = 0;
  std::uint8_t mapState = 0;
  std::uint32_t rootReserved = 0;  // dwReserved of ROOT
  std::uint32_t rootTail = 0;      // bReserved and wReserved
  std::uint32_t align = 0;         // dwAlign
  bool freePageMapsFull = false;   // rgbFM and rgbFP all FF
  std::uint8_t sentinel = 0;
  std::uint8_t cryptMethod = 0;
  std::uint16_t reserved = 0;  // rgbReserved
  std::uint64_t nextBlockId = 0;
  std::uint32_t fullCrc = 0;

  static HeaderFields Decode(std::span<const std::byte, kHeaderSize> bytes);
};

struct BlockEntry {
  BlockId bid;
  std::uint64_t offset = 0;
  std::uint16_t dataSize = 0;
  std::uint16_t references = 0;
};

struct NodeEntry {
  NodeId nid;
  BlockId data;
  BlockId sub;
  NodeId parent;
};

// One page of a B-tree, decoded as far as both trees and all levels agree.
struct TreePage {
  std::array<std::byte, kPageSize> bytes;
  std::span<const std::byte> body() const { return std::span(bytes).first(kPageBodySize); }
  unsigned count() const { return std::to_integer<unsigned>(bytes[488]); }
  unsigned maximum() const { return std::to_integer<unsigned>(bytes[489]); }
  unsigned entrySize() const { return std::to_integer<unsigned>(bytes[490]); }
  unsigned level() const { return std::to_integer<unsigned>(bytes[491]); }
};

enum class TreeKind { kBlocks, kNodes };

inline constexpr unsigned kMaximumTreeLevel = 8;
// The size entries of a page must have.
constexpr unsigned TreeEntrySize(TreeKind kind, unsigned level) {
  return level > 0 || kind == TreeKind::kBlocks ? 24 : 32;
}
BlockEntry DecodeBlockEntry(std::span<const std::byte> entry);
NodeEntry DecodeNodeEntry(std::span<const std::byte> entry);

class Image {
 public:
  // kUnsupported and kCorrupt as CheckFile says.
  static platform::Result<std::unique_ptr<Image>> Open(platform::FileSystem& files,
                                                       std::u16string_view path);

  std::uint64_t size() const { return _size; }
  const HeaderFields& header() const { return _header; }
  std::span<const std::byte, kHeaderSize> headerBytes() const { return _headerBytes; }
  // Goes on with another header than the one at offset 0.
  void UseHeader(const HeaderFields& header) { _header = header; }
  // The first read error, if any: the file could not be examined to its end.
  const platform::Status& readStatus() const { return _readStatus; }

  // False when the range is not wholly inside the file or cannot be read.
  bool Read(std::uint64_t offset, std::span<std::byte> bytes);
  // The same, through a large buffer: for reading neighbours one after the other.
  std::optional<std::span<const std::byte>> ReadAhead(std::uint64_t offset, std::size_t size);
  // A page by way of a small cache. Offsets that are not a page's place are refused.
  const TreePage* Page(std::uint64_t offset);

  std::optional<BlockEntry> FindBlock(BlockId bid);
  std::optional<NodeEntry> FindNode(NodeId nid);

  // The decoded data of a block; none when it is not in the tree or its place is impossible.
  std::optional<BlockSlice> ReadBlock(BlockId bid);
  std::optional<BlockSlice> ReadBlock(const BlockEntry& entry);
  // Bytes of data below a root, as the root itself tells. 0 for none or unreadable.
  std::uint64_t DataSize(BlockId root);

 private:
  Image() = default;
  std::optional<std::span<const std::byte>> FindEntry(TreeKind kind, std::uint64_t key);

  struct CachedPage {
    std::uint64_t offset = 0;  // 0: empty
    TreePage page;
  };
  struct CachedBlock {
    BlockId bid;
    BlockSlice slice;
  };

  std::unique_ptr<platform::RandomAccessFile> _file;
  std::uint64_t _size = 0;
  std::array<std::byte, kHeaderSize> _headerBytes{};
  HeaderFields _header;
  platform::Status _readStatus;
  std::vector<CachedPage> _pages;
  std::vector<CachedBlock> _blocks;
  std::vector<std::byte> _ahead;
  std::uint64_t _aheadOffset = 0;
  std::size_t _aheadSize = 0;
  std::size_t _aheadStep = 0;
};

}  // namespace parvane::pstfile::check
