// Tables: columns, row index, row matrix, cells ([MS-PST] 2.3.4).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "pstfile/check/heap_tree.h"
#include "pstfile/check/node_heap.h"
#include "pstfile/check/value.h"
#include "pstfile/ltp/property_tag.h"
#include "pstfile/ltp/table_layout.h"
#include "pstfile/ltp/table_reader.h"
#include "pstfile/ndb/fields.h"

namespace parvane::pstfile::check {

// A row's bytes, alive as long as this is.
struct RowBytes {
  BlockSlice block;
  std::span<const std::byte> bytes;
};

// Whether cells of this column are as wide as its type asks for, and inside the row.
inline bool IsDescribedRightly(std::span<const std::byte> row, const TableColumn& column) {
  return std::size_t{column.offset} + column.width <= row.size() &&
         column.width == CellWidth(column.tag.Type());
}

class Table {
 public:
  // Opens the table and judges its description and its row index. Null when it is unreadable,
  // which has been reported.
  static std::unique_ptr<Table> Open(Context& context, Location location, std::string where);

  NodeHeap& heap() { return _heap; }
  const std::string& where() const { return _heap.where(); }
  std::span<const TableColumn> columns() const { return _columns; }
  std::uint32_t rows() const { return _rows; }
  // Whether the row index knows this row.
  bool HasRow(std::uint32_t rowId);

  // Judges every row and calls visit(row bytes) for it, in the order of the matrix.
  template <typename Visit>
  void ForEachRow(Visit visit) {
    for (std::uint32_t n = 0; n < _rows; ++n) {
      const auto row = Row(n);
      if (!row) continue;
      JudgeRow(n, row->bytes);
      visit(row->bytes);
    }
  }

  static std::uint32_t RowId(std::span<const std::byte> row) {
    return LoadField<std::uint32_t>(row, fields::TableRow::kId);
  }
  bool Has(std::span<const std::byte> row, const TableColumn& column) const;
  const TableColumn* ColumnOf(std::uint16_t id) const;
  // The cell's value; none when it is absent, or not where the row says.
  std::optional<Value> Cell(std::span<const std::byte> row, const TableColumn& column);
  // A number; none when the table has no such column or the row no such cell.
  std::optional<std::uint64_t> Number(std::span<const std::byte> row, PropTag tag);

  void Finish() { _heap.ReportUnused(); }

  Table(const Table&) = delete;  // the row index refers to the heap
  Table& operator=(const Table&) = delete;

 private:
  explicit Table(NodeHeap heap) : _heap(std::move(heap)) {}
  bool ReadDescription();
  void JudgeColumnsOnce();
  void JudgeColumns();
  bool OpenMatrix();
  void JudgeMatrix(std::size_t size);
  void JudgeIndex();
  void JudgeRow(std::uint32_t number, std::span<const std::byte> row);
  std::optional<RowBytes> Row(std::uint32_t number);
  std::optional<Value> CellAt(std::span<const std::byte> row, const TableColumn& column,
                              std::string& reason);
  void Fault(codes::Code code, const std::string& what) const { _heap.Fault(code, what); }

  NodeHeap _heap;
  std::vector<TableColumn> _columns;
  std::uint16_t _ends[4] = {};  // rgib: of the 8- and 4-byte cells, 2-byte, 1-byte cells, the row
  HeapId _indexHeader;
  std::uint32_t _matrixId = 0;
  std::optional<HeapTree> _index;
  std::uint32_t _rows = 0;
  std::uint32_t _rowsPerBlock = 0;
  bool _inHeap = true;
  DataView _matrix;
};

// Opens, judges every row and finishes; the number of rows. For tables without objects behind
// their rows.
std::optional<std::uint32_t> CheckTable(Context& context, Location location, std::string where);

}  // namespace parvane::pstfile::check
