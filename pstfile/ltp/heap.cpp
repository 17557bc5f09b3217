#include "pstfile/ltp/heap.h"

#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using Header = fields::HeapHeader;

namespace {

Status Corrupt(HeapId id, const std::string& what) {
  return {StatusCode::kCorrupt, "heap item " + ToHex(id.value) + ": " + what};
}

}  // namespace

Result<Heap> Heap::Open(const NodeDatabase& database, BlockId data, BlockId subnodes,
                        HeapClient client) {
  auto tree = DataTree::Open(database, data);
  if (!tree.ok()) return tree.status();
  Heap heap;
  heap._database = &database;
  heap._tree = std::move(*tree);
  heap._subnodesRoot = subnodes;
  if (heap._tree.blockCount() == 0) return Status(StatusCode::kCorrupt, "heap without data");
  auto page = heap.Page(0);
  if (!page.ok()) return page.status();
  const auto bytes = page->bytes();
  if (bytes.size() < HeapHeaderSize(0)) {
    return Status(StatusCode::kCorrupt,
                  "HNHDR in a block of " + std::to_string(bytes.size()) + " bytes");
  }
  if (!BeginsHeap(bytes) || LoadField<HeapClient>(bytes, Header::kClient) != client) {
    return Status(StatusCode::kCorrupt,
                  "HNHDR: bSig " + ToHex(LoadField(bytes, Header::kSignature)) + ", bClientSig " +
                      ToHex(LoadField(bytes, Header::kClient)) + ", expected 0xEC, " +
                      ToHex(static_cast<std::uint8_t>(client)));
  }
  heap._userRoot = HeapId(LoadField<std::uint32_t>(bytes, Header::kUserRoot));
  return heap;
}

Result<BlockSlice> Heap::Page(std::uint32_t number) const {
  for (std::size_t i = 0; i < _cached; ++i) {
    if (_cache[i].number == number) return _cache[i].page;
  }
  auto page = _tree.ReadBlock(number);
  if (!page.ok()) return page;
  const std::size_t slot = _cached < _cache.size() ? _cached++ : _next++ % _cache.size();
  _cache[slot] = {number, *page};
  return page;
}

Result<HeapItem> Heap::Item(HeapId id) const {
  if (id.IsNull()) return HeapItem{};
  if (!id.IsHeapItem() || id.Item() == 0) return Corrupt(id, "not the id of an item");
  if (id.Page() >= _tree.blockCount()) {
    return Corrupt(id, "the heap has " + std::to_string(_tree.blockCount()) + " pages");
  }
  auto page = Page(id.Page());
  if (!page.ok()) return page.status();
  const auto bytes = page->bytes();
  if (bytes.size() < Header::kMap.size) return Corrupt(id, "page too short");
  const std::size_t map = LoadField(bytes, Header::kMap);
  if (map + fields::kSizeOf < fields::HeapPageMap >> bytes.size())
    return Corrupt(id, "ibHnpm outside the page");
  const std::size_t count = LoadField(bytes, fields::HeapPageMap::kCount, map);
  const std::size_t item = id.Item();
  if (item > count || map + HeapMapSize(count) > bytes.size()) {
    return Corrupt(id, "cAlloc is " + std::to_string(count));
  }
  const std::size_t start = HeapItemStart(bytes, map, item - 1);
  const std::size_t end = HeapItemStart(bytes, map, item);
  if (start > end || end > map) return Corrupt(id, "outside its page");
  return HeapItem{std::move(*page), bytes.subspan(start, end - start)};
}

Result<SubnodeEntry> Heap::Subnode(NodeId node) const {
  if (!_subnodesOpen) {
    auto tree = SubnodeTree::Open(*_database, _subnodesRoot);
    if (!tree.ok()) return tree.status();
    _subnodes = std::move(*tree);
    _subnodesOpen = true;
  }
  auto entry = _subnodes.Find(node);
  if (!entry.ok()) return entry.status();
  if (!entry->has_value()) {
    return Status(StatusCode::kCorrupt, "subnode " + ToString(node) + " is missing");
  }
  return **entry;
}

}  // namespace parvane::pstfile
