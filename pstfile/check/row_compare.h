// A table row against the object it stands for, cell by cell.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "pstfile/check/property_check.h"
#include "pstfile/check/table_check.h"

namespace parvane::pstfile::check {

// Every property of the object that has a column is in the row, with the same value; a cell
// without its property is only allowed for what rows alone hold (message status, conversation id).
// `what` begins every message: "row 0x200024 of ...". Only asked for when there is one.
using RowName = std::function<std::string()>;
void CompareRow(Table& table, std::span<const std::byte> row, PropertyContext& object,
                const RowName& what);

}  // namespace parvane::pstfile::check
