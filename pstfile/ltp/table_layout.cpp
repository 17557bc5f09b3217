#include "pstfile/ltp/table_layout.h"

#include <algorithm>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using Info = fields::TableInfo;
using Column = fields::TableColumn;

namespace {

Status Corrupt(const std::string& what) { return {StatusCode::kCorrupt, "TCINFO: " + what}; }

}  // namespace

TableColumn LoadColumn(std::span<const std::byte> tcInfo, std::size_t i) {
  const std::size_t at = kTcInfoSize + kTcColumnSize * i;
  return {PropTag(LoadField<std::uint16_t>(tcInfo, Column::kId, at),
                  LoadField<PropType>(tcInfo, Column::kType, at)),
          LoadField<std::uint16_t>(tcInfo, Column::kOffset, at),
          LoadField<std::uint8_t>(tcInfo, Column::kWidth, at),
          LoadField<std::uint8_t>(tcInfo, Column::kBit, at)};
}

TableLayout TableLayout::FromTags(std::span<const PropTag> tags) {
  TableLayout layout;
  const auto add = [&layout](PropTag tag) {
    TableColumn column;
    column.tag = tag;
    column.width = static_cast<std::uint8_t>(CellWidth(tag.Type()));
    column.bit = static_cast<std::uint8_t>(layout._columns.size());
    layout._columns.push_back(column);
  };
  add(tags::kLtpRowId);
  add(tags::kLtpRowVersion);
  for (const PropTag tag : tags) {
    if (tag != tags::kLtpRowId && tag != tags::kLtpRowVersion) add(tag);
  }
  std::uint16_t offset = 0;
  // [MS-PST] 2.3.4.4: 8- and 4-byte cells first, as the template has them, then 2-byte, then 1-byte
  // ones. Cells of 8 bytes are aligned to 4 only.
  const auto place = [&](std::uint8_t least, std::uint8_t most) {
    for (TableColumn& column : layout._columns) {
      if (column.width < least || column.width > most) continue;
      column.offset = offset;
      offset = static_cast<std::uint16_t>(offset + column.width);
    }
    return offset;
  };
  layout._ends[0] = place(4, 8);
  layout._ends[1] = place(2, 2);
  layout._ends[2] = place(1, 1);
  layout._ends[3] = static_cast<std::uint16_t>(offset + (layout._columns.size() + 7) / 8);
  std::sort(layout._columns.begin(), layout._columns.end(),
            [](const TableColumn& a, const TableColumn& b) { return a.tag < b.tag; });
  layout.MakeInfo();
  return layout;
}

Result<TableLayout> TableLayout::Decode(std::span<const std::byte> tcInfo) {
  if (tcInfo.size() < kTcInfoSize) {
    return Corrupt("item of " + std::to_string(tcInfo.size()) + " bytes");
  }
  if (tcInfo[0] != kTcType) return Corrupt("bType is not 7C");
  TableLayout layout;
  const std::size_t count = LoadField(tcInfo, Info::kColumns);
  for (std::size_t i = 0; i < 4; ++i) layout._ends[i] = LoadU16(tcInfo, Info::kEnds.offset + 2 * i);
  const auto& ends = layout._ends;
  if (ends[0] > ends[1] || ends[1] > ends[2] || ends[2] + (count + 7) / 8 > ends[3] ||
      ends[3] > kMaxHeapItem || tcInfo.size() < kTcInfoSize + kTcColumnSize * count) {
    return Corrupt("rgib does not fit " + std::to_string(count) + " columns");
  }
  // Cells that overlap would be changed together, and a bit that two columns share would make one
  // appear with the other.
  std::vector<bool> taken(ends[2]);
  std::vector<bool> bits(count);
  for (std::size_t i = 0; i < count; ++i) {
    const TableColumn column = LoadColumn(tcInfo, i);
    const std::size_t end = std::size_t{column.offset} + column.width;
    if (column.width != CellWidth(column.tag.Type()) || end > ends[2] || column.bit >= count ||
        bits[column.bit]) {
      return Corrupt("column " + ToString(column.tag) + " does not fit the row");
    }
    bits[column.bit] = true;
    for (std::size_t b = column.offset; b < end; ++b) {
      if (taken[b]) return Corrupt("column " + ToString(column.tag) + " overlaps another");
      taken[b] = true;
    }
    layout._columns.push_back(column);
  }
  std::sort(layout._columns.begin(), layout._columns.end(),
            [](const TableColumn& a, const TableColumn& b) { return a.tag < b.tag; });
  const TableColumn* id = layout.FindId(tags::kLtpRowId.Id());
  if (id == nullptr || id->tag != tags::kLtpRowId || id->offset != 0) {
    return Corrupt("no row id column");
  }
  layout.MakeInfo();
  return layout;
}

const TableColumn* TableLayout::FindId(std::uint16_t id) const {
  const auto found =
      std::lower_bound(_columns.begin(), _columns.end(), id,
                       [](const TableColumn& c, std::uint16_t i) { return c.tag.Id() < i; });
  return found != _columns.end() && found->tag.Id() == id ? &*found : nullptr;
}

void TableLayout::Encode(std::span<std::byte> tcInfo) const {
  std::ranges::copy(_info, tcInfo.begin());
}

void TableLayout::MakeInfo() {
  _info.assign(EncodedSize(), std::byte{0});
  const std::span<std::byte> tcInfo(_info);
  tcInfo[0] = kTcType;
  StoreField(tcInfo, Info::kColumns, _columns.size());
  for (std::size_t i = 0; i < 4; ++i) StoreU16(tcInfo, Info::kEnds.offset + 2 * i, _ends[i]);
  std::size_t at = kTcInfoSize;
  for (const TableColumn& column : _columns) {
    StoreField(tcInfo, Column::kType, static_cast<std::uint16_t>(column.tag.Type()), at);
    StoreField(tcInfo, Column::kId, column.tag.Id(), at);
    StoreField(tcInfo, Column::kOffset, column.offset, at);
    StoreField(tcInfo, Column::kWidth, column.width, at);
    StoreField(tcInfo, Column::kBit, column.bit, at);
    at += kTcColumnSize;
  }
}

HeapId TableLayout::RowIndexOf(std::span<const std::byte> tcInfo) {
  return HeapId(LoadField<std::uint32_t>(tcInfo, Info::kRowIndex));
}
HeapId TableLayout::RowsOf(std::span<const std::byte> tcInfo) {
  return HeapId(LoadField<std::uint32_t>(tcInfo, Info::kRows));
}
void TableLayout::SetRowIndex(std::span<std::byte> tcInfo, HeapId id) {
  StoreField(tcInfo, Info::kRowIndex, id.value);
}
void TableLayout::SetRows(std::span<std::byte> tcInfo, HeapId id) {
  StoreField(tcInfo, Info::kRows, id.value);
}

}  // namespace parvane::pstfile
