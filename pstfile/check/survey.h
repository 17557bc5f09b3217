// What the first look at everything gathers for the checks that come later. Where it found no
// fault, they need not go through the trees again.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "pstfile/check/image.h"
#include "pstfile/check/space_map.h"

namespace parvane::pstfile::check {

// Appends the ids that an internal block refers to, 0s left out; nothing for a block of an unknown
// kind. What a wrong count leaves out is told by the block's own check.
void AppendReferences(std::span<const std::byte> data, std::vector<BlockId>& to);

// Whether all blocks' counts of references are right, in 16 bytes: each block has a random number,
// and the sum over all references must be the sum over all counts. That a wrong count goes
// unnoticed takes a chance of one in 2^64 and less, which no file can bring about, since the
// numbers are drawn anew each time.
class ReferenceSum {
 public:
  ReferenceSum();
  // A block of the file; `stored` counts the tree's own reference as well.
  void AddBlock(BlockId bid, std::uint16_t stored) {
    _doubtful = _doubtful || stored < 2;  // an orphan, whatever the sums say
    Add(bid, std::uint64_t{stored} - 1);
  }
  void AddReference(BlockId bid) {
    if (bid) Add(bid, ~std::uint64_t{0});
  }
  bool Agrees() const { return !_doubtful && _sums[0] == 0 && _sums[1] == 0; }

 private:
  void Add(BlockId bid, std::uint64_t times);

  std::array<std::uint64_t, 2> _keys{};
  std::array<std::uint64_t, 2> _sums{};
  bool _doubtful = false;
};

class Survey {
 public:
  explicit Survey(const Image& image);

  void OnPage(std::uint64_t offset) { Take(offset, kPageSize); }
  // `data` of internal blocks only.
  void OnBlock(const BlockRecord& block, std::span<const std::byte> data);
  void OnNode(const NodeRecord& node);

  // Pages or blocks could not be read or understood: what was gathered is not everything.
  void Discard();
  // The map of the file's first intervals; null when it is not right.
  const SpaceMap* space() const { return _spaceIsRight ? &_space : nullptr; }
  void DropSpace();
  bool referencesAreRight() const { return _complete && _references.Agrees(); }

 private:
  void Take(std::uint64_t offset, std::uint64_t size) {
    if (_space.Take(offset, size, _fileSize) != SpaceMap::Outcome::kTaken) _spaceIsRight = false;
  }

  std::uint64_t _fileSize;
  SpaceMap _space;
  bool _spaceIsRight = true;
  bool _complete = true;
  ReferenceSum _references;
  std::vector<BlockId> _referred;  // by the block at hand
};

}  // namespace parvane::pstfile::check
