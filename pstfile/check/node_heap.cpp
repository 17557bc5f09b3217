#include "pstfile/check/node_heap.h"

#include <algorithm>
#include <utility>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {

std::optional<NodeHeap> NodeHeap::Open(Context& context, Location location, std::string where,
                                       std::optional<HeapClient> client) {
  NodeHeap heap;
  heap._context = &context;
  heap._where = std::move(where);
  auto data = DataView::Open(context.image, location.data);
  if (!location.data || !data) {
    heap.Fault(codes::kHeap, location.data
                                 ? Say("its data, block ", location.data, ", cannot be read")
                                 : std::string("it has no data"));
    return std::nullopt;
  }
  heap._data = std::move(*data);
  if (!context.Spend(1 + heap._data.blockCount(), heap._where)) return std::nullopt;
  auto subnodes = SubnodeList::Open(context.image, location.sub);
  if (!subnodes) {
    heap.Fault(codes::kSubnodeBlock, Say("its subnodes, block ", location.sub, ", cannot be read"));
    subnodes.emplace();
  }
  heap._subnodes = std::move(*subnodes);
  if (!context.Spend(heap._subnodes.all().size() / kMaximumSlBlockEntries, heap._where)) {
    return std::nullopt;
  }
  heap._usedSubnodes.resize(heap._subnodes.all().size());

  const auto first = heap._data.ReadBlock(0);
  if (!first || !BeginsHeap(first->bytes())) {
    heap.Fault(codes::kHeap, "its data is no heap");
    return std::nullopt;
  }
  const auto kind = LoadField<HeapClient>(first->bytes(), fields::HeapHeader::kClient);
  if (client && kind != *client) {
    heap.Fault(codes::kHeap, Say("its heap is of kind ", Hex{static_cast<std::uint8_t>(kind)},
                                 ", expected ", Hex{static_cast<std::uint8_t>(*client)}));
    return std::nullopt;
  }
  heap._root = HeapId(LoadField<std::uint32_t>(first->bytes(), fields::HeapHeader::kUserRoot));
  heap.JudgePages();
  return heap;
}

void NodeHeap::JudgePages() {
  if (_data.blockCount() > kMaxHeapPages) {
    Fault(codes::kHeap, Say("its heap has ", _data.blockCount(), " pages, at most ", kMaxHeapPages,
                            " can be addressed"));
  }
  const auto pages =
      static_cast<std::uint32_t>(std::min<std::size_t>(_data.blockCount(), kMaxHeapPages));
  _firstSlot.reserve(pages + 1);
  std::uint32_t slots = 0;
  for (std::uint32_t number = 0; number < pages; ++number) {
    _firstSlot.push_back(slots);
    const auto page = _data.ReadBlock(number);
    if (!page) {
      Fault(codes::kHeap, Say("heap page ", number, " cannot be read"));
      continue;
    }
    slots += JudgePage(number, page->bytes());
  }
  _firstSlot.push_back(slots);
  _usedItems.resize(slots);
}

std::uint32_t NodeHeap::JudgePage(std::uint32_t number, std::span<const std::byte> page) {
  const std::size_t header = HeapHeaderSize(number);
  const Field& mapField = fields::HeapHeader::kMap;
  const std::size_t map = page.size() >= mapField.size ? LoadField(page, mapField) : 0;
  if (map < header || map + HeapMapSize(0) > page.size()) {
    Fault(codes::kHeapMap,
          Say("heap page ", number, " of ", page.size(), " bytes: its map cannot be at ", map));
    return 0;
  }
  const auto items = LoadField<std::uint32_t>(page, fields::HeapPageMap::kCount, map);
  const std::size_t end = map + HeapMapSize(items);
  if (items > kMaxHeapItemsPerPage || end > page.size()) {
    Fault(codes::kHeapMap, Say("heap page ", number, ": a map of ", items, " items does not fit"));
    return 0;
  }
  if (map % 2 != 0) Fault(codes::kHeapMap, Say("heap page ", number, ": its map is at odd ", map));
  JudgeItems(number, page, map, items);
  JudgeFillLevel(number, page, end);
  const bool isLast = number + 1 == _data.blockCount();
  if (isLast ? page.size() != end : page.size() != kHeapPageSize) {
    const std::string what = Say("heap page ", number, " has ", page.size(), " bytes, expected ",
                                 isLast ? end : kHeapPageSize);
    isLast ? Habit(codes::kHeap, what) : Fault(codes::kHeap, what);
  }
  return items;
}

