#include "desk/pst_rows.h"

#include "mapi/com_pointer.h"
#include "mapi/constants.h"

namespace parvane::desk {
namespace {

constexpr mapi::LONG kRowsAtATime = 200;

// Goes past a row that cannot be read; false at the end of the table.
bool StepOver(mapi::IMAPITable& table) {
  mapi::LONG passed = 0;
  return !mapi::Failed(table.SeekRow(mapi::BOOKMARK_CURRENT, 1, &passed)) && passed == 1;
}

}  // namespace

// A row that cannot be read spoils those that are asked for together with it: they are asked for
// once more, one by one.
bool ForEachRow(mapi::IMAPITable& table, mapi::SPropTagArray* columns, const RowVisitor& visitor) {
  if (mapi::Failed(table.SetColumns(columns, 0))) return false;
  std::uint64_t number = 0, unreadable = 0;
  mapi::LONG together = kRowsAtATime, singly = 0;
  const auto tellUnreadable = [&] {
    if (unreadable > 0) visitor.unreadable(number - unreadable + 1, number);
    unreadable = 0;
  };
  for (;;) {
    mapi::RowSet rows;
    if (mapi::Failed(table.QueryRows(together, 0, rows.Put()))) {
      if (together > 1) {
        singly = together;
        together = 1;
        continue;
      }
      if (!StepOver(table)) {
        tellUnreadable();
        return number > 0;
      }
      ++number;
      ++unreadable;
    } else {
      tellUnreadable();
      if (rows.size() == 0) return true;
      for (const mapi::SRow& row : rows) visitor.visit(row, ++number);
    }
    if (together == 1 && --singly <= 0) together = kRowsAtATime;
  }
}

}  // namespace parvane::desk
