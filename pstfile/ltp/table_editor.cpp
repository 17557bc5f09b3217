#include "pstfile/ltp/table_editor.h"

#include <algorithm>
#include <array>
#include <string>

#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/stored_values.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// What one row may take at most: 255 cells of the largest size.
constexpr std::uint32_t kPagesForOneRow = 160;
constexpr std::size_t kMaxSubnodes = kMaximumSiBlockEntries * kMaximumSlBlockEntries;
// SLBLOCKs need not be full.
constexpr std::size_t kSubnodeLimit = kMaxSubnodes / 2;

bool IsLarge(const Property& property) {
  return property.kind != Property::Kind::kScalar && property.Size() > kMaxHeapItem;
}

}  // namespace

Result<std::unique_ptr<TableEditor>> TableEditor::Create(NodeDatabase& database,
                                                         const TableLayout& layout) {
  auto heap = HeapEditor::Create(database, HeapClient::kTableContext);
  if (!heap.ok()) return heap.status();
  auto subnodes = SubnodeTreeEditor::Open(database, BlockId());
  if (!subnodes.ok()) return subnodes.status();
  std::unique_ptr<TableEditor> table(
      new TableEditor(database, std::move(*heap), std::move(*subnodes)));
  table->_layout = layout;
  auto index = RowIndexEditor::Create(table->_heap);
  if (!index.ok()) return index.status();
  table->_index = std::move(*index);
  std::vector<std::byte> info(layout.EncodedSize());
  layout.Encode(info);
  TableLayout::SetRowIndex(info, table->_index->header());
  auto root = table->_heap.Add(info);
  if (!root.ok()) return root.status();
  table->_heap.SetUserRoot(*root);
  table->_matrix = RowMatrixEditor::Create(database, layout.rowSize());
  table->_matrixNode = kNidRowMatrix;
  table->_changed = true;
  return table;
}

Result<std::unique_ptr<TableEditor>> TableEditor::Open(NodeDatabase& database, BlockId data,
                                                       BlockId subnodes) {
  auto heap = HeapEditor::Open(database, data);
  if (!heap.ok()) return heap.status();
  auto tree = SubnodeTreeEditor::Open(database, subnodes);
  if (!tree.ok()) return tree.status();
  std::unique_ptr<TableEditor> table(new TableEditor(database, std::move(*heap), std::move(*tree)));
  if (subnodes) {
    auto all = SubnodeTree::Open(database, subnodes);
    if (!all.ok()) return all.status();
    auto entries = all->Entries();
    if (!entries.ok()) return entries.status();
    table->_subnodeCount = entries->size();
  }
  if (Status status = table->OpenParts(); !status.ok()) return status;
  return table;
}

Status TableEditor::OpenParts() {
  auto info = _heap.Item(_heap.userRoot());
  if (!info.ok()) return info.status();
  auto layout = TableLayout::Decode(*info);
  if (!layout.ok()) return layout.status();
  _layout = std::move(*layout);
  const HeapId indexId = TableLayout::RowIndexOf(*info);
  const HeapId rowsId = TableLayout::RowsOf(*info);
  auto index = RowIndexEditor::Open(_heap, indexId);
  if (!index.ok()) return index.status();
  _index = std::move(*index);
  if (rowsId.IsHeapItem()) {
    auto rows = _heap.Item(rowsId);
    if (!rows.ok()) return rows.status();
    _matrix = RowMatrixEditor::FromItem(*_database, _layout.rowSize(), rowsId, *rows);
    _matrixNode = kNidRowMatrix;
    return {};
  }
  _matrixNode = NodeId(rowsId.value);
  auto entry = _subnodes.Find(_matrixNode);
  if (!entry.ok()) return entry.status();
  if (!entry->has_value()) {
    return {StatusCode::kCorrupt, "row matrix " + ToString(_matrixNode) + " is missing"};
  }
  auto matrix = RowMatrixEditor::FromTree(*_database, _layout.rowSize(), (*entry)->data);
  if (!matrix.ok()) return matrix.status();
  _matrix = std::move(*matrix);
  return {};
}

Status TableEditor::CheckRoom() const {
  if (_heap.pages() + kPagesForOneRow > _heap.pageLimit()) {
    return {StatusCode::kTooBig, "the table's heap is full: " + std::to_string(rows()) + " rows"};
  }
  if (_subnodeCount + _layout.columns().size() > kSubnodeLimit) {
    return {StatusCode::kTooBig,
            "the table has " + std::to_string(_subnodeCount) + " values of their own"};
  }
  return {};
}

Result<HeapId> TableEditor::PlaceSubnode(const Property& property) {
  auto value = KeepInBlocks(*_database, property);
  if (!value.ok()) return value.status();
  auto node = _database->AllocateNodeId(NodeKind::kValue);
  Status status = node.status();
  if (status.ok()) status = _subnodes.Put({*node, value->root, BlockId()});
  if (!status.ok()) {
    if (property.kind == Property::Kind::kBytes) _database->AbandonBlock(value->root);
    return status;
  }
  ++_subnodeCount;
  _valueBytes += value->size;
  return HeapId(node->value);
}

