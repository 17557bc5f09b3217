#include "pstfile/ltp/table_reader.h"

#include <cstring>

#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/table_layout.h"
#include "pstfile/ltp/value_reader_state.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

struct TableReader::State {
  ObjectLocation location;
  Heap heap;
  TableLayout layout;
  // The row matrix: a heap item or blocks of rowsPerBlock rows each.
  HeapItem small;
  DataTree matrix;
  bool inTree = false;
  std::uint64_t rows = 0;
  // The selected row. Its bytes are those of its block, which stays for as long; of a row in the
  // heap, those of `small`.
  BlockSlice block;
  std::span<const std::byte> row;

  Status OpenMatrix(HeapId id);
  const TableColumn* Present(PropTag tag) const {
    const TableColumn* column = layout.FindId(tag.Id());
    return column != nullptr && column->tag == tag && !row.empty() && layout.IsPresent(row, *column)
               ? column
               : nullptr;
  }
  HeapId Reference(const TableColumn& column) const { return HeapId(LoadU32(row, column.offset)); }
};

Status TableReader::State::OpenMatrix(HeapId id) {
  if (id.IsNull()) return {};
  if (id.IsHeapItem()) {
    auto item = heap.Item(id);
    if (!item.ok()) return item.status();
    small = std::move(*item);
    rows = small.bytes.size() / layout.rowSize();
    return {};
  }
  auto node = heap.Subnode(NodeId(id.value));
  if (!node.ok()) return node.status();
  auto tree = DataTree::Open(heap.database(), node->data);
  if (!tree.ok()) return tree.status();
  matrix = std::move(*tree);
  inTree = true;
  // No row crosses the end of a block: what is left there is padding ([MS-PST] 2.3.4.4).
  if (const std::size_t blocks = matrix.blockCount(); blocks > 0) {
    rows = std::uint64_t{blocks - 1} * layout.RowsPerBlock() +
           matrix.BlockSize(blocks - 1) / layout.rowSize();
  }
  return {};
}

TableReader::TableReader(std::unique_ptr<State> state) : _state(std::move(state)) {}
TableReader::TableReader(TableReader&&) noexcept = default;
TableReader& TableReader::operator=(TableReader&&) noexcept = default;
TableReader::~TableReader() = default;

Result<TableReader> TableReader::Open(NodeDatabase& database, ObjectLocation location) {
  const auto fail = [&](const Status& status) {
    return status.WithContext("table " + ToString(location.node));
  };
  auto heap = Heap::Open(database, location.data, location.subnodes, HeapClient::kTableContext);
  if (!heap.ok()) return fail(heap.status());
  auto state = std::make_unique<State>();
  state->location = location;
  state->heap = std::move(*heap);
  auto info = state->heap.Item(state->heap.userRoot());
  if (!info.ok()) return fail(info.status());
  auto layout = TableLayout::Decode(info->bytes);
  if (!layout.ok()) return fail(layout.status());
  state->layout = std::move(*layout);
  if (Status status = state->OpenMatrix(TableLayout::RowsOf(info->bytes)); !status.ok()) {
    return fail(status);
  }
  return TableReader(std::move(state));
}

const ObjectLocation& TableReader::location() const { return _state->location; }
std::span<const TableColumn> TableReader::columns() const { return _state->layout.columns(); }
std::uint64_t TableReader::rows() const { return _state->rows; }

std::optional<TableColumn> TableReader::ColumnOf(std::uint16_t id) const {
  const TableColumn* column = _state->layout.FindId(id);
  if (column == nullptr) return std::nullopt;
  return *column;
}

Status TableReader::SelectRow(std::uint64_t index) {
  State& s = *_state;
  // Whatever fails below, no row is selected: a cell of the one before is not taken for this one's.
  s.row = {};
  if (index >= s.rows) {
    return {StatusCode::kNotFound,
            "row " + std::to_string(index) + " of " + std::to_string(s.rows)};
  }
  const std::size_t size = s.layout.rowSize();
  if (!s.inTree) {
    s.row = s.small.bytes.subspan(index * size, size);
    return {};
  }
  const std::size_t perBlock = s.layout.RowsPerBlock();
  auto block = s.matrix.ReadBlock(index / perBlock);
  if (!block.ok()) return block.status();
  s.block = std::move(*block);
  const std::size_t offset = index % perBlock * size;
  if (offset + size > s.block.size()) {
    return {StatusCode::kCorrupt, "row " + std::to_string(index) + " ends beyond its block"};
  }
  s.row = s.block.bytes().subspan(offset, size);
  return {};
}

std::uint32_t TableReader::RowId() const {
  return _state->row.empty() ? 0 : LoadField<std::uint32_t>(_state->row, fields::TableRow::kId);
}

bool TableReader::Has(PropTag tag) const { return _state->Present(tag) != nullptr; }

namespace {
Status Absent(PropTag tag) {
  return {StatusCode::kNotFound, "the row has no cell " + ToString(tag)};
}
}  // namespace

Result<std::uint64_t> TableReader::Scalar(PropTag tag) {
  const TableColumn* column = _state->Present(tag);
  if (column == nullptr) return Absent(tag);
  if (!IsScalar(tag.Type())) return Status(StatusCode::kInvalidArgument, "not a scalar type");
  return LoadSized(_state->row, column->offset, column->width);
}

Result<std::vector<std::byte>> TableReader::Bytes(PropTag tag, std::uint64_t limit) {
  const TableColumn* column = _state->Present(tag);
  if (column == nullptr) return Absent(tag);
  if (!IsReferenceCell(tag.Type())) {
    const auto cell = _state->row.subspan(column->offset, column->width);
    return std::vector<std::byte>(cell.begin(), cell.end());
  }
  return ReadHeapValue(_state->heap, _state->Reference(*column), limit);
}

Result<std::u16string> TableReader::Text(PropTag tag, std::uint64_t limit) {
  auto bytes = Bytes(tag, limit);
  if (!bytes.ok()) return bytes.status();
  return DecodeText(*bytes);
}

Result<ValueReader> TableReader::OpenValue(PropTag tag) {
  const TableColumn* column = _state->Present(tag);
  if (column == nullptr) return Absent(tag);
  if (!IsReferenceCell(tag.Type())) {
    return Status(StatusCode::kInvalidArgument, "a scalar is no stream");
  }
  auto state = OpenHeapValue(_state->heap, _state->Reference(*column));
  if (!state.ok()) return state.status();
  return ValueReader(std::move(*state));
}

Status TableReader::ReadRow(PropertyList& out, std::vector<PropTag>* large, std::uint64_t limit) {
  if (_state->row.empty()) return {StatusCode::kInvalidArgument, "no row is selected"};
  for (const TableColumn& column : _state->layout.columns()) {
    const PropTag tag = column.tag;
    if (tag == tags::kLtpRowId || tag == tags::kLtpRowVersion) continue;
    if (!_state->layout.IsPresent(_state->row, column)) continue;
    if (!IsReferenceCell(tag.Type())) {
      out.SetScalar(tag, LoadSized(_state->row, column.offset, column.width));
      continue;
    }
    auto bytes = ReadHeapValue(_state->heap, _state->Reference(column), limit);
    if (bytes.ok()) {
      out.SetBytes(tag, *bytes);
    } else if (bytes.status().code() == StatusCode::kTooBig) {
      if (large != nullptr) large->push_back(tag);
    } else {
      return bytes.status();
    }
  }
  return {};
}

}  // namespace parvane::pstfile
