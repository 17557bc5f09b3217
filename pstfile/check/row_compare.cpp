#include "pstfile/check/row_compare.h"

#include <algorithm>
#include <optional>
#include <span>

#include "pstfile/ltp/bth.h"
#include "pstfile/ndb/fields.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint64_t kLongValue = 200;  // bytes

std::string Shown(Value& value, PropType type) {
  if (value.size() <= 8 && IsScalar(type)) return ToHex(value.Number());
  return Say(value.size(), " bytes");
}

// The part of a conversation index that is the conversation's id, behind its mark and its time.
constexpr Field kConversation{"guid", 6, 16};

bool IsConversationId(Value& cell, PropertyContext& object) {
  const auto index = object.Bytes(tags::kConversationIndex);
  if (!index || index->size() < kConversation.offset + kConversation.size) {
    return true;  // made up by whoever wrote the row
  }
  const auto id = std::span(*index).subspan(kConversation.offset, kConversation.size);
  return std::ranges::equal(cell.Bytes(kConversation.size), id);
}

void JudgeExtraCell(Table& table, const TableColumn& column, Value& cell, PropertyContext& object,
                    const RowName& what) {
  Reporter& reporter = table.heap().context().reporter;
  if (column.tag == tags::kMessageStatus) return;
  if (column.tag == tags::kConversationId) {
    if (!IsConversationId(cell, object)) {
      reporter.Habit(codes::kRowDiffers, Say(what(), ", column ", ToString(column.tag),
                                             ": not the id in the conversation index"));
    }
    return;
  }
  reporter.Habit(codes::kRowDiffers,
                 Say(what(), ", column ", ToString(column.tag), ": ",
                     Shown(cell, column.tag.Type()), ", but the object has no such property"));
}

// Whether cell and property are alike, where both can be seen without a closer look: the common
// case.
bool IsSame(Table& table, std::span<const std::byte> row, const TableColumn& column,
            PropertyContext& object, const PropertyEntry& entry) {
  const PropType type = column.tag.Type();
  if (!IsDescribedRightly(row, column) || !table.Has(row, column)) return false;
  const auto cell = row.subspan(column.offset, column.width);
  if (IsInPlace(type)) {
    return LoadSized(cell, 0, cell.size()) ==
           (entry.raw & (~std::uint64_t{0} >> (64 - 8 * cell.size())));
  }
  if (entry.raw == 0) return false;
  const auto value = object.heap().PeekItem(HeapId(entry.raw));
  if (!value) return false;
  if (IsScalar(type)) return SameBytes(cell, *value);
  const std::uint32_t place = LoadU32(cell);
  const auto item = place == 0 ? std::nullopt : table.heap().PeekItem(HeapId(place));
  return item && SameBytes(*item, *value);
}

}  // namespace

void CompareRow(Table& table, std::span<const std::byte> row, PropertyContext& object,
                const RowName& what) {
  Reporter& reporter = table.heap().context().reporter;
  for (const TableColumn& column : table.columns()) {
    if (column.tag == tags::kLtpRowId || column.tag == tags::kLtpRowVersion) continue;
    const PropertyEntry* entry = object.Find(column.tag.Id());
    if (entry != nullptr && entry->tag != column.tag) continue;  // of another type
    if (entry != nullptr && IsSame(table, row, column, object, *entry)) continue;
    auto cell = table.Cell(row, column);
    if (entry == nullptr) {
      if (cell) JudgeExtraCell(table, column, *cell, object, what);
      continue;
    }
    auto value = object.ValueOf(*entry);
    if (!value) continue;
    if (!cell) {
      if (!table.Has(row, column)) {
        reporter.Habit(codes::kRowLacksCell,
                       Say(what(), ", column ", ToString(column.tag), ": absent, the object has ",
                           Shown(*value, column.tag.Type())));
      }
      continue;
    }
    if (cell->Equals(*value)) continue;
    const std::string message =
        Say(what(), ", column ", ToString(column.tag), ": ", Shown(*cell, column.tag.Type()),
            ", the object has ", Shown(*value, column.tag.Type()));
    // Outlook does not always bring a row's size up to date, and cuts long values short.
    if (column.tag == tags::kMessageSize ||
        (cell->size() >= kLongValue && cell->IsPrefixOf(*value))) {
      reporter.Habit(codes::kRowDiffers, message);
    } else {
      reporter.Error(codes::kRowDiffers, message);
    }
  }
}

}  // namespace parvane::pstfile::check
