#include "pstfile/ndb/block_format.h"

#include <algorithm>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

void BuildBlock(std::span<const std::byte> data, BlockId bid, FileOffset offset, CryptMethod crypt,
                std::span<std::byte> block) {
  const auto stored = block.first(data.size());
  EncodeTo(bid.IsInternal() ? CryptMethod::kNone : crypt, CyclicKey(bid.value), data, stored);
  const auto trailer = block.last(kBlockTrailerSize);
  std::fill(block.begin() + static_cast<std::ptrdiff_t>(data.size()),
            block.end() - static_cast<std::ptrdiff_t>(kBlockTrailerSize), std::byte{0});
  StoreU16(trailer, 0, static_cast<std::uint16_t>(data.size()));
  StoreU16(trailer, 2, Signature(offset.value, bid.value));
  StoreU32(trailer, 4, Crc(stored));
  StoreU64(trailer, 8, bid.value);
}

Status CheckBlock(std::span<const std::byte> block, BlockId bid, BlockPlace place) {
  const auto bad = [&](const char* field, std::uint64_t found, std::uint64_t expected) {
    return Status(StatusCode::kCorrupt, "block " + ToString(bid) + " at " + ToString(place.offset) +
                                            ": " + field + " " + ToHex(found) + ", expected " +
                                            ToHex(expected));
  };
  const auto trailer = block.last(kBlockTrailerSize);
  if (LoadU16(trailer, 0) != place.dataSize) return bad("cb", LoadU16(trailer, 0), place.dataSize);
  // Bit 0 of the id is anybody's; the signature is computed over the id as stored.
  const std::uint64_t stored = LoadU64(trailer, 8);
  if (BlockId(stored) != bid) return bad("bid", stored, bid.value);
  const std::uint16_t signature = Signature(place.offset.value, stored);
  if (LoadU16(trailer, 2) != signature) return bad("wSig", LoadU16(trailer, 2), signature);
  const std::uint32_t crc = Crc(block.first(place.dataSize));
  if (LoadU32(trailer, 4) != crc) return bad("dwCRC", LoadU32(trailer, 4), crc);
  return {};
}

std::size_t InternalBlock::EntrySize() const {
  if (type == kDataTreeBlock) return 8;
  return level == 0 ? 24 : 16;
}

Result<InternalBlock> InternalBlock::Parse(std::span<const std::byte> bytes, BlockId bid) {
  const auto bad = [&](const std::string& text) {
    return Status(StatusCode::kCorrupt, "block " + ToString(bid) + ": " + text);
  };
  if (bytes.size() < kInternalBlockHeaderSize) return bad("too short for an internal block");
  InternalBlock block;
  block.type = LoadU8(bytes, 0);
  block.level = LoadU8(bytes, 1);
  block.count = LoadU16(bytes, 2);
  block.total = LoadU32(bytes, 4);
  const bool data = block.type == kDataTreeBlock && (block.level == 1 || block.level == 2);
  const bool subnodes = block.type == kSubnodeTreeBlock && block.level <= 1;
  if (!data && !subnodes) {
    return bad("btype " + std::to_string(block.type) + ", cLevel " + std::to_string(block.level) +
               " is no internal block");
  }
  const std::size_t size = block.count * block.EntrySize();
  if (block.count == 0 || size > bytes.size() - kInternalBlockHeaderSize) {
    return bad("cEnt " + std::to_string(block.count) + " in " + std::to_string(bytes.size()) +
               " bytes");
  }
  block.entries = bytes.subspan(kInternalBlockHeaderSize, size);
  return block;
}

void InternalBlock::AppendReferences(std::vector<BlockId>& to) const {
  const std::size_t step = EntrySize();
  const auto add = [&](std::size_t at) {
    if (const BlockId bid(LoadU64(entries, at)); bid) to.push_back(bid);
  };
  for (std::size_t at = 0; at < entries.size(); at += step) {
    if (type == kDataTreeBlock) {
      add(at);
    } else {
      add(at + 8);
      if (level == 0) add(at + 16);
    }
  }
}

std::vector<std::byte> StartInternalBlock(std::uint8_t type, std::uint8_t level, std::size_t count,
                                          std::size_t entrySize, std::uint32_t total) {
  std::vector<std::byte> bytes(kInternalBlockHeaderSize + count * entrySize);
  StoreU8(bytes, 0, type);
  StoreU8(bytes, 1, level);
  StoreU16(bytes, 2, static_cast<std::uint16_t>(count));
  StoreU32(bytes, 4, total);
  return bytes;
}

}  // namespace parvane::pstfile
