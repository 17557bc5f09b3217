// The columns of a table context and the shape of its rows ([MS-PST] 2.3.4).
//
//   offset size TCINFO field
//        0    1 bType 7C
//        1    1 cCols
//        2    2 rgib[0]: end of the 8- and 4-byte cells
//        4    2 rgib[1]: end of the 2-byte cells
//        6    2 rgib[2]: end of the 1-byte cells
//        8    2 rgib[3]: end of the row = rgib[2] + ceil(cCols / 8)
//       10    4 hidRowIndex: BTH, row id (4) -> row number (4); present even without rows
//       14    4 hnidRows: row matrix, heap item or subnode; 0 without rows
//       18    4 hidIndex 0
//       22  8 x TCOLDESC: type (2), property id (2), ibData (2), cbData (1), iBit (1); by tag
//
//   row := cells, then a bit for each column, set when its cell is present (0x80 >> iBit % 8)
//
// A cell of 4 bytes that is no Int32, Float32 or Error holds a heap item or subnode id; 0 is an
// empty value. Cells of absent columns are zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/property_tag.h"
#include "pstfile/ltp/table_reader.h"

namespace parvane::pstfile {

inline constexpr std::byte kTcType{0x7C};
inline constexpr std::size_t kTcInfoSize = 22;
inline constexpr std::size_t kTcColumnSize = 8;
inline constexpr std::size_t kMaxTableColumns = 255;
inline constexpr std::size_t kRowIndexKeySize = 4;
inline constexpr std::size_t kRowIndexDataSize = 4;

// Bytes of a cell of this type.
constexpr std::size_t CellWidth(PropType type) {
  const std::size_t size = FixedSize(type);
  return size == 0 || size > 8 ? 4 : size;
}
// The cell refers to its value instead of holding it.
inline bool IsReferenceCell(PropType type) { return !IsScalar(type); }

// The description of column `i`, as it is stored.
TableColumn LoadColumn(std::span<const std::byte> tcInfo, std::size_t i);

class TableLayout {
 public:
  // Places columns in this order behind 67F2 and 67F3, which need not be given. At most 255.
  static TableLayout FromTags(std::span<const PropTag> tags);
  // Checks everything about a TCINFO of a file: groups, alignment, overlaps, bits.
  static platform::Result<TableLayout> Decode(std::span<const std::byte> tcInfo);

  std::span<const TableColumn> columns() const { return _columns; }  // by tag
  const TableColumn* FindId(std::uint16_t id) const;
  std::size_t rowSize() const { return _ends[3]; }
  std::size_t RowsPerBlock() const { return kHeapPageSize / rowSize(); }
  bool IsPresent(std::span<const std::byte> row, const TableColumn& column) const {
    return (row[_ends[2] + column.bit / 8] & (std::byte{0x80} >> (column.bit % 8))) != std::byte{0};
  }
  void SetPresent(std::span<std::byte> row, const TableColumn& column, bool present) const {
    std::byte& bits = row[_ends[2] + column.bit / 8];
    const std::byte mask = std::byte{0x80} >> (column.bit % 8);
    bits = present ? bits | mask : bits & ~mask;
  }

  // Calls `visit(column, property)` for the columns whose tag the list has, by tag, until one of
  // the calls fails.
  template <typename Visit>
  platform::Status VisitCells(const PropertyList& list, Visit&& visit) const {
    for (const TableColumn& column : _columns) {
      platform::Status status;
      list.With(column.tag, [&](const Property& property) { status = visit(column, property); });
      if (!status.ok()) return status;
    }
    return {};
  }

  std::size_t EncodedSize() const { return kTcInfoSize + kTcColumnSize * _columns.size(); }
  // hidRowIndex and hnidRows are stored apart, as they change.
  void Encode(std::span<std::byte> tcInfo) const;
  static HeapId RowIndexOf(std::span<const std::byte> tcInfo);
  static HeapId RowsOf(std::span<const std::byte> tcInfo);
  static void SetRowIndex(std::span<std::byte> tcInfo, HeapId id);
  static void SetRows(std::span<std::byte> tcInfo, HeapId id);

 private:
  void MakeInfo();

  std::vector<TableColumn> _columns;
  std::vector<std::byte> _info;  // the TCINFO without what changes
  std::uint16_t _ends[4] = {};
};

}  // namespace parvane::pstfile
