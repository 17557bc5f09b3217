#include "pstfile/ndb/xblock.h"

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

Status CorruptTree(BlockId bid, const std::string& text) {
  return {StatusCode::kCorrupt, "block " + ToString(bid) + ": " + text};
}

Status NoSuchBlock(std::size_t n, std::size_t count) {
  return {StatusCode::kInvalidArgument,
          "block " + std::to_string(n) + " of a data tree of " + std::to_string(count)};
}

Status TreeTooLarge() { return {StatusCode::kTooBig, "a value of 4 GiB or more cannot be stored"}; }

Result<XBlockContent> ReadXBlock(const NodeDatabase& database, BlockId bid) {
  auto bytes = database.ReadBlock(bid);
  if (!bytes.ok()) return bytes.status();
  auto block = InternalBlock::Parse(bytes->bytes(), bid);
  if (!block.ok()) return block.status();
  if (block->type != kDataTreeBlock) return CorruptTree(bid, "not part of a data tree");
  if (block->count > kMaximumXBlockEntries) {
    return CorruptTree(bid, "cEnt " + std::to_string(block->count));
  }
  XBlockContent content{block->level, block->total, {}};
  content.ids.reserve(block->count);
  for (std::size_t at = 0; at < block->entries.size(); at += 8) {
    const BlockId id(LoadU64(block->entries, at));
    // XXBLOCKs refer to XBLOCKs, XBLOCKs to data: a tree cannot lead back into itself.
    if (!id || id.IsInternal() != (block->level == 2)) {
      return CorruptTree(bid, "entry " + ToString(id) + " is of the wrong kind");
    }
    content.ids.push_back(id);
  }
  return content;
}

Result<BlockId> WriteXBlock(NodeDatabase& database, unsigned level, std::uint64_t total,
                            std::span<const BlockId> ids) {
  std::vector<std::byte> bytes =
      StartInternalBlock(kDataTreeBlock, static_cast<std::uint8_t>(level), ids.size(), 8,
                         static_cast<std::uint32_t>(total));
  for (std::size_t i = 0; i < ids.size(); ++i) {
    StoreU64(bytes, kInternalBlockHeaderSize + 8 * i, ids[i].value);
  }
  return database.WriteInternalBlock(bytes);
}

}  // namespace parvane::pstfile
