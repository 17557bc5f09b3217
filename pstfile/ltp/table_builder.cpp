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
bool IsSmall(const TableLayout& layout, std::span<const TableRow> rows) {
  if (rows.size() * layout.rowSize() > kMaxHeapItem ||
      rows.size() * kIndexRecordSize > kMaxHeapItem) {
    return false;
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0 && rows[i].id <= rows[i - 1].id) return false;
    if (!rows[i].cells->HasOnlyShort(kMaxHeapItem)) return false;
  }
  return true;
}

void FillRow(const TableLayout& layout, const TableRow& row, std::uint32_t version,
             HeapBuilder& heap, std::span<std::byte> bytes) {
  (void)layout
      .VisitCells(*row.cells,
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
       {std::pair{tags::kLtpRowId, row.id}, std::pair{tags::kLtpRowVersion, version}}) {
    const TableColumn* column = layout.FindId(tag.Id());
    if (column == nullptr || column->width != 4) continue;
    layout.SetPresent(bytes, *column, true);
    StoreU32(bytes, column->offset, value);
  }
}

Result<WrittenTable> WriteSmall(NodeDatabase& database, const TableLayout& layout,
                                std::span<const TableRow> rows, std::uint32_t version) {
  HeapBuilder heap(HeapClient::kTableContext);
  const HeapId headerId = heap.Add(kBthHeaderSize);
  const HeapId infoId = heap.Add(layout.EncodedSize());
  heap.SetUserRoot(infoId);
  BthHeader header{kRowIndexKeySize, kRowIndexDataSize, 0, HeapId()};
  HeapId rowsId;
  if (!rows.empty()) {
    platform::RecycledVector<std::byte> matrix;
    matrix.resize(rows.size() * layout.rowSize());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      FillRow(layout, rows[i], version, heap,
              std::span(matrix).subspan(i * layout.rowSize(), layout.rowSize()));
    }
    header.root = heap.Add(rows.size() * kIndexRecordSize);
    const auto index = heap.Item(header.root);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      StoreU32(index, i * kIndexRecordSize, rows[i].id);
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
                                std::span<const TableRow> rows, std::uint32_t version) {
  if (IsSmall(layout, rows)) return WriteSmall(database, layout, rows, version);
  auto table = TableEditor::Create(database, layout);
  if (!table.ok()) return table.status();
  for (const TableRow& row : rows) {
    if (Status status = (*table)->AppendRow(row.id, version, *row.cells); !status.ok()) {
      AbandonValues(database, *row.cells);
      return status;
    }
  }
  auto roots = (*table)->Flush();
  if (!roots.ok()) return roots.status();
  return WrittenTable{*roots, (*table)->LogicalSize()};
}

}  // namespace parvane::pstfile