void NodeHeap::JudgeItems(std::uint32_t number, std::span<const std::byte> page, std::size_t map,
                          std::uint32_t items) {
  std::size_t last = HeapItemStart(page, map, 0);
  if (last != HeapHeaderSize(number)) {
    Fault(codes::kHeapMap, Say("heap page ", number, ": its first item is at ", last,
                               ", its header ends at ", HeapHeaderSize(number)));
  }
  std::uint32_t empty = 0;
  for (std::uint32_t i = 1; i <= items; ++i) {
    const std::size_t next = HeapItemStart(page, map, i);
    if (next < last || next > map) {
      Fault(codes::kHeapMap,
            Say("heap page ", number, ": item ", i, " runs from ", last, " to ", next));
    } else if (next - last > kMaxHeapItem) {
      Fault(codes::kHeapMap, Say("heap page ", number, ": item ", i, " has ", next - last,
                                 " bytes, at most ", kMaxHeapItem, " are allowed"));
    }
    empty += next == last ? 1 : 0;
    last = next;
  }
  if (last <= map && map - last > 1) {
    Habit(codes::kHeapMap,
          Say("heap page ", number, ": ", map - last, " bytes between the items and their map"));
  }
  if (const auto told = LoadField(page, fields::HeapPageMap::kFree, map); told != empty) {
    Habit(codes::kHeapFreeCount,
          Say("heap page ", number, ": cFree is ", told, ", ", empty, " items are empty"));
  }
}

void NodeHeap::JudgeFillLevel(std::uint32_t number, std::span<const std::byte> page,
                              std::size_t end) {
  if (HoldsFillLevels(number)) {
    _fillLevels.clear();
    for (std::size_t i = FillLevelOffset(number); i < HeapHeaderSize(number); ++i) {
      _fillLevels.push_back(LoadU8(page, i) & 15);
      _fillLevels.push_back(LoadU8(page, i) >> 4);
    }
  }
  const std::uint32_t index = FillLevelIndex(number);
  // The page that would hold it was unreadable.
  if (index >= _fillLevels.size()) return;
  // Outlook leaves the last 12 bytes of a page out of the count; to count them is no damage.
  const std::size_t free = kHeapPageSize - end;
  const std::uint8_t expected = FillLevelOf(free < kHeapPageSpare ? 0 : free - kHeapPageSpare);
  if (_fillLevels[index] != expected && _fillLevels[index] != FillLevelOf(free)) {
    Fault(codes::kHeapFillLevel, Say("heap page ", number, ": fill level ", _fillLevels[index],
                                     ", its ", free, " free bytes mean ", expected));
  }
}

bool NodeHeap::IsUsed(HeapId id) const {
  const auto slot = SlotOf(id);
  return slot && _usedItems[*slot];
}

std::optional<std::span<const std::byte>> NodeHeap::PeekItem(HeapId id) {
  const auto slot = SlotOf(id);
  if (!slot) return std::nullopt;
  if (_pageNumber != id.Page()) {
    const auto page = _data.ReadBlock(id.Page());
    if (!page) return std::nullopt;
    _page = *page;
    _pageNumber = id.Page();
  }
  const auto bytes = _page.bytes();
  // The map was found to fit when the heap was opened.
  const std::size_t map = LoadField(bytes, fields::HeapHeader::kMap);
  const std::size_t start = HeapItemStart(bytes, map, id.Item() - 1);
  const std::size_t end = HeapItemStart(bytes, map, id.Item());
  if (start > end || end > map) return std::nullopt;
  _usedItems[*slot] = true;
  return bytes.subspan(start, end - start);
}

std::optional<HeapBytes> NodeHeap::Item(HeapId id) {
  const auto bytes = PeekItem(id);
  if (!bytes) return std::nullopt;
  return HeapBytes{_page, *bytes};
}

const SubnodeEntry* NodeHeap::UseSubnode(NodeId nid) {
  const SubnodeEntry* found = _subnodes.Find(nid);
  if (found != nullptr) {
    _usedSubnodes[static_cast<std::size_t>(found - _subnodes.all().data())] = true;
  }
  return found;
}

// No damage, because nothing reads it, but space that is lost.
void NodeHeap::ReportUnused() {
  for (std::uint32_t page = 0; page + 1 < _firstSlot.size(); ++page) {
    for (std::uint32_t slot = _firstSlot[page]; slot < _firstSlot[page + 1]; ++slot) {
      if (_usedItems[slot]) continue;
      const HeapId id(page, slot - _firstSlot[page] + 1);
      const auto item = Item(id);
      if (!item || item->bytes.empty()) continue;
      Habit(codes::kHeapItemUnused, Say("heap item ", Hex{id.value}, " (", item->bytes.size(),
                                        " bytes) belongs to nothing"));
    }
  }
  for (std::size_t i = 0; i < _usedSubnodes.size(); ++i) {
    const NodeId nid = _subnodes.all()[i].nid;
    if (_usedSubnodes[i]) continue;
    Habit(codes::kSubnodeUnused, Say("subnode ", nid, " belongs to nothing"));
  }
}

}  // namespace parvane::pstfile::check