// The value for a cell that referred to `old`, at most 3580 bytes long, or none.
Result<HeapId> TableEditor::ReplaceValue(HeapId old, const std::optional<Property>& property) {
  if (!property) return MoveValue(old, HeapId());
  std::vector<std::byte> read;
  std::span<const std::byte> bytes = property->bytes;
  if (property->kind == Property::Kind::kStored) {
    auto stored = ReadStored(*_database, property->stored, kMaxHeapItem);
    if (!stored.ok()) return stored.status();
    read = std::move(*stored);
    bytes = read;
  }
  if (!old.IsHeapItem()) {
    auto added = _heap.Add(bytes);
    return added.ok() ? MoveValue(old, *added) : added;
  }
  auto item = _heap.Item(old);
  if (!item.ok()) return item.status();
  if (std::ranges::equal(*item, bytes)) return old;
  return _heap.Replace(old, bytes);
}

Result<HeapId> TableEditor::MoveValue(HeapId from, HeapId to) {
  if (Status status = FreeValue(from); !status.ok()) return status;
  return to;
}

Status TableEditor::FreeValue(HeapId id) {
  if (id.IsHeapItem()) return _heap.Free(id);
  if (_subnodeCount > 0) --_subnodeCount;
  return _subnodes.Remove(NodeId(id.value));
}

Status TableEditor::AppendRow(std::uint32_t rowId, std::uint32_t version,
                              const PropertyList& cells) {
  if (Status status = CheckRoom(); !status.ok()) return status;
  if (auto exists = HasRow(rowId); !exists.ok()) {
    return exists.status();
  } else if (*exists) {
    return {StatusCode::kExists, "row " + ToHex(rowId) + " exists"};
  }
  _row.assign(_layout.rowSize(), std::byte{0});
  _placed.clear();
  const auto undo = [&](Status status) {
    for (const HeapId id : _placed) {
      if (Status freed = FreeValue(id); !freed.ok()) break;
    }
    return status;
  };
  const auto refer = [&](const TableColumn& column, const Result<HeapId>& id) -> Status {
    if (!id.ok()) return id.status();
    _placed.push_back(*id);
    StoreU32(_row, column.offset, id->value);
    _layout.SetPresent(_row, column, true);
    return {};
  };
  // Large values first: writing their blocks is what can fail.
  if (!cells.HasOnlyShort(kMaxHeapItem)) {
    Status status = _layout.VisitCells(cells, [&](const TableColumn& column, const Property& p) {
      return IsLarge(p) ? refer(column, PlaceSubnode(p)) : Status();
    });
    if (!status.ok()) return undo(status);
  }
  Status placed = _layout.VisitCells(cells, [&](const TableColumn& column, const Property& p) {
    if (!IsReferenceCell(column.tag.Type())) {
      StoreSized(_row, column.offset, column.width, p.scalar);
      _layout.SetPresent(_row, column, true);
      return Status();
    }
    if (IsLarge(p)) return Status();
    return refer(column,
                 p.kind == Property::Kind::kBytes ? _heap.Add(p.bytes) : ReplaceValue(HeapId(), p));
  });
  if (!placed.ok()) return undo(placed);
  for (const auto& [tag, value] :
       {std::pair{tags::kLtpRowId, rowId}, std::pair{tags::kLtpRowVersion, version}}) {
    const TableColumn* column = _layout.FindId(tag.Id());
    if (column == nullptr || column->width != 4) continue;
    _layout.SetPresent(_row, *column, true);
    StoreU32(_row, column->offset, value);
  }
  // The matrix last: what goes before it can be undone.
  const auto number = static_cast<std::uint32_t>(rows());
  if (Status status = _index->Insert(rowId, number); !status.ok()) return undo(status);
  if (Status status = _matrix->Append(_row); !status.ok()) {
    if (Status removed = _index->Remove(rowId); !removed.ok()) return removed;
    return undo(status);
  }
  _changed = true;
  return {};
}

Result<std::uint64_t> TableEditor::RowNumber(std::uint32_t rowId) {
  auto number = _index->Find(rowId);
  if (!number.ok()) return number.status();
  if (!number->has_value()) {
    return Status(StatusCode::kNotFound, "no row " + ToHex(rowId));
  }
  return std::uint64_t{**number};
}

Result<bool> TableEditor::HasRow(std::uint32_t rowId) {
  auto number = _index->Find(rowId);
  if (!number.ok()) return number.status();
  return number->has_value();
}

Result<std::optional<std::uint64_t>> TableEditor::Scalar(std::uint32_t rowId, PropTag tag) {
  auto number = RowNumber(rowId);
  if (!number.ok()) return number.status();
  auto row = _matrix->Read(*number);
  if (!row.ok()) return row.status();
  const TableColumn* column = _layout.FindId(tag.Id());
  if (column == nullptr || column->tag != tag || !IsScalar(tag.Type()) ||
      !_layout.IsPresent(*row, *column)) {
    return std::optional<std::uint64_t>();
  }
  return std::optional(LoadSized(*row, column->offset, column->width));
}

