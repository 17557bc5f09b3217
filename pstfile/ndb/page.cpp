#include "pstfile/ndb/page.h"

#include <algorithm>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {

using platform::Status;
using platform::StatusCode;
using Trailer = fields::PageTrailer;

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
  StoreField(page, Trailer::kType, static_cast<std::uint8_t>(type));
  StoreField(page, Trailer::kTypeRepeat, static_cast<std::uint8_t>(type));
  StoreField(page, Trailer::kSignature,
             HasSignature(type) ? Signature(offset.value, id) : std::uint16_t{0});
  StoreField(page, Trailer::kCrc, Crc(page.first(kPageBodySize)));
  StoreField(page, Trailer::kId, id);
}

Status CheckPage(std::span<const std::byte, kPageSize> page, PageType type, FileOffset offset,
                 std::uint64_t id) {
  const auto bad = [&](const char* field, std::uint64_t found, std::uint64_t expected) {
    return Status(StatusCode::kCorrupt, std::string(PageTypeName(type)) + " page at " +
                                            ToString(offset) + ": " + field + " " + ToHex(found) +
                                            ", expected " + ToHex(expected));
  };
  const auto wanted = static_cast<std::uint8_t>(type);
  if (LoadField(page, Trailer::kType) != wanted)
    return bad("ptype", LoadField(page, Trailer::kType), wanted);
  if (LoadField(page, Trailer::kTypeRepeat) != wanted)
    return bad("ptypeRepeat", LoadField(page, Trailer::kTypeRepeat), wanted);
  const std::uint32_t crc = Crc(page.first(kPageBodySize));
  if (LoadField(page, Trailer::kCrc) != crc)
    return bad("dwCRC", LoadField(page, Trailer::kCrc), crc);
  if (LoadField(page, Trailer::kId) != id) return bad("bid", LoadField(page, Trailer::kId), id);
  if (HasSignature(type)) {
    const std::uint16_t signature = Signature(offset.value, id);
    if (LoadField(page, Trailer::kSignature) != signature)
      return bad("wSig", LoadField(page, Trailer::kSignature), signature);
  }
  return {};
}

void FillMapPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset) {
  std::fill_n(page.begin(), kPageBodySize, std::byte{0xFF});
  SealPage(page, type, offset, offset.value);
}

}  // namespace parvane::pstfile
