// Which bytes of the file the open session may write blocks and pages to.
//
// Space comes from two places: extents freed (or found free) by this session, and the tail, which
// runs from a moving mark to the end of the file. Space that the last committed state uses is
// given back only once the commit that replaced it is durable. Space taken and dropped within one
// transaction can be taken again at once.
//
// Nothing here touches the file. Memory is proportional to the number of free extents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

class SpaceManager {
 public:
  // Everything from `mark` to `end` is free, nothing else. Both are offsets; `end` is the end of an
  // interval.
  void Reset(std::uint64_t mark, std::uint64_t end);
  // The file now ends at `end`, a later interval's end.
  void Extend(std::uint64_t end) { _end = end; }

  // `size` bytes (at most 8192) at a multiple of `alignment`, never across an AMap; nullopt when
  // the file has to grow first.
  std::optional<std::uint64_t> Allocate(std::uint64_t size, std::uint64_t alignment);
  // For space the last committed state does not use: free at once.
  void Free(std::uint64_t offset, std::uint64_t size);
  // For space it does use: free after CommitDone.
  void FreeAfterCommit(std::uint64_t offset, std::uint64_t size) {
    _pending.emplace_back(offset, size);
  }
  void CommitDone();

  std::uint64_t mark() const { return _mark; }
  std::uint64_t end() const { return _end; }
  // Bytes that surely fit between mark and end whatever their sizes: map pages and the ends of
  // intervals are accounted for.
  std::uint64_t TailRoom() const;

  // Free extents below the mark, by offset. None contains a map page.
  const std::map<std::uint64_t, std::uint64_t>& extents() const { return _byOffset; }

 private:
  void Insert(std::uint64_t offset, std::uint64_t size);
  void Remove(std::map<std::uint64_t, std::uint64_t>::iterator extent);
  std::optional<std::uint64_t> AllocateFromExtents(std::uint64_t size, std::uint64_t alignment);
  std::optional<std::uint64_t> AllocateFromTail(std::uint64_t size, std::uint64_t alignment);

  std::map<std::uint64_t, std::uint64_t> _byOffset;               // offset -> size
  std::set<std::pair<std::uint64_t, std::uint64_t>> _bySize;      // (size, offset)
  std::vector<std::pair<std::uint64_t, std::uint64_t>> _pending;  // (offset, size)
  std::uint64_t _mark = 0;
  std::uint64_t _end = 0;
};

}  // namespace parvane::pstfile
