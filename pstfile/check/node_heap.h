// A heap on a node and the node's subnodes, watched: what is asked for is remembered, so that in
// the end what nobody asked for can be named ([MS-PST] 2.3.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "pstfile/check/context.h"
#include "pstfile/check/data_view.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ndb/block_slice.h"

namespace parvane::pstfile::check {

// An item's bytes, alive as long as this is.
struct HeapBytes {
  BlockSlice page;
  std::span<const std::byte> bytes;
};

class NodeHeap {
 public:
  // Reads and judges every page of the heap. None when there is no heap to speak of; that has been
  // reported. `client` none: any kind. `where` begins every message.
  static std::optional<NodeHeap> Open(Context& context, Location location, std::string where,
                                      std::optional<HeapClient> client);

  const std::string& where() const { return _where; }
  Context& context() const { return *_context; }
  HeapId root() const { return _root; }
  const SubnodeList& subnodes() const { return _subnodes; }

  // The item's bytes; counts as a use of it.
  std::optional<HeapBytes> Item(HeapId id);
  // The same, until another item of this heap is asked for.
  std::optional<std::span<const std::byte>> PeekItem(HeapId id);
  // Whether the item was asked for before.
  bool IsUsed(HeapId id) const;
  // The subnode; counts as a use of it.
  const SubnodeEntry* UseSubnode(NodeId nid);

  void Fault(codes::Code code, const std::string& what) const {
    _context->reporter.Error(code, _where + ": " + what);
  }
  void Habit(codes::Code code, const std::string& what) const {
    _context->reporter.Habit(code, _where + ": " + what);
  }

  // Reports items and subnodes that nobody used.
  void ReportUnused();

 private:
  NodeHeap() = default;
  void JudgePages();
  // The items of a page whose map makes sense, else 0.
  std::uint32_t JudgePage(std::uint32_t number, std::span<const std::byte> page);
  void JudgeFillLevel(std::uint32_t number, std::span<const std::byte> page, std::size_t end);
  void JudgeItems(std::uint32_t number, std::span<const std::byte> page, std::size_t map,
                  std::uint32_t items);
  std::optional<std::size_t> SlotOf(HeapId id) const {
    const std::uint32_t page = id.Page();
    if (!id.IsHeapItem() || id.Item() == 0 || page + 1 >= _firstSlot.size()) return std::nullopt;
    if (id.Item() > _firstSlot[page + 1] - _firstSlot[page]) return std::nullopt;
    return std::size_t{_firstSlot[page]} + id.Item() - 1;
  }

  Context* _context = nullptr;
  std::string _where;
  DataView _data;
  BlockSlice _page;  // the last one read
  std::optional<std::uint32_t> _pageNumber;
  SubnodeList _subnodes;
  HeapId _root;
  std::vector<std::uint32_t> _firstSlot;  // of each page, and the total at the end
  std::vector<bool> _usedItems;
  std::vector<bool> _usedSubnodes;
  std::vector<std::uint8_t> _fillLevels;  // as the last page that holds any tells
};

}  // namespace parvane::pstfile::check
