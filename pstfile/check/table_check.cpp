#include "pstfile/check/table_check.h"

#include <algorithm>
#include <utility>

#include "pstfile/ltp/table_layout.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
using Info = fields::TableInfo;

namespace {

// Whether nothing can be wrong with the cell.
bool IsPlain(NodeHeap& heap, std::span<const std::byte> row, const TableColumn& column) {
  const PropType type = column.tag.Type();
  return IsScalar(type) ? type != PropType::kBoolean
                        : SizeOfPlainValue(heap, type, LoadU32(row, column.offset)).has_value();
}

}  // namespace

std::unique_ptr<Table> Table::Open(Context& context, Location location, std::string where) {
  auto heap = NodeHeap::Open(context, location, std::move(where), HeapClient::kTableContext);
  if (!heap) return nullptr;
  std::unique_ptr<Table> table(new Table(std::move(*heap)));
  // Only what makes rows unreadable ends the look at them. Columns that are described wrongly cost
  // their own cells (CellAt), and a wrong index costs nothing: rows are visited by their places.
  if (!table->ReadDescription()) return nullptr;
  table->JudgeColumnsOnce();
  if (!table->OpenMatrix()) return nullptr;
  table->JudgeIndex();
  return table;
}

bool Table::ReadDescription() {
  const auto item = _heap.Item(_heap.root());
  if (!item || item->bytes.size() < kTcInfoSize || item->bytes[Info::kType.offset] != kTcType) {
    Fault(codes::kTable, Say("heap item ", Hex{_heap.root().value}, " does not describe a table"));
    return false;
  }
  const auto bytes = item->bytes;
  const std::size_t count = LoadField(bytes, Info::kColumns);
  if (bytes.size() != kTcInfoSize + count * kTcColumnSize) {
    Fault(codes::kTable, Say("a description of ", bytes.size(), " bytes for ", count, " columns"));
    return false;
  }
  for (std::size_t i = 0; i < 4; ++i) _ends[i] = LoadU16(bytes, Info::kEnds.offset + 2 * i);
  _indexHeader = TableLayout::RowIndexOf(bytes);
  _matrixId = TableLayout::RowsOf(bytes).value;
  if (const std::uint64_t index = LoadField(bytes, Info::kIndex); index != 0) {
    Fault(codes::kTable, Say("hidIndex is ", Hex{index}, ", expected 0"));
  }
  for (std::size_t i = 0; i < count; ++i) _columns.push_back(LoadColumn(bytes, i));
  const std::size_t bitmap = (count + 7) / 8;
  if (!(_ends[0] <= _ends[1] && _ends[1] <= _ends[2]) || _ends[3] != _ends[2] + bitmap ||
      _ends[2] < fields::kSizeOf<fields::TableRow>) {
    Fault(codes::kTable,
          Say("the cell groups of its rows end at ", _ends[0], ", ", _ends[1], ", ", _ends[2],
              " and ", _ends[3], ", which does not fit ", count, " columns"));
    return false;
  }
  return true;
}

// Tables of a kind are mostly described alike: what was found sound once is not judged again.
void Table::JudgeColumnsOnce() {
  const auto item = _heap.Item(_heap.root());
  if (!item) return;
  // Where the index and the rows are differs, and is no matter of the columns.
  const auto start = item->bytes.first(Info::kRowIndex.offset);
  const auto columns = item->bytes.subspan(Info::kIndex.offset);
  std::vector<std::byte>& sound = _heap.context().soundColumns;
  if (sound.size() == start.size() + columns.size() &&
      SameBytes(std::span(sound).first(start.size()), start) &&
      SameBytes(std::span(sound).subspan(start.size()), columns)) {
    return;
  }
  const std::uint64_t before = _heap.context().reporter.summary().errors;
  JudgeColumns();
  if (_heap.context().reporter.summary().errors != before) return;
  sound.assign(start.begin(), start.end());
  sound.insert(sound.end(), columns.begin(), columns.end());
}

