#include "pstfile/check/image.h"

#include <algorithm>
#include <array>
#include <string>

#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/file_kind.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/tree_page.h"

namespace parvane::pstfile::check {
namespace {

using platform::Result;
using platform::Status;

// A check visits leaf by leaf, but looks nodes and blocks up in no order: with this much, the inner
// pages of a 20 GB file stay, and most of the leaves that a folder's messages share.
constexpr std::size_t kCachedPages = 8192;  // 4 MiB
constexpr std::size_t kCachedBlocks = 512;  // 4 MiB
constexpr std::size_t kReadAhead = std::size_t{1} << 20;
constexpr std::size_t kSmallestRead = kMaximumBlockSize;

}  // namespace

Result<std::unique_ptr<Image>> Image::Open(platform::FileSystem& files, std::u16string_view path) {
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::unique_ptr<Image> image(new Image());
  image->_file = std::move(*file);
  const auto size = image->_file->Size();
  if (!size.ok()) return size.status();
  image->_size = *size;
  std::array<std::byte, kHeaderSize> header{};
  const auto start = std::span(header).first(
      static_cast<std::size_t>(std::min<std::uint64_t>(image->_size, kHeaderSize)));
  if (!image->Read(0, start)) return image->_readStatus;
  if (FileKind kind = KindOf(start); !kind.status.ok()) return kind.status;
  image->_header = FileHeader::Decode(header);
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

const PageBytes* Image::Page(std::uint64_t offset) {
  if (offset < kFirstAMapOffset || offset % kPageSize != 0) return nullptr;
  // One slot for each place, and whoever comes last has it: what callers get is theirs until the
  // next call only.
  CachedPage& slot = _pages[offset / kPageSize % kCachedPages];
  if (slot.offset == offset) return &slot.page;
  slot.offset = 0;
  if (!Read(offset, slot.page)) return nullptr;
  slot.offset = offset;
  if (_judge != nullptr) _judge->OnPageRead(offset, slot.page);
  return &slot.page;
}

std::optional<std::span<const std::byte>> Image::FindEntry(TreeKind kind, std::uint64_t key) {
  const PageType tree = PageTypeOf(kind);
  std::uint64_t offset =
      (kind == TreeKind::kBlocks ? _header.blockRoot : _header.nodeRoot).offset.value;
  unsigned above = kMaximumTreeLevel + 1;
  for (;;) {
    const PageBytes* page = Page(offset);
    if (page == nullptr) return std::nullopt;
    const TreePageInfo info = TreePageInfo::Decode(*page);
    // Each level must lie below the last: pages that refer to each other in a ring end here.
    if (info.level >= above) return std::nullopt;
    above = info.level;
    const std::size_t size = TreeEntrySize(tree, above);
    if (info.entrySize != size || info.count == 0 || info.count > kTreeBodySize / size) {
      return std::nullopt;
    }
    const auto entry = [&](std::size_t i) { return std::span(*page).subspan(i * size, size); };
    // The last entry whose key is not above the one sought.
    std::size_t low = 0;
    std::size_t high = info.count;
    while (low < high) {
      const std::size_t middle = (low + high) / 2;
      if (LoadTreeKey(entry(middle), tree) <= key) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low == 0) return std::nullopt;
    const auto found = entry(low - 1);
    if (above == 0) {
      if (LoadTreeKey(found, tree) != key) return std::nullopt;
      return found;
    }
    offset = LoadTreeChild(found).offset.value;
  }
}

std::optional<BlockRecord> Image::FindBlock(BlockId bid) {
  if (!bid) return std::nullopt;
  const auto entry = FindEntry(TreeKind::kBlocks, bid.value);
  if (!entry && _judge != nullptr) _judge->OnMissing(bid);
  if (!entry) return std::nullopt;
  return BlockRecord::Decode(*entry);
}

std::optional<NodeRecord> Image::FindNode(NodeId nid) {
  const auto entry = FindEntry(TreeKind::kNodes, nid.value);
  if (!entry) return std::nullopt;
  return DecodeNode(*entry);
}

std::optional<BlockSlice> Image::ReadBlock(BlockId bid) {
  // The lowest bit of an id is reserved.
  CachedBlock& slot = _blocks[(bid.value >> 1) % kCachedBlocks];
  if (bid && slot.bid == bid) return slot.slice;
  const auto entry = FindBlock(bid);
  if (!entry) return std::nullopt;
  return ReadBlock(*entry);
}

std::optional<BlockSlice> Image::ReadBlock(const BlockRecord& entry) {
  CachedBlock& slot = _blocks[(entry.bid.value >> 1) % kCachedBlocks];
  if (slot.bid == entry.bid) return slot.slice;
  const std::size_t size = entry.place.dataSize;
  if (size == 0 || size > kMaximumBlockData) return std::nullopt;
  if (_judge != nullptr) _judge->OnBlockRead(entry);
  // Slices outlive their slot: a table being read holds its block while others push it out.
  const std::shared_ptr<std::byte[]> bytes(new std::byte[size]);
  const std::span<std::byte> span(bytes.get(), size);
  if (!Read(entry.place.offset.value, span)) return std::nullopt;
  // Internal blocks are never encoded.
  if (!entry.bid.IsInternal() && _header.crypt <= CryptMethod::kCyclic) {
    Decode(_header.crypt, CyclicKey(entry.bid.value), span);
  }
  slot = {entry.bid, BlockSlice(bytes, span)};
  return slot.slice;
}

std::uint64_t Image::DataSize(BlockId root) {
  if (!root) return 0;
  const auto entry = FindBlock(root);
  if (!entry) return 0;
  if (!root.IsInternal()) return entry->place.dataSize;
  const auto block = ReadBlock(*entry);
  if (!block || block->size() < kInternalBlockHeaderSize) return 0;
  return InternalBlock::DecodeHeader(block->bytes()).total;
}

}  // namespace parvane::pstfile::check
