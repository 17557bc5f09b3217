// Changes the rows of a table: one heap item while they are few, blocks of a subnode afterwards.
//
// In a subnode each block holds as many whole rows as fit into 8176 bytes and is zero-filled; the
// last one ends with its last row. Kept in memory: the rows while they are an item, else the last
// block and those that were changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/heap_editor.h"
#include "pstfile/ndb/data_tree.h"

namespace parvane::pstfile {

class RowMatrixEditor {
 public:
  // Without rows.
  static RowMatrixEditor Create(NodeDatabase& database, std::size_t rowSize);
  // Rows in a heap item.
  static RowMatrixEditor FromItem(NodeDatabase& database, std::size_t rowSize, HeapId id,
                                  std::span<const std::byte> item);
  static platform::Result<RowMatrixEditor> FromTree(NodeDatabase& database, std::size_t rowSize,
                                                    BlockId root);

  std::uint64_t rows() const { return _rows; }
  bool inTree() const { return _tree.has_value(); }
  // Bytes of the subnode; 0 while the rows are an item.
  std::uint64_t treeSize() const;

  // A row's bytes, until the next call of any kind.
  platform::Result<std::span<const std::byte>> Read(std::uint64_t row);
  // A row's bytes, to be changed before the next call of any kind.
  platform::Result<std::span<std::byte>> Edit(std::uint64_t row);
  platform::Status Append(std::span<const std::byte> row);
  // Takes the last row away.
  platform::Status RemoveLast();

  struct Place {
    HeapId item;                  // where the rows are in the heap, or
    std::optional<BlockId> root;  // the loose root of the subnode's data
  };
  // Writes what changed. No place at all: there are no rows.
  platform::Result<Place> Flush(HeapEditor& heap);
  std::size_t PendingBytes() const;

 private:
  RowMatrixEditor(NodeDatabase& database, std::size_t rowSize)
      : _database(&database), _rowSize(rowSize), _perBlock(kHeapPageSize / rowSize) {}
  struct Block {
    std::vector<std::byte> bytes;  // 8176
    bool dirty = false;
  };
  platform::Status CheckRow(std::uint64_t row) const;
  platform::Result<Block*> Load(std::uint64_t block);
  platform::Status MoveToTree();
  platform::Status Write(std::uint64_t block);
  void WriteAhead();
  std::uint64_t BlockCount() const { return (_rows + _perBlock - 1) / _perBlock; }

  NodeDatabase* _database;
  std::size_t _rowSize;
  std::size_t _perBlock;
  std::uint64_t _rows = 0;
  HeapId _item;
  std::vector<std::byte> _small;  // the rows while they are an item
  bool _smallDirty = false;
  std::optional<DataTreeEditor> _tree;
  std::map<std::uint64_t, Block> _blocks;
};

}  // namespace parvane::pstfile
