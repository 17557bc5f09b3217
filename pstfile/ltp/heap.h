// Reads a heap on a node ([MS-PST] 2.3.1): small items in the data blocks of a node, and its
// subnodes, where items too large for the heap live.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile {

// An item's bytes; they stay valid as long as this lives.
struct HeapItem {
  BlockSlice page;
  std::span<const std::byte> bytes;
};

class Heap {
 public:
  // kCorrupt when the first page is no heap of that client.
  static platform::Result<Heap> Open(const NodeDatabase& database, BlockId data, BlockId subnodes,
                                     HeapClient client);

  HeapId userRoot() const { return _userRoot; }
  // Every bound is checked; id 0 is an empty item.
  platform::Result<HeapItem> Item(HeapId id) const;
  // The value behind a heap item or subnode id, as a stream. Opens the subnode tree on first use.
  platform::Result<SubnodeEntry> Subnode(NodeId node) const;
  const NodeDatabase& database() const { return *_database; }
  std::size_t pages() const { return _tree.blockCount(); }

 private:
  platform::Result<BlockSlice> Page(std::uint32_t number) const;

  const NodeDatabase* _database = nullptr;
  DataTree _tree;
  BlockId _subnodesRoot;
  mutable SubnodeTree _subnodes;
  mutable bool _subnodesOpen = false;
  HeapId _userRoot;
  // The pages last used. Tables go back and forth between their index and their newest cells.
  struct Cached {
    std::uint32_t number = 0;
    BlockSlice page;
  };
  mutable std::array<Cached, 4> _cache;
  mutable std::size_t _cached = 0;
  mutable std::size_t _next = 0;
};

}  // namespace parvane::pstfile