void Table::JudgeColumns() {
  // Byte by byte, and bit by bit: that two columns share neither is all that keeps a cell its own.
  std::vector<bool> taken(_ends[2]);
  std::vector<bool> bits(_columns.size());
  bool hasId = false;
  bool hasVersion = false;
  for (std::size_t i = 0; i < _columns.size(); ++i) {
    const TableColumn& c = _columns[i];
    const auto fault = [&](const std::string& what) {
      Fault(codes::kTable, Say("column ", ToString(c.tag), ": ", what));
    };
    hasId = hasId ||
            (c.tag == tags::kLtpRowId && c.offset == fields::TableRow::kId.offset && c.bit == 0);
    hasVersion = hasVersion || (c.tag == tags::kLtpRowVersion &&
                                c.offset == fields::TableRow::kVersion.offset && c.bit == 1);
    if (!IsKnownType(c.tag.Type())) fault("its type is unknown");
    if (i > 0 && c.tag <= _columns[i - 1].tag) fault("not in the order of tags");
    if (c.width != CellWidth(c.tag.Type())) {
      fault(Say("cells of ", c.width, " bytes, expected ", CellWidth(c.tag.Type())));
    }
    const std::size_t low = c.width == 1 ? _ends[1] : c.width == 2 ? _ends[0] : 0;
    const std::size_t high = c.width == 1 ? _ends[2] : c.width == 2 ? _ends[1] : _ends[0];
    const std::size_t end = std::size_t{c.offset} + c.width;
    if (c.offset < low || end > high) {
      fault(Say("cells at ", c.offset, ", outside their group from ", low, " to ", high));
    }
    if (c.width > 1 && c.offset % std::min<unsigned>(c.width, 4) != 0) {
      fault(Say("cells at ", c.offset, ", not aligned"));
    }
    bool overlaps = false;
    for (std::size_t at = c.offset; at < std::min<std::size_t>(end, taken.size()); ++at) {
      overlaps = overlaps || taken[at];
      taken[at] = true;
    }
    if (overlaps) fault("its cells overlap another column's");
    if (c.bit >= bits.size() || bits[c.bit]) {
      fault(Say("bit ", c.bit, " of the rows' bitmap is another column's, or too high"));
    } else {
      bits[c.bit] = true;
    }
  }
  if (!hasId || !hasVersion) {
    Fault(codes::kTable, "columns 67F20003 and 67F30003 are not at the start of the rows");
  }
}

bool Table::OpenMatrix() {
  if (_matrixId == 0) return true;
  const HeapId id(_matrixId);
  if (id.IsHeapItem()) {
    const auto item = _heap.Item(id);
    if (!item) {
      Fault(codes::kTableRows, Say("its rows, heap item ", Hex{_matrixId}, ", do not exist"));
      return false;
    }
    _rows = static_cast<std::uint32_t>(item->bytes.size() / _ends[3]);
    if (item->bytes.size() % _ends[3] != 0) JudgeMatrix(item->bytes.size());
    return true;
  }
  const SubnodeEntry* subnode = _heap.UseSubnode(NodeId(_matrixId));
  auto matrix =
      subnode != nullptr ? DataView::Open(_heap.context().image, subnode->data) : std::nullopt;
  if (!matrix) {
    Fault(codes::kTableRows, Say("its rows, subnode ", Hex{_matrixId}, ", cannot be read"));
    return false;
  }
  if (NodeId(_matrixId).Kind() != NodeKind::kValue) {
    _heap.Habit(codes::kTableRows, Say("its rows are in subnode ", Hex{_matrixId},
                                       ", whose kind is not that of a value"));
  }
  _inHeap = false;
  _matrix = std::move(*matrix);
  // No row spans two blocks; what is left of each is padding ([MS-PST] 2.3.4.4).
  _rowsPerBlock = static_cast<std::uint32_t>(kMaximumBlockData / _ends[3]);
  if (_matrix.blockCount() == 0) return true;
  // The number of blocks is the file's word, and a small file may name the same ones in many
  // tables.
  if (!_heap.context().Spend(_matrix.blockCount(), where())) return false;
  // Every block but the last is full (its own check tells), so the total tells the last one's size.
  const std::uint64_t before = (_matrix.blockCount() - 1) * std::uint64_t{kMaximumBlockData};
  const std::uint64_t last =
      _matrix.size() > before ? std::min<std::uint64_t>(_matrix.size() - before, kMaximumBlockData)
                              : 0;
  const std::uint64_t rows =
      (_matrix.blockCount() - 1) * std::uint64_t{_rowsPerBlock} + last / _ends[3];
  _rows = static_cast<std::uint32_t>(rows);
  if (_rowsPerBlock == 0 || last % _ends[3] != 0) JudgeMatrix(static_cast<std::size_t>(last));
  return _rowsPerBlock != 0;
}

void Table::JudgeMatrix(std::size_t size) {
  Fault(codes::kTableRows, Say(_inHeap ? "its rows take " : "the last block of its rows takes ",
                               size, " bytes, no whole number of rows of ", _ends[3]));
}

std::optional<RowBytes> Table::Row(std::uint32_t number) {
  if (_inHeap) {
    auto item = _heap.Item(HeapId(_matrixId));
    if (!item || (std::size_t{number} + 1) * _ends[3] > item->bytes.size()) return std::nullopt;
    return RowBytes{item->page, item->bytes.subspan(std::size_t{number} * _ends[3], _ends[3])};
  }
  auto block = _matrix.ReadBlock(number / _rowsPerBlock);
  const std::size_t at = std::size_t{number % _rowsPerBlock} * _ends[3];
  if (!block || at + _ends[3] > block->size()) {
    Fault(codes::kTableRows, Say("row ", number, " cannot be read"));
    return std::nullopt;
  }
  return RowBytes{*block, block->bytes().subspan(at, _ends[3])};
}