Status TableEditor::UpdateRow(std::uint32_t rowId, std::uint32_t version, const PropertyList& cells,
                              bool keepOthers) {
  auto number = RowNumber(rowId);
  if (!number.ok()) return number.status();
  // Large values first: writing their blocks is what can fail, and the row is untouched then.
  std::vector<std::pair<const TableColumn*, HeapId>> large;
  for (const TableColumn& column : _layout.columns()) {
    const auto property = cells.Find(column.tag);
    if (!property || !IsReferenceCell(column.tag.Type()) || !IsLarge(*property)) continue;
    auto id = PlaceSubnode(*property);
    if (!id.ok()) {
      for (const auto& [placed, node] : large) {
        if (Status status = FreeValue(node); !status.ok()) return status;
      }
      return id.status();
    }
    large.emplace_back(&column, *id);
  }
  auto row = _matrix->Edit(*number);
  if (!row.ok()) return row.status();
  _changed = true;
  for (const TableColumn& column : _layout.columns()) {
    if (column.tag == tags::kLtpRowId) continue;
    if (column.tag == tags::kLtpRowVersion) {
      StoreU32(*row, column.offset, version);
      continue;
    }
    const auto property = cells.Find(column.tag);
    if (!property && keepOthers) continue;
    std::uint64_t cell = property ? property->scalar : 0;
    if (IsReferenceCell(column.tag.Type())) {
      const HeapId old(_layout.IsPresent(*row, column) ? LoadU32(*row, column.offset) : 0);
      const auto placed = std::ranges::find(large, &column, [](const auto& p) { return p.first; });
      auto id =
          placed != large.end() ? MoveValue(old, placed->second) : ReplaceValue(old, property);
      if (!id.ok()) return id.status();
      cell = id->value;
    }
    StoreSized(*row, column.offset, column.width, cell);
    _layout.SetPresent(*row, column, property.has_value());
  }
  return {};
}

Status TableEditor::RemoveRow(std::uint32_t rowId) {
  auto number = RowNumber(rowId);
  if (!number.ok()) return number.status();
  auto row = _matrix->Edit(*number);
  if (!row.ok()) return row.status();
  _changed = true;
  for (const TableColumn& column : _layout.columns()) {
    if (!IsReferenceCell(column.tag.Type()) || !_layout.IsPresent(*row, column)) continue;
    if (Status status = FreeValue(HeapId(LoadU32(*row, column.offset))); !status.ok()) {
      return status;
    }
  }
  if (Status status = _index->Remove(rowId); !status.ok()) return status;
  // The matrix has no holes: its last row moves into this one, and the index learns of it.
  if (const std::uint64_t last = rows() - 1; last != *number) {
    auto moved = _matrix->Edit(last);
    if (!moved.ok()) return moved.status();
    const std::vector<std::byte> copy(moved->begin(), moved->end());
    auto hole = _matrix->Edit(*number);
    if (!hole.ok()) return hole.status();
    std::copy(copy.begin(), copy.end(), hole->begin());
    if (Status status = _index->Move(LoadField<std::uint32_t>(copy, fields::TableRow::kId),
                                     static_cast<std::uint32_t>(*number));
        !status.ok()) {
      return status;
    }
  }
  return _matrix->RemoveLast();
}

Result<TableEditor::Roots> TableEditor::Flush() {
  // From the inside out: the index lives on the heap, a matrix that has grown moves from there into
  // a subnode, and the header on the heap tells where it is.
  if (Status status = _index->Flush(); !status.ok()) return status;
  auto place = _matrix->Flush(_heap);
  if (!place.ok()) return place.status();
  HeapId rowsId = place->item;
  if (place->root) {
    auto known = _subnodes.Find(_matrixNode);
    if (!known.ok()) return known.status();
    if (!known->has_value() || (*known)->data != *place->root) {
      if (Status status = _subnodes.Put({_matrixNode, *place->root, BlockId()}); !status.ok()) {
        return status;
      }
    }
    rowsId = HeapId(_matrixNode.value);
  } else if (_matrix->inTree()) {
    if (Status status = _subnodes.Remove(_matrixNode); !status.ok()) return status;
  }
  auto info = _heap.Item(_heap.userRoot());
  if (!info.ok()) return info.status();
  if (TableLayout::RowsOf(*info) != rowsId) {
    std::vector<std::byte> copy(info->begin(), info->end());
    TableLayout::SetRows(copy, rowsId);
    if (auto kept = _heap.Replace(_heap.userRoot(), copy, true); !kept.ok()) {
      return kept.status();
    }
  }
  Roots roots;
  auto data = _heap.Flush();
  if (!data.ok()) return data.status();
  roots.data = *data;
  auto subnodes = _subnodes.Flush();
  if (!subnodes.ok()) return subnodes.status();
  roots.subnodes = *subnodes;
  _changed = false;
  return roots;
}

std::uint64_t TableEditor::LogicalSize() const {
  return _heap.size() + _matrix->treeSize() + _valueBytes;
}

std::size_t TableEditor::PendingBytes() const {
  return _heap.PendingBytes() + _matrix->PendingBytes() + 6 * kMaximumBlockSize;
}

}  // namespace parvane::pstfile
