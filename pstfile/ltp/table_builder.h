// Writes a table whose rows are all there, in one go.
#pragma once

#include <cstdint>

#include "platform/status.h"
#include "pstfile/ltp/row_source.h"
#include "pstfile/ltp/table_editor.h"
#include "pstfile/ltp/table_layout.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

struct WrittenTable {
  TableEditor::Roots roots;  // loose
  std::uint64_t size = 0;    // logical bytes of heap, rows and values in subnodes
};

// As TableEditor::AppendRow for one row after the other, then Flush. Small tables, as nearly all of
// messages are, come about in memory and take a single block; of others, only what is being written
// is in memory. When a row fails, its stored values are given back.
platform::Result<WrittenTable> WriteTable(NodeDatabase& database, const TableLayout& layout,
                                          const RowSource& rows, std::uint32_t version);

}  // namespace parvane::pstfile
