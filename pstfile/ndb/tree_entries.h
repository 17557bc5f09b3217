// The entries of the two B-trees' leaves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/tree_page.h"

namespace parvane::pstfile {

// An entry of the block B-tree.
struct BlockRecord {
  BlockId bid;
  BlockPlace place;
  std::uint16_t references = 0;  // 1 + those counted

  static BlockRecord Decode(std::span<const std::byte> entry);
  void Encode(std::span<std::byte, kBlockEntrySize> entry) const;
};

// An entry of the node B-tree.
NodeRecord DecodeNode(std::span<const std::byte> entry);
void EncodeNode(const NodeRecord& record, std::span<std::byte, kNodeEntrySize> entry);

}  // namespace parvane::pstfile
