#include "pstfile/ndb/block_format.h"

#include <algorithm>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using Trailer = fields::BlockTrailer;
using Internal = fields::InternalBlock;

void BuildBlock(std::span<const std::byte> data, BlockId bid, FileOffset offset, CryptMethod crypt,
                std::span<std::byte> block) {
  const auto stored = block.first(data.size());
  EncodeTo(bid.IsInternal() ? CryptMethod::kNone : crypt, CyclicKey(bid.value), data, stored);
  const auto trailer = block.last(kBlockTrailerSize);
  std::fill(block.begin() + static_cast<std::ptrdiff_t>(data.size()),
            block.end() - static_cast<std::ptrdiff_t>(kBlockTrailerSize), std::byte{0});
  StoreField(trailer, Trailer::kDataSize, static_cast<std::uint16_t>(data.size()));
  StoreField(trailer, Trailer::kSignature, Signature(offset.value, bid.value));
  StoreField(trailer, Trailer::kCrc, Crc(stored));
  StoreField(trailer, Trailer::kId, bid.value);
}

BlockTrailer BlockTrailer::Decode(std::span<const std::byte> block) {
  const auto trailer = block.last(kBlockTrailerSize);
  return {LoadField<std::uint16_t>(trailer, Trailer::kDataSize),
          LoadField<std::uint16_t>(trailer, Trailer::kSignature),
          LoadField<std::uint32_t>(trailer, Trailer::kCrc), LoadField(trailer, Trailer::kId)};
}

Status CheckBlock(std::span<const std::byte> block, BlockId bid, BlockPlace place) {
  const auto bad = [&](const char* field, std::uint64_t found, std::uint64_t expected) {
    return Status(StatusCode::kCorrupt, "block " + ToString(bid) + " at " + ToString(place.offset) +
                                            ": " + field + " " + ToHex(found) + ", expected " +
                                            ToHex(expected));
  };
  const BlockTrailer trailer = BlockTrailer::Decode(block);
  if (trailer.dataSize != place.dataSize) return bad("cb", trailer.dataSize, place.dataSize);
  // Bit 0 of the id is anybody's; the signature is computed over the id as stored.
  if (BlockId(trailer.id) != bid) return bad("bid", trailer.id, bid.value);
  const std::uint16_t signature = Signature(place.offset.value, trailer.id);
  if (trailer.signature != signature) return bad("wSig", trailer.signature, signature);
  const std::uint32_t crc = Crc(block.first(place.dataSize));
  if (trailer.crc != crc) return bad("dwCRC", trailer.crc, crc);
  return {};
}

std::size_t InternalBlock::EntrySize() const {
  if (type == kDataTreeBlock) return kXBlockEntrySize;
  return level == 0 ? kSlBlockEntrySize : kSiBlockEntrySize;
}

InternalBlock InternalBlock::DecodeHeader(std::span<const std::byte> bytes) {
  return {LoadField<std::uint8_t>(bytes, Internal::kType),
          LoadField<std::uint8_t>(bytes, Internal::kLevel),
          LoadField<std::uint16_t>(bytes, Internal::kCount),
          LoadField<std::uint32_t>(bytes, Internal::kTotal),
          {}};
}

Result<InternalBlock> InternalBlock::Parse(std::span<const std::byte> bytes, BlockId bid) {
  const auto bad = [&](const std::string& text) {
    return Status(StatusCode::kCorrupt, "block " + ToString(bid) + ": " + text);
  };
  if (bytes.size() < kInternalBlockHeaderSize) return bad("too short for an internal block");
  InternalBlock block = DecodeHeader(bytes);
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
      add(at + fields::SubnodeEntry::kData.offset);
      if (level == 0) add(at + fields::SubnodeEntry::kSub.offset);
    }
  }
}

std::vector<std::byte> StartInternalBlock(std::uint8_t type, std::uint8_t level, std::size_t count,
                                          std::size_t entrySize, std::uint32_t total) {
  std::vector<std::byte> bytes(kInternalBlockHeaderSize + count * entrySize);
  StoreField(bytes, Internal::kType, type);
  StoreField(bytes, Internal::kLevel, level);
  StoreField(bytes, Internal::kCount, static_cast<std::uint16_t>(count));
  StoreField(bytes, Internal::kTotal, total);
  return bytes;
}

}  // namespace parvane::pstfile
