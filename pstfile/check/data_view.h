// Reads data trees and subnode trees without judging them; a block's own check does that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "pstfile/check/image.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile::check {

// Data of any length, by block or by byte. Holds the ids of one XXBLOCK and one XBLOCK.
class DataView {
 public:
  DataView() = default;
  // None when the root or its level above the data cannot be read. `root` 0 is empty data.
  static std::optional<DataView> Open(Image& image, BlockId root);

  std::uint64_t size() const { return _size; }
  std::size_t blockCount() const { return _blockCount; }
  std::optional<BlockSlice> ReadBlock(std::size_t n);
  // The count read; short at the end, or when a block is missing.
  std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> out);

 private:
  Image* _image = nullptr;
  BlockId _root;
  std::uint64_t _size = 0;
  std::size_t _blockCount = 0;
  std::vector<BlockId> _xblocks;  // empty unless the root is an XXBLOCK
  std::vector<BlockId> _leaves;   // of XBLOCK _loaded
  std::size_t _loaded = 0;
};

// A node's subnodes in ascending order; entries out of order are left out. At most 173,400.
class SubnodeList {
 public:
  SubnodeList() = default;
  // None when a block of the tree cannot be read or is of another kind.
  static std::optional<SubnodeList> Open(Image& image, BlockId root);

  const std::vector<SubnodeEntry>& all() const { return _all; }
  const SubnodeEntry* Find(NodeId nid) const;

 private:
  bool AppendLeaf(Image& image, BlockId block);

  std::vector<SubnodeEntry> _all;
};

}  // namespace parvane::pstfile::check
