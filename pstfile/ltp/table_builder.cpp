#include "pstfile/ltp/table_builder.h"

#include <algorithm>
#include <vector>

#include "platform/recycled_vector.h"
#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/heap_builder.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

namespace {

constexpr std::size_t kIndexRecordSize = kRowIndexKeySize + kRowIndexDataSize;

// Rows and index fit a heap item each, and so does every value.
Result<bool> IsSmall(const TableLayout& layout, const RowSource& rows) {
  const std::size_t count = rows.RowCount();
  if (count * layout.rowSize() > kMaxHeapItem || count * kIndexRecordSize > kMaxHeapItem) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0 && rows.RowKey(i) <= rows.RowKey(i - 1)) return false;
    auto cells = rows.Row(i);
    if (!cells.ok()) return cells.status();
    if (!(*cells)->HasOnlyShort(kMaxHeapItem)) return false;
  }
  return true;
}

void FillRow(const TableLayout& layout, const PropertyList& cells, std::uint32_t key,
             std::uint32_t version, HeapBuilder& heap, std::span<std::byte> bytes) {
  (void)layout
      .VisitCells(cells,
                  [&](const TableColumn& column, const Property& property) {
                    layout.SetPresent(bytes, column, true);
                    if (!IsReferenceCell(column.tag.Type())) {
                      StoreSized(bytes, column.offset, column.width, property.scalar);
                    } else if (!property.bytes.empty()) {
                      StoreU32(bytes, column.offset, heap.Add(property.bytes).value);
                    }
                    return Status();
                  })
      .ok();
  for (const auto& [tag, value] :
       {std::pair{tags::kLtpRowId, key}, std::pair{tags::kLtpRowVersion, version}}) {
    const TableColumn* column = layout.FindId(tag.Id());
    if (column == nullptr || column->width != 4) continue;
    layout.SetPresent(bytes, *column, true);
    StoreU32(bytes, column->offset, value);
  }
}

Result<WrittenTable> WriteSmall(NodeDatabase& database, const TableLayout& layout,
                                const RowSource& rows, std::uint32_t version) {
  const std::size_t count = rows.RowCount();
  HeapBuilder heap(HeapClient::kTableContext);
  const HeapId headerId = heap.Add(kBthHeaderSize);
  const HeapId infoId = heap.Add(layout.EncodedSize());
  heap.SetUserRoot(infoId);
  BthHeader header{kRowIndexKeySize, kRowIndexDataSize, 0, HeapId()};
  HeapId rowsId;
  if (count != 0) {
    platform::RecycledVector<std::byte> matrix;
    matrix.resize(count * layout.rowSize());
    for (std::size_t i = 0; i < count; ++i) {
      auto cells = rows.Row(i);
      if (!cells.ok()) return cells.status();
      FillRow(layout, **cells, rows.RowKey(i), version, heap,
              std::span(matrix).subspan(i * layout.rowSize(), layout.rowSize()));
    }
    header.root = heap.Add(count * kIndexRecordSize);
    const auto index = heap.Item(header.root);
    for (std::size_t i = 0; i < count; ++i) {
      StoreU32(index, i * kIndexRecordSize, rows.RowKey(i));
      StoreU32(index, i * kIndexRecordSize + kRowIndexKeySize, static_cast<std::uint32_t>(i));
    }
    rowsId = heap.Add(matrix);
  }
  header.Encode(heap.Item(headerId));
  const auto info = heap.Item(infoId);
  layout.Encode(info);
  TableLayout::SetRowIndex(info, headerId);
  TableLayout::SetRows(info, rowsId);
  auto data = heap.Write(database);
  if (!data.ok()) return data.status();
  return WrittenTable{{*data, BlockId()}, heap.size()};
}

}  // namespace

Result<WrittenTable> WriteTable(NodeDatabase& database, const TableLayout& layout,
                                const RowSource& rows, std::uint32_t version) {
  auto small = IsSmall(layout, rows);
  if (!small.ok()) return small.status();
  if (*small) return WriteSmall(database, layout, rows, version);
  auto table = TableEditor::Create(database, layout);
  if (!table.ok()) return table.status();
  for (std::size_t i = 0; i < rows.RowCount(); ++i) {
    auto cells = rows.Row(i);
    if (!cells.ok()) return cells.status();
    if (Status status = (*table)->AppendRow(rows.RowKey(i), version, **cells); !status.ok()) {
      AbandonValues(database, **cells);
      return status;
    }
  }
  auto roots = (*table)->Flush();
  if (!roots.ok()) return roots.status();
  return WrittenTable{*roots, (*table)->LogicalSize()};
}

}  // namespace parvane::pstfile
