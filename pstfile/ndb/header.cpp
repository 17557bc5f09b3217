#include "pstfile/ndb/header.h"

#include <algorithm>
#include <string>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/file_kind.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using fields::Header;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint16_t kClientVersion = 19;

Status BadCrc(const char* field, std::uint32_t found, std::uint32_t computed) {
  return {StatusCode::kCorrupt,
          std::string("header: ") + field + " " + ToHex(found) + ", computed " + ToHex(computed)};
}

std::span<const std::byte> RangeOf(std::span<const std::byte> bytes, const Field& range) {
  return bytes.subspan(range.offset, range.size);
}

}  // namespace

FileHeader FileHeader::New(CryptMethod crypt) {
  FileHeader header;
  header.crypt = crypt;
  // The start values that [MS-PST] 2.2.2.6 gives for a new file; the nodes of every store lie
  // below.
  header.counters.fill(0x400);
  header.counters[static_cast<std::size_t>(NodeKind::kSearchFolder)] = 0x4000;
  header.counters[static_cast<std::size_t>(NodeKind::kMessage)] = 0x10000;
  header.counters[static_cast<std::size_t>(NodeKind::kAssociatedMessage)] = 0x8000;
  std::span<std::byte> raw = header.raw;
  StoreField(raw, Header::kMagic, kMagic);
  StoreField(raw, Header::kMagicClient, kMagicPst);
  StoreField(raw, Header::kVersion, kVersion);
  StoreField(raw, Header::kClientVersion, kClientVersion);
  StoreField(raw, Header::kPlatformCreate, 1);
  StoreField(raw, Header::kPlatformAccess, 1);
  header.DropOldPageMap();
  StoreField(raw, Header::kSentinel, 0x80);
  return header;
}

void FileHeader::DropOldPageMap() {
  const std::span<std::byte> bytes = raw;
  for (const Field& map : {Header::kFreeMap, Header::kFreePageMap}) {
    std::ranges::fill(bytes.subspan(map.offset, map.size), std::byte{0xFF});
  }
  StoreField(bytes, Header::kFreePageBytes, 0);
  oldPageMapInUse = false;
}

FileHeader FileHeader::Decode(std::span<const std::byte, kHeaderSize> bytes) {
  FileHeader header;
  std::copy(bytes.begin(), bytes.end(), header.raw.begin());
  header.nextPageId = LoadField(bytes, Header::kNextPageId);
  header.unique = LoadField<std::uint32_t>(bytes, Header::kUnique);
  for (std::size_t i = 0; i < header.counters.size(); ++i) {
    header.counters[i] = LoadU32(bytes, Header::kCounters.offset + 4 * i);
  }
  header.endOfFile = LoadField(bytes, Header::kEndOfFile);
  header.lastAMap = LoadField(bytes, Header::kLastAMap);
  header.freeBytes = LoadField(bytes, Header::kFreeBytes);
  header.nodeRoot = LoadPageRef(bytes, Header::kNodeRoot.offset);
  header.blockRoot = LoadPageRef(bytes, Header::kBlockRoot.offset);
  header.mapState = LoadField<std::uint8_t>(bytes, Header::kMapState);
  header.crypt = LoadField<CryptMethod>(bytes, Header::kCryptMethod);
  header.nextBlockId = LoadField(bytes, Header::kNextBlockId);
  const auto inUse = [&](const Field& map) {
    return std::ranges::any_of(RangeOf(bytes, map),
                               [](std::byte b) { return b != std::byte{0xFF}; });
  };
  header.oldPageMapInUse = LoadField(bytes, Header::kFreePageBytes) != 0 ||
                           inUse(Header::kFreeMap) || inUse(Header::kFreePageMap);
  return header;
}

const std::array<std::byte, kHeaderSize>& FileHeader::Encode() {
  std::span<std::byte> bytes = raw;
  StoreField(bytes, Header::kNextPageId, nextPageId);
  StoreField(bytes, Header::kUnique, unique);
  for (std::size_t i = 0; i < counters.size(); ++i)
    StoreU32(bytes, Header::kCounters.offset + 4 * i, counters[i]);
  StoreField(bytes, Header::kEndOfFile, endOfFile);
  StoreField(bytes, Header::kLastAMap, lastAMap);
  StoreField(bytes, Header::kFreeBytes, freeBytes);
  StorePageRef(bytes, Header::kNodeRoot.offset, nodeRoot);
  StorePageRef(bytes, Header::kBlockRoot.offset, blockRoot);
  StoreField(bytes, Header::kMapState, mapState);
  StoreField(bytes, Header::kCryptMethod, static_cast<std::uint8_t>(crypt));
  StoreField(bytes, Header::kNextBlockId, nextBlockId);
  StoreField(bytes, Header::kPartialCrc, Crc(RangeOf(bytes, fields::kPartialCrcRange)));
  StoreField(bytes, Header::kFullCrc, Crc(RangeOf(bytes, fields::kFullCrcRange)));
  return raw;
}

Status FileHeader::CheckKind(std::span<const std::byte, kHeaderSize> bytes) {
  if (FileKind kind = KindOf(bytes); !kind.status.ok()) return kind.status;
  const auto client = LoadField<std::uint16_t>(bytes, Header::kMagicClient);
  if (client != kMagicPst) {
    return {StatusCode::kCorrupt,
            "header: wMagicClient " + ToHex(client) + ", expected " + ToHex(kMagicPst)};
  }
  if (LoadField<std::uint16_t>(bytes, Header::kClientVersion) != kClientVersion) {
    return {StatusCode::kUnsupported,
            "header: wVerClient " +
                std::to_string(LoadField<std::uint16_t>(bytes, Header::kClientVersion)) +
                ", only 19 is supported"};
  }
  return {};
}

Status FileHeader::CheckPartialCrc(std::span<const std::byte, kHeaderSize> bytes) {
  const std::uint32_t computed = Crc(RangeOf(bytes, fields::kPartialCrcRange));
  const auto found = LoadField<std::uint32_t>(bytes, Header::kPartialCrc);
  return computed == found ? Status() : BadCrc("dwCRCPartial", found, computed);
}

Status FileHeader::CheckFullCrc(std::span<const std::byte, kHeaderSize> bytes) {
  const std::uint32_t computed = Crc(RangeOf(bytes, fields::kFullCrcRange));
  const auto found = LoadField<std::uint32_t>(bytes, Header::kFullCrc);
  return computed == found ? Status() : BadCrc("dwCRCFull", found, computed);
}

Status FileHeader::CheckFields() const {
  const auto corrupt = [](const std::string& text) {
    return Status(StatusCode::kCorrupt, "header: " + text);
  };
  if (static_cast<std::uint8_t>(crypt) > 2) {
    return {StatusCode::kUnsupported,
            "header: bCryptMethod " + std::to_string(static_cast<unsigned>(crypt)) + " is unknown"};
  }
  // No file is that long, and sums of offset and size do not wrap below it.
  if (endOfFile < kSmallestFile || endOfFile > std::uint64_t{1} << 62) {
    return corrupt("ibFileEof " + ToHex(endOfFile));
  }
  if ((nextBlockId & 3) != 0) return corrupt("bidNextB " + ToHex(nextBlockId));
  for (const PageRef& root : {nodeRoot, blockRoot}) {
    if (root.offset.value % kPageSize != 0 || root.offset.value < kFirstAMapOffset ||
        root.offset.value > endOfFile - kPageSize) {
      return corrupt("root page at " + ToString(root.offset));
    }
  }
  return {};
}

}  // namespace parvane::pstfile
