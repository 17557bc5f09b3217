// Reads a table context ([MS-PST] 2.3.4): rows and columns, any number of rows in bounded memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "pstfile/ltp/property_reader.h"

namespace parvane::pstfile {

struct TableColumn {
  PropTag tag;
  std::uint16_t offset = 0;  // of the cell in the row
  std::uint8_t width = 0;    // 1, 2, 4 or 8
  std::uint8_t bit = 0;      // in the row's existence bitmap
};

// A view of the moment it was opened: when the table is changed, reads of its old blocks fail with
// kNotFound and the table must be opened again (PstStore::changes tells).
class TableReader {
 public:
  static platform::Result<TableReader> Open(NodeDatabase& database, ObjectLocation location);

  TableReader(TableReader&&) noexcept;
  TableReader& operator=(TableReader&&) noexcept;
  ~TableReader();

  const ObjectLocation& location() const;
  // Sorted by tag.
  std::span<const TableColumn> columns() const;
  std::optional<TableColumn> ColumnOf(std::uint16_t id) const;
  std::uint64_t rows() const;

  // A row stays in memory as long as it is the current one. Rows are in the order in which they
  // were added, except that a removed row's place was taken by the last one.
  platform::Status SelectRow(std::uint64_t index);

  // Of the selected row. Its id is the nid of its message, folder or attachment.
  std::uint32_t RowId() const;
  bool Has(PropTag tag) const;
  platform::Result<std::uint64_t> Scalar(PropTag tag);
  platform::Result<std::vector<std::byte>> Bytes(PropTag tag, std::uint64_t limit = 1u << 20);
  platform::Result<std::u16string> Text(PropTag tag, std::uint64_t limit = 1u << 20);
  platform::Result<ValueReader> OpenValue(PropTag tag);
  // All cells present, except 67F2 and 67F3; values above `limit` are left out and named in
  // `large`.
  platform::Status ReadRow(PropertyList& out, std::vector<PropTag>* large,
                           std::uint64_t limit = 3580);

 private:
  struct State;
  explicit TableReader(std::unique_ptr<State> state);
  std::unique_ptr<State> _state;
};

}  // namespace parvane::pstfile
