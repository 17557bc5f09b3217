// Builds and changes a table context, kept open between changes.
//
// Only tails are in memory: the last heap page and the pages with its fill levels, the last block
// of rows, the right edge of the row index. Flush writes them and costs what changed, whatever the
// number of rows. The same class writes small tables in one go: Create, AppendRow ..., Flush.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/heap_editor.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/row_index_editor.h"
#include "pstfile/ltp/row_matrix_editor.h"
#include "pstfile/ltp/table_layout.h"
#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile {

class TableEditor {
 public:
  // Roots of the table's data and subnodes, loose where they changed.
  struct Roots {
    BlockId data;
    BlockId subnodes;
  };

  static platform::Result<std::unique_ptr<TableEditor>> Create(NodeDatabase& database,
                                                               const TableLayout& layout);
  static platform::Result<std::unique_ptr<TableEditor>> Open(NodeDatabase& database, BlockId data,
                                                             BlockId subnodes);
  TableEditor(const TableEditor&) = delete;
  TableEditor& operator=(const TableEditor&) = delete;

  const TableLayout& layout() const { return _layout; }
  std::uint64_t rows() const { return _matrix->rows(); }
  bool changed() const { return _changed; }

  // kTooBig when another row may not fit: the heap or the subnodes are near their limits.
  platform::Status CheckRoom() const;
  // Takes the heap for full at this many pages; tests have no time to fill 65,536.
  void LimitHeap(std::uint32_t pages) { _heap.LimitPages(pages); }
  // Adds a row at the end. For every column whose tag the list has, the cell is filled; values
  // above 3580 bytes become subnodes, and a stored value is referred to, not copied. kExists when
  // the id is taken. On failure the table is as before.
  platform::Status AppendRow(std::uint32_t rowId, std::uint32_t version, const PropertyList& cells);
  // Changes a row's cells to those of the list; columns the list lacks become absent, unless
  // `keepOthers`. kNotFound.
  platform::Status UpdateRow(std::uint32_t rowId, std::uint32_t version, const PropertyList& cells,
                             bool keepOthers = false);
  // The last row takes the place of the removed one. kNotFound.
  platform::Status RemoveRow(std::uint32_t rowId);
  platform::Result<bool> HasRow(std::uint32_t rowId);
  // None when the cell is absent. kNotFound without the row.
  platform::Result<std::optional<std::uint64_t>> Scalar(std::uint32_t rowId, PropTag tag);

  // Writes everything. The table stays open; put the roots into its node.
  platform::Result<Roots> Flush();
  // Logical bytes of the heap, the rows and the values in subnodes, of a table that was created
  // here, as of the last Flush.
  std::uint64_t LogicalSize() const;
  // Bytes that Flush would write, roughly.
  std::size_t PendingBytes() const;

 private:
  TableEditor(NodeDatabase& database, HeapEditor heap, SubnodeTreeEditor subnodes)
      : _database(&database), _heap(std::move(heap)), _subnodes(std::move(subnodes)) {}
  platform::Status OpenParts();
  platform::Result<std::uint64_t> RowNumber(std::uint32_t rowId);
  // Puts a value where a cell can refer to it, and frees what the cell referred to before.
  platform::Result<HeapId> PlaceSubnode(const Property& property);
  platform::Result<HeapId> ReplaceValue(HeapId old, const std::optional<Property>& property);
  platform::Result<HeapId> MoveValue(HeapId from, HeapId to);
  platform::Status FreeValue(HeapId id);

  NodeDatabase* _database;
  HeapEditor _heap;
  SubnodeTreeEditor _subnodes;
  std::size_t _subnodeCount = 0;
  TableLayout _layout;
  std::optional<RowIndexEditor> _index;
  std::optional<RowMatrixEditor> _matrix;
  NodeId _matrixNode;
  std::uint64_t _valueBytes = 0;  // in subnodes
  std::vector<std::byte> _row;    // AppendRow's work, kept for its memory
  std::vector<HeapId> _placed;
  bool _changed = false;
};

}  // namespace parvane::pstfile
