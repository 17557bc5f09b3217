#include "pstfile/check/image.h"

#include <algorithm>
#include <array>
#include <limits>

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
// As much as stays in the processor's own cache until its check sum is computed. Writers put small
// blocks into gaps further up, and go on where they were.
constexpr std::size_t kReadAhead = std::size_t{256} << 10;
constexpr std::size_t kPlacesAhead = 8;
// A folder's rows, its messages and what is shared are read in turns.
constexpr std::size_t kReadNear = std::size_t{128} << 10;
constexpr std::size_t kPlacesRead = 4;
constexpr std::size_t kPagesAhead = std::size_t{32} << 10;
// A message's subnodes and tables lie before its own block.
constexpr std::size_t kReadBehind = std::size_t{32} << 10;

// What of the bytes of a page is entries, by a format that was found sound.
struct Entries {
  const PageBytes& page;
  PageType tree;
  std::size_t size;
  std::size_t count;

  std::span<const std::byte> operator[](std::size_t i) const {
    return std::span(page).subspan(i * size, size);
  }
  std::uint64_t Key(std::size_t i) const { return LoadTreeKey((*this)[i], tree); }
};

std::optional<Entries> EntriesOf(const PageBytes& page, PageType tree, const TreePageInfo& info) {
  const std::size_t size = TreeEntrySize(tree, info.level);
  if (info.entrySize != size || info.count == 0 || info.count > kTreeBodySize / size) {
    return std::nullopt;
  }
  return Entries{page, tree, size, info.count};
}

bool IsAscending(const Entries& entries) {
  for (std::size_t i = 1; i < entries.count; ++i) {
    if (entries.Key(i) <= entries.Key(i - 1)) return false;
  }
  return true;
}

// The number of entries up to the last one whose key is not above `key`. The keys for which every
// comparison comes out the same are narrowed down to [low, high].
std::size_t CountUpTo(const Entries& entries, std::uint64_t key, std::uint64_t& low,
                      std::uint64_t& high) {
  std::size_t first = 0;
  std::size_t last = entries.count;
  while (first < last) {
    const std::size_t middle = (first + last) / 2;
    const std::uint64_t found = entries.Key(middle);
    if (found <= key) {
      first = middle + 1;
      low = std::max(low, found);
    } else {
      last = middle;
      high = std::min(high, found - 1);
    }
  }
  return first;
}

}  // namespace

Image::Image()
    : _ahead(kPlacesAhead, kReadAhead, 0),
      _near(kPlacesRead, kReadNear, kReadBehind),
      _pageReads(2, kPagesAhead, 0) {}

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
  image->_pageOffsets.resize(kCachedPages);
  image->_pages = std::make_unique_for_overwrite<PageBytes[]>(kCachedPages);
  image->_blocks.resize(kCachedBlocks);
  return image;
}

bool Image::Read(std::uint64_t offset, std::span<std::byte> bytes) {
  if (offset > _size || bytes.size() > _size - offset) return false;
  const auto read = _file->ReadAt(offset, bytes);
  if (!read.ok() && _readStatus.ok()) _readStatus = read.status();
  return read.ok() && *read == bytes.size();
}

std::optional<std::span<const std::byte>> Image::ReadAhead(std::uint64_t offset, std::size_t size) {
  if (offset > _size || size > _size - offset) return std::nullopt;
  return _ahead.Get(*_file, _size, offset, size, _readStatus);
}

std::optional<std::span<const std::byte>> Image::ReadNear(std::uint64_t offset, std::size_t size) {
  if (offset > _size || size > _size - offset) return std::nullopt;
  return _near.Get(*_file, _size, offset, size, _readStatus);
}

const PageBytes* Image::Page(std::uint64_t offset) {
  if (offset < kFirstAMapOffset || offset % kPageSize != 0) return nullptr;
  // One slot for each place, and whoever comes last has it: what callers get is theirs until the
  // next call only.
  const auto slot = static_cast<std::size_t>(offset / kPageSize % kCachedPages);
  PageBytes& page = _pages[slot];
  if (_pageOffsets[slot] == offset) return &page;
  _pageOffsets[slot] = 0;
  if (offset > _size || kPageSize > _size - offset) return nullptr;
  // Most pages of a tree lie side by side.
  const auto read = _pageReads.Get(*_file, _size, offset, kPageSize, _readStatus);
  if (!read) return nullptr;
  std::ranges::copy(*read, page.begin());
  _pageOffsets[slot] = offset;
  if (_judge != nullptr) _judge->OnPageRead(offset, page);
  return &page;
}

bool Image::FindLeaf(TreeKind kind, std::uint64_t key, Way& way) {
  way = {};
  Way found{.low = 0, .high = std::numeric_limits<std::uint64_t>::max()};
  std::uint64_t offset =
      (kind == TreeKind::kBlocks ? _header.blockRoot : _header.nodeRoot).offset.value;
  unsigned above = kMaximumTreeLevel + 1;
  for (;;) {
    const PageBytes* page = Page(offset);
    if (page == nullptr) return false;
    const TreePageInfo info = TreePageInfo::Decode(*page);
    // Each level must lie below the last: pages that refer to each other in a ring end here.
    if (info.level >= above) return false;
    above = info.level;
    const auto entries = EntriesOf(*page, PageTypeOf(kind), info);
    if (!entries) return false;
    if (above == 0) {
      found.leaf = offset;
      found.count = entries->count;
      found.isAscending = IsAscending(*entries);
      way = found;
      return true;
    }
    const std::size_t count = CountUpTo(*entries, key, found.low, found.high);
    if (count == 0) return false;
    offset = LoadTreeChild((*entries)[count - 1]).offset.value;
  }
}

std::optional<std::span<const std::byte>> Image::FindEntry(TreeKind kind, std::uint64_t key) {
  Way& way = _ways[kind == TreeKind::kBlocks ? 0 : 1];
  if ((key < way.low || key > way.high) && !FindLeaf(kind, key, way)) return std::nullopt;
  const PageBytes* page = Page(way.leaf);
  if (page == nullptr) return std::nullopt;
  const PageType tree = PageTypeOf(kind);
  const Entries entries{*page, tree, LeafEntrySize(tree), way.count};
  // Neighbours are asked for one after the other.
  const bool isNext = way.isAscending && way.next < entries.count && entries.Key(way.next) == key;
  if (!isNext) {
    std::uint64_t low = way.low;
    std::uint64_t high = way.high;
    const std::size_t count = CountUpTo(entries, key, low, high);
    if (count == 0 || entries.Key(count - 1) != key) return std::nullopt;
    way.next = count - 1;
  }
  return entries[way.next++];
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
  const auto stored = ReadNear(entry.place.offset.value, size);
  if (!stored) return std::nullopt;
  // Slices outlive their slot: a table being read holds its block while others push it out.
  const auto bytes = std::make_shared_for_overwrite<std::byte[]>(size);
  const std::span<std::byte> span(bytes.get(), size);
  // Internal blocks are never encoded.
  const bool encoded = !entry.bid.IsInternal() && _header.crypt <= CryptMethod::kCyclic;
  DecodeTo(encoded ? _header.crypt : CryptMethod::kNone, CyclicKey(entry.bid.value), *stored, span);
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
