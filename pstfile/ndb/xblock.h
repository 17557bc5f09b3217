// XBLOCKs and XXBLOCKs, as the classes of data_tree.h share them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/status.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

// Data below a full XBLOCK.
inline constexpr std::uint64_t kXBlockBytes = kMaximumXBlockEntries * kMaximumBlockData;

// An XBLOCK (level 1) or XXBLOCK (level 2) and the ids in it.
struct XBlockContent {
  unsigned level = 0;
  std::uint32_t total = 0;
  std::vector<BlockId> ids;
};

platform::Result<XBlockContent> ReadXBlock(const NodeDatabase& database, BlockId bid);
// The new block, loose. `total`: bytes of data below it.
platform::Result<BlockId> WriteXBlock(NodeDatabase& database, unsigned level, std::uint64_t total,
                                      std::span<const BlockId> ids);

platform::Status CorruptTree(BlockId bid, const std::string& text);
platform::Status NoSuchBlock(std::size_t n, std::size_t count);
platform::Status TreeTooLarge();

}  // namespace parvane::pstfile
