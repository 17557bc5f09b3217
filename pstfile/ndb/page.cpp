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

PageTrailer PageTrailer::Decode(std::span<const std::byte, kPageSize> page) {
  return {LoadField<std::uint8_t>(page, Trailer::kType),
          LoadField<std::uint8_t>(page, Trailer::kTypeRepeat),
          LoadField<std::uint16_t>(page, Trailer::kSignature),
          LoadField<std::uint32_t>(page, Trailer::kCrc), LoadField(page, Trailer::kId)};
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
  const PageTrailer found = PageTrailer::Decode(page);
  if (found.type != wanted) return bad("ptype", found.type, wanted);
  if (found.typeRepeat != wanted) return bad("ptypeRepeat", found.typeRepeat, wanted);
  const std::uint32_t crc = Crc(page.first(kPageBodySize));
  if (found.crc != crc) return bad("dwCRC", found.crc, crc);
  if (found.id != id) return bad("bid", found.id, id);
  if (HasSignature(type)) {
    const std::uint16_t signature = Signature(offset.value, id);
    if (found.signature != signature) return bad("wSig", found.signature, signature);
  }
  return {};
}

void FillMapPage(std::span<std::byte, kPageSize> page, PageType type, FileOffset offset) {
  std::fill_n(page.begin(), kPageBodySize, std::byte{0xFF});
  SealPage(page, type, offset, offset.value);
}

}  // namespace parvane::pstfile
