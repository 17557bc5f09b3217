// Pages: 512 bytes each, the last 16 their trailer ([MS-PST] 2.2.2.7.1).
//
//   offset size field
//      496    1 ptype        what the page is
//      497    1 ptypeRepeat  the same
//      498    2 wSig         tree pages and DList: signature; maps: 0
//      500    4 dwCRC        over bytes 0..495
//      504    8 bid          tree pages: their PageId; maps: their own offset; DList: next PageId
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/status.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

enum class PageType : std::uint8_t {
  kBlockTree = 0x80,
  kNodeTree = 0x81,
  kFMap = 0x82,
  kPMap = 0x83,
  kAMap = 0x84,
  kFPMap = 0x85,
  kDList = 0x86,
};

// "BBT", "AMap" ...
const char* PageTypeName(PageType type);

using PageBytes = std::array<std::byte, kPageSize>;

// A reference to a page of a tree (BREF).
struct PageRef {
  PageId id;
  FileOffset offset;
  friend bool operator==(const PageRef&, const PageRef&) = default;
};
// The reference that begins at `at`.
inline PageRef LoadPageRef(std::span<const std::byte> bytes, std::size_t at) {
  return {PageId(LoadField(bytes, fields::PageReference::kId, at)),
          FileOffset(LoadField(bytes, fields::PageReference::kOffset, at))};
}
inline void StorePageRef(std::span<std::byte> bytes, std::size_t at, PageRef ref) {
  StoreField(bytes, fields::PageReference::kId, ref.id.value, at);
  StoreField(bytes, fields::PageReference::kOffset, ref.offset.value, at);
}

// What a page says of itself, as it is stored.
struct PageTrailer {
  std::uint8_t type = 0;
  std::uint8_t typeRepeat = 0;
  std::uint16_t signature = 0;
  std::uint32_t crc = 0;
  std::uint64_t id = 0;

  static PageTrailer Decode(std::span<const std::byte, kPageSize> page);
};

// Writes the trailer of a page whose body is complete. `id` is what the trailer's bid holds; the
// signature is computed for tree pages and the DList.
void SealPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset,
              std::uint64_t id);

// ok when the trailer fits the body, the type, the place and the id.
platform::Status CheckPage(std::span<const std::byte, kPageSize> page, PageType type,
                           FileOffset offset, std::uint64_t id);

// A map page full of ones at `offset`: nothing free.
void FillMapPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset);

// ---- Where the maps are -------------------------------------------------------------------------
// The file beyond 0x4400 consists of intervals of 253,952 bytes; each begins with its AMap, which
// other map pages may follow directly:
//
//   page   in interval n when              why
//   AMap   always
//   PMap   n % 8 == 0                      one bit a page
//   FMap   n >= 128, (n - 128) % 496 == 0  one byte an AMap
//   FPMap  n >= 8192, (n - 8192) % 31744 == 0
//
// All but the AMaps are relics that old readers want to find, filled with FF.

constexpr bool HasPMap(std::uint64_t interval) { return interval % 8 == 0; }
constexpr bool HasFMap(std::uint64_t interval) {
  return interval >= 128 && (interval - 128) % 496 == 0;
}
constexpr bool HasFPMap(std::uint64_t interval) {
  return interval >= 8192 && (interval - 8192) % 31744 == 0;
}
constexpr unsigned MapPageCount(std::uint64_t interval) {
  return 1U + (HasPMap(interval) ? 1 : 0) + (HasFMap(interval) ? 1 : 0) +
         (HasFPMap(interval) ? 1 : 0);
}
constexpr std::uint64_t IntervalOffset(std::uint64_t interval) {
  return kFirstAMapOffset + interval * kAMapInterval;
}
// The interval `offset` lies in; offset >= 0x4400.
constexpr std::uint64_t IntervalOf(std::uint64_t offset) {
  return (offset - kFirstAMapOffset) / kAMapInterval;
}
// The first byte of an interval that is free for use.
constexpr std::uint64_t IntervalDataOffset(std::uint64_t interval) {
  return IntervalOffset(interval) + MapPageCount(interval) * kPageSize;
}
static_assert(IntervalOffset(128) + 2 * kPageSize == 32'524'288 && HasFMap(128) && HasPMap(128));
static_assert(IntervalOffset(8192) == 2'080'392'192 && HasFPMap(8192) && !HasFMap(8192));

}  // namespace parvane::pstfile
