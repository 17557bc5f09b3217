#include "pstfile/ltp/heap_page.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {
namespace {

static_assert(kHeapPageSize == kMaximumBlockData);

using platform::Result;
using platform::Status;
using platform::StatusCode;

constexpr std::size_t kPageLimit = kHeapPageSize - kHeapPageSpare;

Status BadPage(std::uint32_t number, const std::string& what) {
  return {StatusCode::kCorrupt, "heap page " + std::to_string(number) + ": " + what};
}

}  // namespace

// [MS-PST] 2.3.1.2. A level promises the least that is free: others look for room by it.
std::uint8_t FillLevelOf(std::size_t freeBytes) {
  static constexpr std::array<std::uint16_t, 15> kLowerBounds{
      3584, 2560, 2048, 1792, 1536, 1280, 1024, 768, 512, 256, 128, 64, 32, 16, 8};
  for (std::uint8_t level = 0; level < kLowerBounds.size(); ++level) {
    if (freeBytes >= kLowerBounds[level]) return level;
  }
  return 15;
}

HeapPage::HeapPage(std::uint32_t number)
    : _number(number), _bytes(platform::MakePooledBuffer<kHeapPageSize>()) {
  constexpr std::size_t kItemsOfSmallObject = 48;
  _starts.reserve(kItemsOfSmallObject);
  const std::size_t header = HeapHeaderSize(number);
  std::memset(_bytes.get(), 0, header);
  _starts.push_back(static_cast<std::uint16_t>(header));
  if (number == 0) _bytes[fields::HeapHeader::kSignature.offset] = kHeapSignature;
}

Result<HeapPage> HeapPage::Decode(std::uint32_t number, std::span<const std::byte> block) {
  const std::size_t header = HeapHeaderSize(number);
  if (block.size() < header + HeapMapSize(0) || block.size() > kHeapPageSize) {
    return BadPage(number, "block of " + std::to_string(block.size()) + " bytes");
  }
  if (number == 0 && !BeginsHeap(block)) return BadPage(number, "bSig is not EC");
  const std::size_t map = LoadField(block, fields::HeapHeader::kMap);
  if (map < header || map + HeapMapSize(0) > block.size()) {
    return BadPage(number, "ibHnpm " + std::to_string(map) + " outside the page");
  }
  const std::size_t count = LoadField(block, fields::HeapPageMap::kCount, map);
  if (count > kMaxHeapItemsPerPage || map + HeapMapSize(count) > block.size()) {
    return BadPage(number, "cAlloc " + std::to_string(count) + " does not fit");
  }
  // Where one item ends the next begins: a start out of order would give two of them the same
  // bytes, and a change of one would damage the other.
  HeapPage page(number);
  page._starts.resize(count + 1);
  std::size_t last = header;
  for (std::size_t i = 0; i <= count; ++i) {
    const std::size_t start = HeapItemStart(block, map, i);
    if (start < last || start > map) {
      return BadPage(number, "item " + std::to_string(i + 1) + " at " + std::to_string(start));
    }
    page._starts[i] = static_cast<std::uint16_t>(start);
    last = start;
  }
  std::memcpy(page._bytes.get(), block.data(), last);
  return page;
}

bool HeapPage::FitsInstead(std::size_t item, std::size_t size) const {
  return EncodedSize(ItemsEnd() - Item(item).size() + size, items()) <= kPageLimit;
}

std::size_t HeapPage::FreeBytes() const {
  const std::size_t used = EncodedSize(ItemsEnd(), items());
  return used < kPageLimit ? kPageLimit - used : 0;
}

// Ids name items by their number in the page, so an item that is freed stays, with no bytes.
void HeapPage::ResizeItem(std::size_t item, std::size_t size) {
  const std::size_t end = _starts[item];
  const std::size_t oldSize = end - _starts[item - 1];
  if (size == oldSize) return;
  std::memmove(&_bytes[_starts[item - 1] + size], &_bytes[end], ItemsEnd() - end);
  if (size > oldSize) std::memset(&_bytes[end], 0, size - oldSize);
  for (std::size_t i = item; i < _starts.size(); ++i) {
    _starts[i] = static_cast<std::uint16_t>(_starts[i] + size - oldSize);
  }
}

std::uint8_t HeapPage::FillLevel() const { return FillLevelOf(FreeBytes()); }

std::uint8_t HeapPage::StoredFillLevel(std::uint32_t index) const {
  const auto both = std::to_integer<unsigned>(_bytes[FillLevelOffset(_number) + index / 2]);
  return static_cast<std::uint8_t>(index % 2 == 0 ? both & 15 : both >> 4);
}

void HeapPage::SetStoredFillLevel(std::uint32_t index, std::uint8_t level) {
  std::byte& both = _bytes[FillLevelOffset(_number) + index / 2];
  both = index % 2 == 0 ? (both & std::byte{0xF0}) | std::byte{level}
                        : (both & std::byte{0x0F}) | (std::byte{level} << 4);
}

std::uint8_t HeapPage::client() const {
  return LoadField<std::uint8_t>(Bytes(), fields::HeapHeader::kClient);
}
HeapId HeapPage::userRoot() const {
  return HeapId(LoadField<std::uint32_t>(Bytes(), fields::HeapHeader::kUserRoot));
}
void HeapPage::SetClient(HeapClient client) {
  StoreField(Bytes(), fields::HeapHeader::kClient, static_cast<std::uint8_t>(client));
}
void HeapPage::SetUserRoot(HeapId root) {
  StoreField(Bytes(), fields::HeapHeader::kUserRoot, root.value);
}

std::span<const std::byte> HeapPage::Encode(bool isLast) {
  // The map is aligned to 2 bytes. Only the last block of a data tree may be shorter than a full
  // one, however little is in the page.
  const std::size_t map = (ItemsEnd() + 1) & ~std::size_t{1};
  const std::size_t size = isLast ? EncodedSize(ItemsEnd(), items()) : kHeapPageSize;
  std::memset(&_bytes[ItemsEnd()], 0, size - ItemsEnd());
  const auto bytes = Bytes();
  std::size_t empty = 0;
  for (std::size_t i = 0; i < _starts.size(); ++i) {
    if (i > 0 && _starts[i] == _starts[i - 1]) ++empty;
    StoreU16(bytes, map + fields::kSizeOf<fields::HeapPageMap> + 2 * i, _starts[i]);
  }
  StoreField(bytes, fields::HeapPageMap::kCount, items(), map);
  StoreField(bytes, fields::HeapPageMap::kFree, empty, map);
  StoreField(bytes, fields::HeapHeader::kMap, map);
  return bytes.first(size);
}

}  // namespace parvane::pstfile