// As many entries as rows, none twice, and each leading to a row of its own id: then each row is
// found.
void Table::JudgeIndex() {
  _index = HeapTree::Open(_heap, _indexHeader, kRowIndexKeySize, kRowIndexDataSize, "row index");
  if (!_index) return;
  std::vector<bool> seen(_rows);
  std::uint64_t entries = 0;
  _index->Walk([&](std::uint64_t key, std::span<const std::byte> record) {
    ++entries;
    const auto number = LoadField<std::uint32_t>(record, fields::RowIndexRecord::kNumber);
    if (number >= _rows) {
      Fault(codes::kTableIndex, Say("row id ", Hex{key}, " leads to row ", number, " of ", _rows));
      return;
    }
    if (seen[number]) Fault(codes::kTableIndex, Say("row ", number, " is indexed twice"));
    seen[number] = true;
    const auto row = Row(number);
    if (row && RowId(row->bytes) != key) {
      Fault(codes::kTableIndex, Say("row ", number, " has id ", Hex{RowId(row->bytes)},
                                    ", the row index says ", Hex{key}));
    }
  });
  if (entries != _rows) {
    Fault(codes::kTableIndex, Say(_rows, " rows, ", entries, " entries in the row index"));
  }
}

bool Table::HasRow(std::uint32_t rowId) { return _index && _index->Find(rowId).has_value(); }

bool Table::Has(std::span<const std::byte> row, const TableColumn& column) const {
  const std::size_t at = _ends[2] + column.bit / 8U;
  return at < row.size() && (LoadU8(row, at) & (0x80U >> (column.bit % 8))) != 0;
}

const TableColumn* Table::ColumnOf(std::uint16_t id) const {
  for (const TableColumn& column : _columns) {
    if (column.tag.Id() == id) return &column;
  }
  return nullptr;
}

std::optional<Value> Table::CellAt(std::span<const std::byte> row, const TableColumn& column,
                                   std::string& reason) {
  const PropType type = column.tag.Type();
  if (!IsDescribedRightly(row, column)) {
    reason = "its column is not described rightly";
    return std::nullopt;
  }
  if (IsScalar(type)) return Value::OfScalar(row.subspan(column.offset, column.width));
  return Value::Of(_heap, type, LoadU32(row, column.offset), reason);
}

std::optional<Value> Table::Cell(std::span<const std::byte> row, const TableColumn& column) {
  std::string reason;
  return Has(row, column) ? CellAt(row, column, reason) : std::nullopt;
}

std::optional<std::uint64_t> Table::Number(std::span<const std::byte> row, PropTag tag) {
  const TableColumn* column = ColumnOf(tag.Id());
  if (column == nullptr || column->tag != tag) return std::nullopt;
  auto value = Cell(row, *column);
  if (!value) return std::nullopt;
  return value->Number();
}

void Table::JudgeRow(std::uint32_t number, std::span<const std::byte> row) {
  const auto fault = [&](const TableColumn& c, const std::string& what) {
    Fault(codes::kTableCell,
          Say("row ", number, " (", Hex{RowId(row)}, "), column ", ToString(c.tag), ": ", what));
  };
  for (const TableColumn& column : _columns) {
    if (!Has(row, column)) {
      if (column.tag == tags::kLtpRowId || column.tag == tags::kLtpRowVersion) {
        fault(column, "absent, which this cell must not be");
      }
      const std::size_t end = std::min<std::size_t>(row.size(), column.offset + column.width);
      for (std::size_t at = column.offset; at < end; ++at) {
        if (row[at] == std::byte{0}) continue;
        _heap.Habit(codes::kTableCell, Say("row ", number, " (", Hex{RowId(row)}, "), column ",
                                           ToString(column.tag), ": absent, but not zero"));
        break;
      }
      continue;
    }
    if (IsDescribedRightly(row, column) && IsPlain(_heap, row, column)) continue;
    std::string reason;
    auto value = CellAt(row, column, reason);
    if (value) reason = value->FaultAs(column.tag.Type());
    if (!reason.empty()) fault(column, reason);
  }
  const std::size_t unused = _columns.size() % 8 == 0 ? 0 : 8 - _columns.size() % 8;
  if (unused != 0 && (LoadU8(row, row.size() - 1) & ((1U << unused) - 1)) != 0) {
    Fault(codes::kTableCell,
          Say("row ", number, " (", Hex{RowId(row)}, "): bits beyond the last column are set"));
  }
}

std::optional<std::uint32_t> CheckTable(Context& context, Location location, std::string where) {
  auto table = Table::Open(context, location, std::move(where));
  if (!table) return std::nullopt;
  table->ForEachRow([](std::span<const std::byte>) {});
  table->Finish();
  return table->rows();
}

}  // namespace parvane::pstfile::check
