// Inside of ValueWriter.
#pragma once

#include <functional>
#include <optional>

#include "pstfile/ndb/data_tree.h"
#include "pstfile/store/value_writer.h"

namespace parvane::pstfile {

struct ValueWriter::State {
  State(NodeDatabase& database, Kind theKind, std::function<void(const platform::Status&)> report)
      : writer(database), kind(theKind), onFailure(std::move(report)) {}

  platform::Status Report(platform::Status status);
  // Writes text, holding back a high surrogate until it is known what follows.
  platform::Status PutText(std::span<const std::byte> text);
  platform::Status PutUnit(char16_t unit);

  DataTreeWriter writer;
  Kind kind;
  std::function<void(const platform::Status&)> onFailure;  // the store latches write failures
  char16_t pendingHigh = 0;
  std::optional<std::byte> pendingByte;
};

}  // namespace parvane::pstfile
