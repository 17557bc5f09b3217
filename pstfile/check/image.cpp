#include "pstfile/check/image.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "pstfile/ndb/file_kind.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

using platform::Result;
using platform::Status;

constexpr std::size_t kCachedPages = 8192;  // 4 MiB
constexpr std::size_t kCachedBlocks = 512;  // 4 MiB
constexpr std::size_t kReadAhead = std::size_t{1} << 20;
constexpr std::size_t kSmallestRead = kMaximumBlockSize;

}  // namespace

HeaderFields HeaderFields::Decode(std::span<const std::byte, kHeaderSize> bytes) {
  HeaderFields h;
  h.magic = LoadU32(bytes, 0);
  h.partialCrc = LoadU32(bytes, 4);
  h.clientMagic = LoadU16(bytes, 8);
  h.version = LoadU16(bytes, 10);
  h.clientVersion = LoadU16(bytes, 12);
  h.platformCreate = LoadU8(bytes, 14);
  h.platformAccess = LoadU8(bytes, 15);
  h.openerData1 = LoadU32(bytes, 16);
  h.openerData2 = LoadU32(bytes, 20);
  h.unusedBlockId = LoadU64(bytes, 24);
  h.nextPageId = LoadU64(bytes, 32);
  h.unique = LoadU32(bytes, 40);
  for (std::size_t i = 0; i < h.nodeCounters.size(); ++i) {
    h.nodeCounters[i] = LoadU32(bytes, 44 + 4 * i);
  }
  h.rootReserved = LoadU32(bytes, 180);
  h.endOfFile = LoadU64(bytes, 184);
  h.lastAMap = LoadU64(bytes, 192);
  h.freeBytes = LoadU64(bytes, 200);
  h.freePageBytes = LoadU64(bytes, 208);
  h.nodeRootId = LoadU64(bytes, 216);
  h.nodeRootOffset = LoadU64(bytes, 224);
  h.blockRootId = LoadU64(bytes, 232);
  h.blockRootOffset = LoadU64(bytes, 240);
  h.mapState = LoadU8(bytes, 248);
  h.rootTail = LoadU32(bytes, 248) >> 8;
  h.align = LoadU32(bytes, 252);
  h.freePageMapsFull = std::all_of(bytes.begin() + 256, bytes.begin() + 512,
                                   [](std::byte b) { return b == std::byte{0xFF}; });
  h.sentinel = LoadU8(bytes, 512);
  h.cryptMethod = LoadU8(bytes, 513);
  h.reserved = LoadU16(bytes, 514);
  h.nextBlockId = LoadU64(bytes, 516);
  h.fullCrc = LoadU32(bytes, 524);
  return h;
}

BlockEntry DecodeBlockEntry(std::span<const std::byte> entry) {
  return {BlockId(LoadU64(entry, 0)), LoadU64(entry, 8), LoadU16(entry, 16), LoadU16(entry, 18)};
}

NodeEntry DecodeNodeEntry(std::span<const std::byte> entry) {
  return {NodeId(LoadU32(entry, 0)), BlockId(LoadU64(entry, 8)), BlockId(LoadU64(entry, 16)),
          NodeId(LoadU32(entry, 24))};
}

Result<std::unique_ptr<Image>> Image::Open(platform::FileSystem& files, std::u16string_view path) {
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::unique_ptr<Image> image(new Image());
  image->_file = std::move(*file);
  const auto size = image->_file->Size();
  if (!size.ok()) return size.status();
  image->_size = *size;
  const auto start =
      std::span(image->_headerBytes)
          .first(static_cast<std::size_t>(std::min<std::uint64_t>(image->_size, kHeaderSize)));
  if (!image->Read(0, start)) return image->_readStatus;
  if (FileKind kind = KindOf(start); !kind.status.ok()) return kind.status;
  image->_header = HeaderFields::Decode(image->_headerBytes);
  image->_pages.resize(kCachedPages);
  image->_blocks.resize(kCachedBlocks);
  image->_ahead.resize(kReadAhead);
  return image;
}

bool Image::Read(std::uint64_t offset, std::span<std::byte> bytes) {
  if (offset > _size || bytes.size() > _size - offset) return false;
  const auto read = _file->ReadAt(offset, bytes);
  if (!read.ok() && _readStatus.ok()) _readStatus = read.status();
  return read.ok() && *read == bytes.size();
}

