// One page of a heap on a node, in memory ([MS-PST] 2.3.1).
//
//   page := header item* [pad byte] map          one data block of the node, at most 8176 bytes
//
//   page number       header
//   0                 HNHDR, 12 bytes: ibHnpm (2), bSig EC, bClientSig, hidUserRoot (4),
//                     rgbFillLevel (4: pages 0..7, a nibble each, low one first)
//   8, 136, 264 ...   HNBITMAPHDR, 66 bytes: ibHnpm (2), rgbFillLevel (64: this page and the
//                     next 127)
//   any other         HNPAGEHDR, 2 bytes: ibHnpm (2)
//
//   map, at the even offset ibHnpm: cAlloc (2), cFree (2), the start of each item (2 each) and
//   the end of the last. Items lie back to back from the end of the header. cFree counts the
//   empty items.
//
// Every page but the last is zero-filled after its map to 8176 bytes; the last ends with its map.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/buffer_pool.h"
#include "platform/recycled_vector.h"
#include "platform/status.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

inline constexpr std::size_t kHeapPageSize = 8176;
// Left free at the end of a full page, as other writers do: fill levels count without it.
inline constexpr std::size_t kHeapPageSpare = 12;
inline constexpr std::size_t kMaxHeapItem = 3580;
inline constexpr std::size_t kMaxHeapItemsPerPage = 2047;
inline constexpr std::uint32_t kMaxHeapPages = 65536;
inline constexpr std::byte kHeapSignature{0xEC};

// What a heap holds.
enum class HeapClient : std::uint8_t {
  kPropertyContext = 0xBC,
  kTableContext = 0x7C,
  kBTreeOnHeap = 0xB5,
};

// A heap item: page number << 16 | item number << 5, items numbered from 1. 0 is none.
struct HeapId {
  std::uint32_t value = 0;

  constexpr HeapId() = default;
  constexpr explicit HeapId(std::uint32_t hid) : value(hid) {}
  constexpr HeapId(std::uint32_t page, std::uint32_t item) : value((page << 16) | (item << 5)) {}
  constexpr std::uint32_t Page() const { return value >> 16; }
  constexpr std::uint32_t Item() const { return (value >> 5) & 0x7FF; }
  // Otherwise the value is the id of a subnode.
  constexpr bool IsHeapItem() const { return (value & 0x1F) == 0; }
  constexpr bool IsNull() const { return value == 0; }
  friend constexpr bool operator==(HeapId, HeapId) = default;
};

constexpr bool HoldsFillLevels(std::uint32_t page) { return page == 0 || page % 128 == 8; }
constexpr std::size_t HeapHeaderSize(std::uint32_t page) {
  return page == 0 ? 12 : page % 128 == 8 ? 66 : 2;
}
// The page whose header holds the fill level of `page`, and which nibble of it.
constexpr std::uint32_t FillLevelHolder(std::uint32_t page) {
  return page < 8 ? 0 : page - (page - 8) % 128;
}
constexpr std::uint32_t FillLevelIndex(std::uint32_t page) {
  return page < 8 ? page : (page - 8) % 128;
}
// Where in the header of such a page they begin.
constexpr std::size_t FillLevelOffset(std::uint32_t holder) {
  return (holder == 0 ? fields::HeapHeader::kFillLevels : fields::HeapBitmapHeader::kFillLevels)
      .offset;
}
// Whether a node's first block is the start of a heap.
inline bool BeginsHeap(std::span<const std::byte> block) {
  return block.size() >= HeapHeaderSize(0) &&
         block[fields::HeapHeader::kSignature.offset] == kHeapSignature;
}
// The map of a page and, by number from 0, where in the page an item starts; the last item's end
// is the start of the one behind it.
constexpr std::size_t HeapMapSize(std::size_t items) {
  return fields::kSizeOf<fields::HeapPageMap> + 2 * (items + 1);
}
inline std::size_t HeapItemStart(std::span<const std::byte> page, std::size_t map,
                                 std::size_t item) {
  return LoadU16(page, map + fields::kSizeOf<fields::HeapPageMap> + 2 * item);
}
// The class of a page by its free bytes; 0 is emptiest, 15 full.
std::uint8_t FillLevelOf(std::size_t freeBytes);

class HeapPage {
 public:
  // An empty page.
  explicit HeapPage(std::uint32_t number);
  // Parses a block. Checks the header, the map and every item's bounds.
  static platform::Result<HeapPage> Decode(std::uint32_t number, std::span<const std::byte> block);

  std::uint32_t number() const { return _number; }
  std::size_t items() const { return _starts.size() - 1; }
  // `item` is 1..items().
  std::span<const std::byte> Item(std::size_t item) const {
    return Bytes().subspan(_starts[item - 1],
                           static_cast<std::size_t>(_starts[item] - _starts[item - 1]));
  }
  std::span<std::byte> Item(std::size_t item) {
    return Bytes().subspan(_starts[item - 1],
                           static_cast<std::size_t>(_starts[item] - _starts[item - 1]));
  }

  // Room for one more item of this size.
  bool Fits(std::size_t size) const {
    return items() < kMaxHeapItemsPerPage &&
           EncodedSize(ItemsEnd() + size, items() + 1) <= kHeapPageSize - kHeapPageSpare;
  }
  // Room for item `item` to take this size.
  bool FitsInstead(std::size_t item, std::size_t size) const;
  // Bytes that items may still take, a further map entry apart.
  std::size_t FreeBytes() const;
  // Adds an item that Fits, zero bytes or these, and returns its number.
  std::size_t Add(std::size_t size) {
    std::memset(&_bytes[ItemsEnd()], 0, size);
    return EndItem(size);
  }
  std::size_t Add(std::span<const std::byte> bytes) {
    if (!bytes.empty()) std::memcpy(&_bytes[ItemsEnd()], bytes.data(), bytes.size());
    return EndItem(bytes.size());
  }
  // Gives an item another size (FitsInstead); its first bytes stay.
  void ResizeItem(std::size_t item, std::size_t size);

  std::uint8_t FillLevel() const;
  // The nibbles that this page's header holds (HoldsFillLevels).
  std::uint8_t StoredFillLevel(std::uint32_t index) const;
  void SetStoredFillLevel(std::uint32_t index, std::uint8_t level);

  // Header fields of page 0.
  std::uint8_t client() const;
  HeapId userRoot() const;
  void SetClient(HeapClient client);
  void SetUserRoot(HeapId root);

  // Bytes of the block when it is the heap's last page.
  std::size_t EncodedSize() const { return EncodedSize(ItemsEnd(), items()); }
  // The block: zero-filled to 8176 bytes unless it is the heap's last page. Valid until the page
  // changes.
  std::span<const std::byte> Encode(bool isLast);

 private:
  std::size_t ItemsEnd() const { return _starts.back(); }
  static std::size_t EncodedSize(std::size_t itemsEnd, std::size_t items) {
    return ((itemsEnd + 1) & ~std::size_t{1}) + HeapMapSize(items);
  }
  std::size_t EndItem(std::size_t size) {
    _starts.push_back(static_cast<std::uint16_t>(ItemsEnd() + size));
    return items();
  }

  std::span<std::byte> Bytes() { return {_bytes.get(), kHeapPageSize}; }
  std::span<const std::byte> Bytes() const { return {_bytes.get(), kHeapPageSize}; }

  std::uint32_t _number;
  platform::RecycledVector<std::uint16_t> _starts;  // one more than items
  // Header, items, and then whatever was there.
  platform::PooledBuffer<kHeapPageSize> _bytes;
};

}  // namespace parvane::pstfile
