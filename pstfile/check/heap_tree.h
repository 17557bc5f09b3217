// A B-tree on a heap, walked and judged ([MS-PST] 2.3.2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pstfile/check/node_heap.h"
#include "pstfile/ltp/bth.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {

class HeapTree {
 public:
  // Reads the header item. None when it is no header or the sizes are not those expected; that has
  // been reported. Keys have at most 8 bytes.
  static std::optional<HeapTree> Open(NodeHeap& heap, HeapId headerId, unsigned keySize,
                                      unsigned valueSize, std::string_view what);

  // Calls visit(key, whole record) for every record, in ascending order of keys; records out of
  // order are reported and left out. An item met a second time is reported and not entered, so
  // that trees that bite their own tail end.
  template <typename Visit>
  void Walk(Visit visit) {
    if (_header.root.IsNull()) return;
    _last.reset();
    WalkItem(_header.root, _header.levels, std::nullopt, std::nullopt, visit);
  }

  // The value of a record, as a number; for trees whose values have at most 8 bytes.
  std::optional<std::uint64_t> Find(std::uint64_t key);

 private:
  explicit HeapTree(NodeHeap& heap) : _heap(&heap) {}

  std::optional<HeapBytes> Enter(HeapId id, unsigned level);
  bool JudgeKey(HeapId id, std::uint64_t key, bool isFirst, std::optional<std::uint64_t> low,
                std::optional<std::uint64_t> high);
  std::size_t RecordSize(unsigned level) const {
    return level == 0 ? _header.LeafRecord() : _header.IndexRecord();
  }
  std::uint64_t Key(std::span<const std::byte> bytes, std::size_t at) const {
    return LoadSized(bytes, at, _header.keySize);
  }

  template <typename Visit>
  void WalkItem(HeapId id, unsigned level, std::optional<std::uint64_t> low,
                std::optional<std::uint64_t> high, Visit& visit) {
    const auto item = Enter(id, level);
    if (!item) return;
    const auto bytes = item->bytes;
    const std::size_t size = RecordSize(level);
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
      const std::uint64_t key = Key(bytes, at);
      if (level == 0) {
        if (!JudgeKey(id, key, at == 0, low, high)) continue;
        _last = key;
        visit(key, bytes.subspan(at, size));
      } else {
        const bool isLast = at + 2 * size > bytes.size();
        if (at > 0 && key <= Key(bytes, at - size)) {
          _heap->Fault(codes::kBthOrder, Say(_what, " item ", Hex{id.value}, ": key ", Hex{key},
                                             " is not above the one before"));
        }
        WalkItem(HeapId(LoadU32(bytes, at + _header.keySize)), level - 1, key,
                 isLast ? high : Key(bytes, at + size), visit);
      }
    }
  }

  NodeHeap* _heap;
  std::string_view _what;
  BthHeader _header;
  std::optional<std::uint64_t> _last;
};

}  // namespace parvane::pstfile::check