std::optional<std::span<const std::byte>> Image::ReadAhead(std::uint64_t offset, std::size_t size) {
  if (size > kReadAhead || offset > _size || size > _size - offset) return std::nullopt;
  if (offset < _aheadOffset || offset + size > _aheadOffset + _aheadSize) {
    // Sequential reading doubles the stretch read at once; a leap begins again with little.
    const std::uint64_t end = _aheadOffset + _aheadSize;
    const bool onward = offset >= _aheadOffset && offset <= end + kSmallestRead;
    _aheadStep = onward ? std::min(_aheadStep * 2, kReadAhead) : kSmallestRead;
    _aheadSize = static_cast<std::size_t>(
        std::min<std::uint64_t>(std::max(_aheadStep, size), _size - offset));
    _aheadOffset = offset;
    if (!Read(offset, std::span(_ahead).first(_aheadSize))) {
      _aheadSize = 0;
      return std::nullopt;
    }
  }
  return std::span(_ahead).subspan(static_cast<std::size_t>(offset - _aheadOffset), size);
}

const TreePage* Image::Page(std::uint64_t offset) {
  if (offset < kFirstAMapOffset || offset % kPageSize != 0) return nullptr;
  CachedPage& slot = _pages[offset / kPageSize % kCachedPages];
  if (slot.offset == offset) return &slot.page;
  slot.offset = 0;
  if (!Read(offset, slot.page.bytes)) return nullptr;
  slot.offset = offset;
  return &slot.page;
}

std::optional<std::span<const std::byte>> Image::FindEntry(TreeKind kind, std::uint64_t key) {
  std::uint64_t offset =
      kind == TreeKind::kBlocks ? _header.blockRootOffset : _header.nodeRootOffset;
  const std::uint64_t mask = kind == TreeKind::kBlocks ? ~std::uint64_t{1} : ~std::uint64_t{0};
  unsigned above = kMaximumTreeLevel + 1;
  for (;;) {
    const TreePage* page = Page(offset);
    if (page == nullptr || page->level() >= above) return std::nullopt;
    above = page->level();
    const unsigned size = TreeEntrySize(kind, above);
    if (page->entrySize() != size || page->count() == 0 || page->count() > 488 / size) {
      return std::nullopt;
    }
    // The last entry whose key is not above the one sought.
    unsigned low = 0;
    unsigned high = page->count();
    while (low < high) {
      const unsigned middle = (low + high) / 2;
      if ((LoadU64(page->bytes, middle * size) & mask) <= key) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low == 0) return std::nullopt;
    const auto entry = page->body().subspan((low - 1) * size, size);
    if (above == 0) {
      if ((LoadU64(entry, 0) & mask) != key) return std::nullopt;
      return entry;
    }
    offset = LoadU64(entry, 16);
  }
}

std::optional<BlockEntry> Image::FindBlock(BlockId bid) {
  if (!bid) return std::nullopt;
  const auto entry = FindEntry(TreeKind::kBlocks, bid.value);
  if (!entry) return std::nullopt;
  return DecodeBlockEntry(*entry);
}

std::optional<NodeEntry> Image::FindNode(NodeId nid) {
  const auto entry = FindEntry(TreeKind::kNodes, nid.value);
  if (!entry) return std::nullopt;
  return DecodeNodeEntry(*entry);
}

std::optional<BlockSlice> Image::ReadBlock(BlockId bid) {
  CachedBlock& slot = _blocks[(bid.value >> 1) % kCachedBlocks];
  if (bid && slot.bid == bid) return slot.slice;
  const auto entry = FindBlock(bid);
  if (!entry) return std::nullopt;
  return ReadBlock(*entry);
}

std::optional<BlockSlice> Image::ReadBlock(const BlockEntry& entry) {
  CachedBlock& slot = _blocks[(entry.bid.value >> 1) % kCachedBlocks];
  if (slot.bid == entry.bid) return slot.slice;
  const std::size_t size = entry.dataSize;
  if (size == 0 || size > kMaximumBlockData) return std::nullopt;
  const std::shared_ptr<std::byte[]> bytes(new std::byte[size]);
  const std::span<std::byte> span(bytes.get(), size);
  if (!Read(entry.offset, span)) return std::nullopt;
  if (!entry.bid.IsInternal() && _header.cryptMethod <= 2) {
    Decode(static_cast<CryptMethod>(_header.cryptMethod), CyclicKey(entry.bid.value), span);
  }
  slot = {entry.bid, BlockSlice(bytes, span)};
  return slot.slice;
}

std::uint64_t Image::DataSize(BlockId root) {
  if (!root) return 0;
  const auto entry = FindBlock(root);
  if (!entry) return 0;
  if (!root.IsInternal()) return entry->dataSize;
  const auto block = ReadBlock(*entry);
  return block && block->size() >= kInternalBlockHeaderSize ? LoadU32(block->bytes(), 4) : 0;
}

}  // namespace parvane::pstfile::check
