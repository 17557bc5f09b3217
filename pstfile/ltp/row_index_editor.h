// Changes a table's row index: a BTH from row id (4 bytes) to row number (4 bytes).
//
// Row ids mostly ascend, so the right edge of the tree is kept decoded; a record beyond the last
// key costs a push into its leaf. Any other change goes through the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/heap_editor.h"
#include "pstfile/ltp/table_layout.h"

namespace parvane::pstfile {

class RowIndexEditor {
 public:
  // A new index; its header item is created in `heap`, which must outlive this.
  static platform::Result<RowIndexEditor> Create(HeapEditor& heap);
  static platform::Result<RowIndexEditor> Open(HeapEditor& heap, HeapId header);

  HeapId header() const { return _headerId; }
  platform::Result<std::optional<std::uint32_t>> Find(std::uint32_t rowId);
  // kExists when the id has a row already.
  platform::Status Insert(std::uint32_t rowId, std::uint32_t row);
  // The row of this id moved. kNotFound.
  platform::Status Move(std::uint32_t rowId, std::uint32_t row);
  platform::Status Remove(std::uint32_t rowId);
  // Puts what is in memory into the heap.
  platform::Status Flush();

 private:
  struct Record {
    std::uint32_t key = 0;
    std::uint32_t value = 0;  // row number, or heap id of the item below
  };
  struct Node {
    HeapId id;  // null: not in the heap yet
    bool dirty = false;
    std::vector<Record> records;
  };
  struct Split {
    Record left;                  // the item itself: its first key, its id
    std::optional<Record> right;  // what was split off
  };

  explicit RowIndexEditor(HeapEditor& heap) : _heap(&heap) {}
  platform::Status LoadRightEdge();
  platform::Result<std::vector<Record>> Read(HeapId id);
  platform::Result<HeapId> Store(HeapId id, const std::vector<Record>& records);
  platform::Status StoreEdge(std::size_t level);
  platform::Status Append(Record record);
  platform::Status PushUp(std::size_t level, Record record);
  platform::Result<Split> InsertBelow(HeapId id, std::size_t level, Record record);
  platform::Result<Record> RemoveBelow(HeapId id, std::size_t level, std::uint32_t key);
  bool InRightLeaf(std::uint32_t key) const;

  HeapEditor* _heap;
  HeapId _headerId;
  BthHeader _header;
  bool _headerDirty = false;
  std::vector<Node> _edge;  // the right edge: leaf first, root last; empty when the index is
};

}  // namespace parvane::pstfile
