// Data of any length as a tree of blocks ([MS-PST] 2.2.2.8.3).
//
//   up to 8,176 bytes       the external block itself
//   up to 1,021 blocks      XBLOCK: the ids of the blocks
//   up to 4 GiB - 1         XXBLOCK: the ids of XBLOCKs
//
//   XBLOCK  := btype 01, cLevel 01, cEnt (2), lcbTotal (4), cEnt block ids (8 each)
//   XXBLOCK := btype 01, cLevel 02, cEnt (2), lcbTotal (4), cEnt XBLOCK ids (8 each)
//
// Every block but the last holds exactly 8,176 bytes, so block n begins at n * 8176. Heaps and row
// matrices are addressed by block number, streams by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

// Reads a tree. Holds at most one XXBLOCK and one XBLOCK in memory. A tree does not change, so a
// reader stays valid for as long as its root is referenced or loose.
class DataTree {
 public:
  // A tree without bytes.
  DataTree() = default;
  // `root` 0 is an empty tree. kCorrupt when the tree's blocks contradict each other.
  static platform::Result<DataTree> Open(const NodeDatabase& database, BlockId root);

  BlockId root() const { return _root; }
  std::uint64_t size() const { return _size; }
  std::size_t blockCount() const { return _blockCount; }
  // Bytes in block n, n < blockCount().
  std::size_t BlockSize(std::size_t n) const;

  // Block n, decoded. kInvalidArgument when n is not below blockCount().
  platform::Result<BlockSlice> ReadBlock(std::size_t n) const;
  platform::Result<BlockId> BlockAt(std::size_t n) const;
  // Fills `buffer` from `offset` on; the count read, less than asked for only at the end.
  platform::Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const;
  // Everything, for values known to be small: kTooBig when size() is above `limit`.
  platform::Result<std::vector<std::byte>> ReadAll(std::uint64_t limit = std::uint64_t{256}
                                                                         << 20) const;

 private:
  friend class DataTreeEditor;
  platform::Status Load(BlockId root);
  platform::Status LoadXBlock(std::size_t index) const;

  const NodeDatabase* _database = nullptr;
  BlockId _root;
  std::uint64_t _size = 0;
  std::size_t _blockCount = 0;
  unsigned _level = 0;                   // 0 single block, 1 XBLOCK, 2 XXBLOCK
  std::vector<BlockId> _xblocks;         // level 2
  mutable std::vector<BlockId> _leaves;  // of XBLOCK _loaded (level 1: of the root)
  mutable std::size_t _loaded = static_cast<std::size_t>(-1);
};

// Writes a tree from front to back in memory of a few tens of KiB, whatever its length.
class DataTreeWriter {
 public:
  explicit DataTreeWriter(NodeDatabase& database);
  // Abandons what was neither finished nor abandoned.
  ~DataTreeWriter();
  DataTreeWriter(DataTreeWriter&& other) noexcept;
  DataTreeWriter& operator=(DataTreeWriter&&) = delete;

  // kTooBig beyond 4 GiB - 1. After a failure the writer can only be abandoned.
  platform::Status Append(std::span<const std::byte> bytes);
  std::uint64_t size() const { return _size; }
  // The loose root (see node_database.h); 0 when nothing was appended. The writer is then empty
  // and can write another tree.
  platform::Result<BlockId> Finish();
  // Frees everything written so far and starts over.
  void Abandon();

 private:
  platform::Status AppendBlocks(std::span<const std::byte> bytes);
  platform::Status FlushBlock(std::span<const std::byte> bytes);
  platform::Status FlushXBlock();

  NodeDatabase* _database;
  std::vector<std::byte> _pending;  // the begun block
  std::vector<BlockId> _leaves;     // of the begun XBLOCK
  std::vector<BlockId> _xblocks;
  std::uint64_t _size = 0;
  platform::Status _failure;
};

// Changes a tree block by block, and costs what changes: the blocks given, the XBLOCKs above them,
// the XXBLOCK. Made for heaps and row matrices that grow at their tail.
//
// New blocks are written at once. Flush writes the blocks above and gives the new root, loose; put
// it where the old root was, which drops whatever the new tree does not share. When the old root
// was loose itself, Flush (and destruction, for unflushed changes) frees what is no longer needed.
class DataTreeEditor {
 public:
  // `root` 0 starts a new tree.
  static platform::Result<DataTreeEditor> Open(NodeDatabase& database, BlockId root);
  ~DataTreeEditor();
  DataTreeEditor(DataTreeEditor&& other) noexcept;
  DataTreeEditor& operator=(DataTreeEditor&& other) noexcept;

  std::size_t blockCount() const { return _blockCount; }
  std::uint64_t size() const;
  bool changed() const { return _changed; }
  // The root as of the last Flush (or Open).
  BlockId root() const { return _root; }

  platform::Result<BlockSlice> ReadBlock(std::size_t n) const;
  // 1 to 8176 bytes. The block before must be full (8176 bytes): kInvalidArgument otherwise.
  platform::Status AppendBlock(std::span<const std::byte> bytes);
  // A block other than the last must be given 8176 bytes: kInvalidArgument otherwise.
  platform::Status ReplaceBlock(std::size_t n, std::span<const std::byte> bytes);
  // Drops the blocks from number `count` on.
  platform::Status Truncate(std::size_t count);
  // The root of the tree as it now is: loose if anything changed, 0 if no block is left.
  platform::Result<BlockId> Flush();

 private:
  explicit DataTreeEditor(NodeDatabase& database) : _database(&database) {}
  struct XBlock {
    std::vector<BlockId> leaves;
    bool dirty = false;
  };
  platform::Result<XBlock*> Touch(std::size_t xblock) const;
  platform::Result<BlockId> WriteXBlock(std::size_t index, const XBlock& xblock);
  platform::Status SpillFullXBlocks();
  void MarkDirty(std::size_t index, XBlock& xblock);
  void Drop(BlockId bid);
  void Forget();

  NodeDatabase* _database;
  BlockId _root;
  bool _changed = false;
  std::size_t _blockCount = 0;
  std::size_t _lastSize = 0;                      // bytes in the last block
  std::vector<BlockId> _xblocks;                  // id of each XBLOCK as written; 0: never written
  BlockId _topBlock;                              // XXBLOCK, or 0
  mutable std::map<std::size_t, XBlock> _loaded;  // XBLOCKs in memory
  std::set<BlockId> _fresh;                       // written since the last Flush
  std::vector<BlockId> _obsolete;                 // older, and not needed after the next
};

}  // namespace parvane::pstfile
