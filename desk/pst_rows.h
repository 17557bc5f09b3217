// The rows of a MAPI table, those that can be read.
#pragma once

#include <cstdint>
#include <functional>

#include "mapi/table.h"

namespace parvane::desk {

struct RowVisitor {
  // Rows are counted from 1.
  std::function<void(const mapi::SRow& row, std::uint64_t number)> visit;
  // The rows from `first` to `last` cannot be read.
  std::function<void(std::uint64_t first, std::uint64_t last)> unreadable;
};

// False when there is no reading this table.
bool ForEachRow(mapi::IMAPITable& table, mapi::SPropTagArray* columns, const RowVisitor& visitor);

}  // namespace parvane::desk
