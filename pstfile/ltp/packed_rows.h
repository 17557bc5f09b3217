// Rows that wait for their table to be written, however many: packed one behind the other, and in
// blocks of the file as soon as they fill more than a piece.
//
// A message of a few megabytes may have a million recipients or a hundred thousand attachments; as
// property lists they would take a hundred times the message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

class PackedRows {
 public:
  // Keeps a copy of a row; `position` is where to find it again. Its stored values are referred
  // to. With `columns`, only properties of these tags are kept. Full pieces go to blocks of
  // `spill`; null keeps all of them in memory.
  platform::Status Add(NodeDatabase* spill, const PropertyList& row, std::uint64_t& position,
                       std::span<const PropTag> columns = {});
  // Replaces what `row` holds.
  platform::Status Read(const NodeDatabase& database, std::uint64_t position, PropertyList& row);
  // The row is needed no more. Pieces without rows are given back.
  void Release(NodeDatabase& database, std::uint64_t position);
  // None of them is. Without it, blocks are left to their fate: the file may be closed by now.
  void Clear(NodeDatabase& database);

 private:
  struct Piece {
    std::uint64_t start = 0;  // position of its first row
    std::size_t rows = 0;     // that are still needed
    std::vector<std::byte> bytes;
    StoredValue stored;  // once it left memory
  };
  std::deque<Piece>::iterator PieceOf(std::uint64_t position);
  void Drop(NodeDatabase& database, Piece& piece);

  std::deque<Piece> _pieces;
  std::uint64_t _end = 0;
  // The piece in the file that was read last.
  BlockId _loadedRoot;
  std::vector<std::byte> _loaded;
};

}  // namespace parvane::pstfile
