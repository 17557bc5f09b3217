#include "pstfile/ndb/page.h"

#include <algorithm>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Status;
using platform::StatusCode;

namespace {

bool HasSignature(PageType type) {
  return type == PageType::kBlockTree || type == PageType::kNodeTree || type == PageType::kDList;
}

}  // namespace

const char* PageTypeName(PageType type) {
  switch (type) {
    case PageType::kBlockTree:
      return "BBT";
    case PageType::kNodeTree:
      return "NBT";
    case PageType::kFMap:
      return "FMap";
    case PageType::kPMap:
      return "PMap";
    case PageType::kAMap:
      return "AMap";
    case PageType::kFPMap:
      return "FPMap";
    case PageType::kDList:
      return "DList";
  }
  return "unknown";
}

void SealPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset,
              std::uint64_t id) {
  StoreU8(page, 496, static_cast<std::uint8_t>(type));
  StoreU8(page, 497, static_cast<std::uint8_t>(type));
  StoreU16(page, 498, HasSignature(type) ? Signature(offset.value, id) : std::uint16_t{0});
  StoreU32(page, 500, Crc(page.first(kPageBodySize)));
  StoreU64(page, 504, id);
}

Status CheckPage(std::span<const std::byte, kPageSize> page, PageType type, FileOffset offset,
                 std::uint64_t id) {
  const auto bad = [&](const char* field, std::uint64_t found, std::uint64_t expected) {
    return Status(StatusCode::kCorrupt, std::string(PageTypeName(type)) + " page at " +
                                            ToString(offset) + ": " + field + " " + ToHex(found) +
                                            ", expected " + ToHex(expected));
  };
  const auto wanted = static_cast<std::uint8_t>(type);
  if (LoadU8(page, 496) != wanted) return bad("ptype", LoadU8(page, 496), wanted);
  if (LoadU8(page, 497) != wanted) return bad("ptypeRepeat", LoadU8(page, 497), wanted);
  const std::uint32_t crc = Crc(page.first(kPageBodySize));
  if (LoadU32(page, 500) != crc) return bad("dwCRC", LoadU32(page, 500), crc);
  if (LoadU64(page, 504) != id) return bad("bid", LoadU64(page, 504), id);
  if (HasSignature(type)) {
    const std::uint16_t signature = Signature(offset.value, id);
    if (LoadU16(page, 498) != signature) return bad("wSig", LoadU16(page, 498), signature);
  }
  return {};
}

void FillMapPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset) {
  std::fill_n(page.begin(), kPageBodySize, std::byte{0xFF});
  SealPage(page, type, offset, offset.value);
}

}  // namespace parvane::pstfile
