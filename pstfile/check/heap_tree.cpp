#include "pstfile/check/heap_tree.h"

#include <algorithm>

#include "pstfile/ndb/fields.h"

namespace parvane::pstfile::check {

std::optional<HeapTree> HeapTree::Open(NodeHeap& heap, HeapId headerId, unsigned keySize,
                                       unsigned valueSize, std::string_view what) {
  const auto item = heap.Item(headerId);
  if (!item || item->bytes.size() != kBthHeaderSize ||
      item->bytes[fields::BthHeader::kType.offset] != kBthType) {
    heap.Fault(codes::kBth,
               Say("heap item ", Hex{headerId.value}, " is not the header of its ", what));
    return std::nullopt;
  }
  HeapTree tree(heap);
  tree._what = what;
  const BthHeader& header = tree._header = BthHeader::Load(item->bytes);
  if (header.keySize != keySize || header.dataSize != valueSize) {
    heap.Fault(codes::kBth, Say(what, " has keys of ", header.keySize, " and values of ",
                                header.dataSize, " bytes, expected ", keySize, " and ", valueSize));
    return std::nullopt;
  }
  if (header.levels > kBthMaxLevels || (header.root.IsNull() && header.levels > 0)) {
    heap.Fault(codes::kBth, Say(what, " cannot have ", header.levels, " levels"));
    return std::nullopt;
  }
  return tree;
}

std::optional<HeapBytes> HeapTree::Enter(HeapId id, unsigned level) {
  if (_heap->IsUsed(id)) {
    _heap->Fault(codes::kBth, Say(_what, " leads to heap item ", Hex{id.value}, " twice"));
    return std::nullopt;
  }
  const auto item = _heap->Item(id);
  if (!item) {
    _heap->Fault(codes::kBth,
                 Say(_what, " leads to heap item ", Hex{id.value}, ", which does not exist"));
    return std::nullopt;
  }
  const std::size_t size = RecordSize(level);
  if (item->bytes.empty() || item->bytes.size() % size != 0) {
    _heap->Fault(codes::kBth, Say(_what, " item ", Hex{id.value}, " of ", item->bytes.size(),
                                  " bytes does not hold whole records of ", size));
  }
  return item;
}

bool HeapTree::JudgeKey(HeapId id, std::uint64_t key, bool isFirst,
                        std::optional<std::uint64_t> low, std::optional<std::uint64_t> high) {
  if (isFirst && low && key != *low) {
    _heap->Fault(codes::kBthOrder, Say(_what, " item ", Hex{id.value}, " begins with key ",
                                       Hex{key}, ", the item above says ", Hex{*low}));
  }
  if (_last && key <= *_last) {
    _heap->Fault(codes::kBthOrder,
                 Say(_what, " item ", Hex{id.value}, ": key ", Hex{key}, " follows ", Hex{*_last}));
    return false;
  }
  if (high && key >= *high) {
    _heap->Fault(codes::kBthOrder, Say(_what, " item ", Hex{id.value}, ": key ", Hex{key},
                                       " reaches into the next item, ", Hex{*high}));
  }
  return true;
}

std::optional<std::uint64_t> HeapTree::Find(std::uint64_t key) {
  HeapId id = _header.root;
  for (unsigned level = _header.levels;; --level) {
    const auto item = _heap->Item(id);
    if (!item) return std::nullopt;
    const std::size_t size = RecordSize(level);
    std::size_t low = 0;
    std::size_t high = item->bytes.size() / size;
    while (low < high) {  // the last record whose key is not above the one sought
      const std::size_t middle = (low + high) / 2;
      if (Key(item->bytes, middle * size) <= key) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low == 0) return std::nullopt;
    const std::size_t at = (low - 1) * size;
    if (level > 0) {
      id = HeapId(LoadU32(item->bytes, at + _header.keySize));
      continue;
    }
    if (Key(item->bytes, at) != key) return std::nullopt;
    return LoadSized(item->bytes, at + _header.keySize,
                     std::min<std::size_t>(_header.dataSize, sizeof(std::uint64_t)));
  }
}

}  // namespace parvane::pstfile::check
