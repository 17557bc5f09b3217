#include "pstfile/ndb/header.h"

#include <algorithm>
#include <string>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint32_t kMagic = 0x4E444221;         // "!BDN"
constexpr std::uint16_t kMagicPst = 0x4D53;          // "SM"
constexpr std::uint16_t kMagicServerCache = 0x4F53;  // "SO"
constexpr std::uint16_t kVersion = 23;
constexpr std::uint16_t kClientVersion = 19;

Status BadCrc(const char* field, std::uint32_t found, std::uint32_t computed) {
  return {StatusCode::kCorrupt,
          std::string("header: ") + field + " " + ToHex(found) + ", computed " + ToHex(computed)};
}

PageRef LoadRef(std::span<const std::byte> bytes, std::size_t at) {
  return {PageId(LoadU64(bytes, at)), FileOffset(LoadU64(bytes, at + 8))};
}

void StoreRef(std::span<std::byte> bytes, std::size_t at, PageRef ref) {
  StoreU64(bytes, at, ref.id.value);
  StoreU64(bytes, at + 8, ref.offset.value);
}

}  // namespace

FileHeader FileHeader::New(CryptMethod crypt) {
  FileHeader header;
  header.crypt = crypt;
  header.counters.fill(0x400);
  header.counters[static_cast<std::size_t>(NodeKind::kSearchFolder)] = 0x4000;
  header.counters[static_cast<std::size_t>(NodeKind::kMessage)] = 0x10000;
  header.counters[static_cast<std::size_t>(NodeKind::kAssociatedMessage)] = 0x8000;
  std::span<std::byte> raw = header.raw;
  StoreU32(raw, 0, kMagic);
  StoreU16(raw, 8, kMagicPst);
  StoreU16(raw, 10, kVersion);
  StoreU16(raw, 12, kClientVersion);
  StoreU8(raw, 14, 1);
  StoreU8(raw, 15, 1);
  std::fill_n(raw.begin() + 256, 256, std::byte{0xFF});
  StoreU8(raw, 512, 0x80);
  return header;
}

FileHeader FileHeader::Decode(std::span<const std::byte, kHeaderSize> bytes) {
  FileHeader header;
  std::copy(bytes.begin(), bytes.end(), header.raw.begin());
  header.nextPageId = LoadU64(bytes, 32);
  header.unique = LoadU32(bytes, 40);
  for (std::size_t i = 0; i < header.counters.size(); ++i) {
    header.counters[i] = LoadU32(bytes, 44 + 4 * i);
  }
  header.endOfFile = LoadU64(bytes, 184);
  header.lastAMap = LoadU64(bytes, 192);
  header.freeBytes = LoadU64(bytes, 200);
  header.nodeRoot = LoadRef(bytes, 216);
  header.blockRoot = LoadRef(bytes, 232);
  header.mapState = LoadU8(bytes, 248);
  header.crypt = static_cast<CryptMethod>(LoadU8(bytes, 513));
  header.nextBlockId = LoadU64(bytes, 516);
  const auto fmap = bytes.subspan(256, 128);
  header.oldPageMapInUse =
      LoadU64(bytes, 208) != 0 ||
      std::any_of(fmap.begin(), fmap.end(), [](std::byte b) { return b != std::byte{0xFF}; });
  return header;
}

const std::array<std::byte, kHeaderSize>& FileHeader::Encode() {
  std::span<std::byte> bytes = raw;
  StoreU64(bytes, 32, nextPageId);
  StoreU32(bytes, 40, unique);
  for (std::size_t i = 0; i < counters.size(); ++i) StoreU32(bytes, 44 + 4 * i, counters[i]);
  StoreU64(bytes, 184, endOfFile);
  StoreU64(bytes, 192, lastAMap);
  StoreU64(bytes, 200, freeBytes);
  StoreRef(bytes, 216, nodeRoot);
  StoreRef(bytes, 232, blockRoot);
  StoreU8(bytes, 248, mapState);
  StoreU8(bytes, 513, static_cast<std::uint8_t>(crypt));
  StoreU64(bytes, 516, nextBlockId);
  StoreU32(bytes, 4, Crc(bytes.subspan(8, 471)));
  StoreU32(bytes, 524, Crc(bytes.subspan(8, 516)));
  return raw;
}

Status FileHeader::CheckKind(std::span<const std::byte, kHeaderSize> bytes) {
  if (LoadU32(bytes, 0) != kMagic) {
    return {StatusCode::kCorrupt, "not an Outlook data file: it does not begin with \"!BDN\""};
  }
  const std::uint16_t client = LoadU16(bytes, 8);
  const std::uint16_t version = LoadU16(bytes, 10);
  if (version == 14 || version == 15) {
    return {StatusCode::kUnsupported, "an ANSI Outlook data file (Outlook 97 to 2002, wVer " +
                                          std::to_string(version) +
                                          "); only Unicode files are supported"};
  }
  if (version == 36) {
    return {StatusCode::kUnsupported, "an Outlook data file with 4 KiB pages (wVer 36)"};
  }
  if (client == kMagicServerCache) {
    return {StatusCode::kUnsupported, "an offline copy of a server mailbox (OST)"};
  }
  if (client != kMagicPst) {
    return {StatusCode::kCorrupt,
            "header: wMagicClient " + ToHex(client) + ", expected " + ToHex(kMagicPst)};
  }
  if (version != kVersion) {
    return {StatusCode::kUnsupported,
            "header: wVer " + std::to_string(version) + ", only 23 is supported"};
  }
  if (LoadU16(bytes, 12) != kClientVersion) {
    return {StatusCode::kUnsupported,
            "header: wVerClient " + std::to_string(LoadU16(bytes, 12)) + ", only 19 is supported"};
  }
  return {};
}

Status FileHeader::CheckPartialCrc(std::span<const std::byte, kHeaderSize> bytes) {
  const std::uint32_t computed = Crc(bytes.subspan(8, 471));
  const std::uint32_t found = LoadU32(bytes, 4);
  return computed == found ? Status() : BadCrc("dwCRCPartial", found, computed);
}

Status FileHeader::CheckFullCrc(std::span<const std::byte, kHeaderSize> bytes) {
  const std::uint32_t computed = Crc(bytes.subspan(8, 516));
  const std::uint32_t found = LoadU32(bytes, 524);
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
