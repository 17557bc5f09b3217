// What the checks of nodes' contents share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pstfile/check/image.h"
#include "pstfile/check/node_check.h"
#include "pstfile/check/reporter.h"

namespace parvane::pstfile::check {

// Nesting of subnodes and embedded messages that is followed.
inline constexpr int kMaximumDepth = 128;

// Where an object lives.
struct Location {
  BlockId data;
  BlockId sub;
};

struct Context {
  Image& image;
  Reporter& reporter;
  FolderDirectory& folders;
  // Blocks that may still be read as heap pages or subnode blocks. Trees can share blocks, so that
  // a small hostile file describes contents without end; honest files stay far below this.
  std::uint64_t work = 0;
  // The store's record key, if it is readable.
  std::optional<std::vector<std::byte>> recordKey;
  // Names in the name map, if it is readable.
  std::optional<std::uint32_t> names;
  // The last description of a table that was found sound.
  std::vector<std::byte> soundColumns = {};

  // Takes `amount` of work; false, and a finding once, when there is none left.
  bool Spend(std::uint64_t amount, const std::string& where) {
    if (work >= amount) {
      work -= amount;
      return true;
    }
    if (reporter.summary().counts.count(codes::kLimit) == 0) {
      reporter.Error(codes::kLimit,
                     where +
                         ": blocks are shared beyond all reason; contents from here on are "
                         "not examined");
    }
    work = 0;
    return false;
  }
};

}  // namespace parvane::pstfile::check
