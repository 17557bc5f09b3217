// The decoded blocks read last.
#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <unordered_map>
#include <utility>

#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

// Least recently used goes first. Ids are never used twice, so entries cannot become wrong.
class BlockCache {
 public:
  explicit BlockCache(std::size_t capacity) : _capacity(capacity) {}

  std::optional<BlockSlice> Find(BlockId bid) {
    const auto found = _byId.find(bid);
    if (found == _byId.end()) return std::nullopt;
    _slots.splice(_slots.begin(), _slots, found->second);
    return found->second->second;
  }
  void Put(BlockId bid, BlockSlice slice) {
    if (_capacity == 0) return;
    _slots.emplace_front(bid, std::move(slice));
    _byId[bid] = _slots.begin();
    if (_slots.size() > _capacity) {
      _byId.erase(_slots.back().first);
      _slots.pop_back();
    }
  }
  void Forget(BlockId bid) {
    const auto found = _byId.find(bid);
    if (found == _byId.end()) return;
    _slots.erase(found->second);
    _byId.erase(found);
  }

 private:
  std::size_t _capacity;
  std::list<std::pair<BlockId, BlockSlice>> _slots;
  std::unordered_map<BlockId, std::list<std::pair<BlockId, BlockSlice>>::iterator> _byId;
};

}  // namespace parvane::pstfile
