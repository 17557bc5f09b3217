// What must be known of a file before it is added to: that everything it tells of is there, which
// space is free, which ids are.
//
// The header's counters are not believed. An id handed out twice overwrites what had it first, so
// ids begin above all that the trees hold. Up to OpenOptions::examinedSize both trees are read for
// that, a few MB at most. Of larger files the last pages tell most: block ids and node ids ascend
// in their trees, and a root is written after all pages below it. Which counter of nodes is too low
// is seen there once the first id drawn from it is taken; then the node tree is read.
#include <algorithm>

#include "pstfile/ndb/map_bits.h"
#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Status;
using platform::StatusCode;

namespace {

// No writer gets there; ids found above it are damage, and adding to them would wrap around.
constexpr std::uint64_t kHighestId = std::uint64_t{1} << 62;

// The end of a file that holds so many bytes, and whole intervals only.
std::uint64_t EndCovering(std::uint64_t size) {
  return IntervalOffset(IntervalOf(std::max(size, kSmallestFile) - 1) + 1);
}

void RaiseBlockId(FileHeader& header, BlockId bid) {
  header.nextBlockId = std::max(header.nextBlockId, (bid.value & ~std::uint64_t{3}) + 4);
}

void RaisePageId(FileHeader& header, PageId id) {
  header.nextPageId = std::max(header.nextPageId, id.value + 1);
}

void RaiseCounter(FileHeader& header, NodeId nid) {
  std::uint32_t& counter = header.counters[static_cast<std::size_t>(nid.Kind())];
  counter = std::max(counter, nid.Index());
}

// Raises what the header will hand out next above what is met.
struct IdWalker : BTree::Walker {
  explicit IdWalker(FileHeader& h) : header(h) {}
  void OnPage(PageRef ref, const TreePage& page) override {
    RaisePageId(header, ref.id);
    for (std::size_t i = 0; i < page.count() && page.level() == 0; ++i) {
      if (page.tree() == PageType::kBlockTree) {
        RaiseBlockId(header, BlockRecord::Decode(page.Entry(i)).bid);
        continue;
      }
      const NodeRecord node = DecodeNode(page.Entry(i));
      RaiseCounter(header, node.nid);
      // A block that is missing must not be taken for a new one.
      for (const BlockId bid : {node.data, node.sub}) {
        if (bid) RaiseBlockId(header, bid);
      }
    }
  }
  bool OnDamage(const Status& s) override {
    status = s;
    return false;
  }
  FileHeader& header;
  Status status;
};

}  // namespace

Status NodeDatabase::Impl::WalkUsed(const UsedSpace& used) {
  struct Walker : BTree::Walker {
    explicit Walker(const UsedSpace& u) : used(u) {}
    void OnPage(PageRef ref, const TreePage& page) override {
      Use(ref.offset.value, kPageSize);
      if (page.tree() == PageType::kNodeTree && page.level() == 1) {
        // The leaves themselves hold nothing that takes space.
        for (std::size_t i = 0; i < page.count(); ++i) Use(page.Child(i).offset.value, kPageSize);
      }
      if (page.tree() == PageType::kBlockTree && page.level() == 0) {
        for (std::size_t i = 0; i < page.count(); ++i) {
          const BlockRecord block = BlockRecord::Decode(page.Entry(i));
          Use(block.place.offset.value, BlockSizeOnDisk(block.place.dataSize));
        }
      }
    }
    bool OnDamage(const Status& s) override {
      if (status.ok()) status = s;
      return false;
    }
    bool WantsBelow(unsigned level) override { return !nodeTree || level > 1; }
    void Use(std::uint64_t offset, std::uint64_t size) {
      if (!status.ok()) return;
      status = used(offset, size);
    }
    const UsedSpace& used;
    Status status;
    bool nodeTree = false;
  } walker(used);
  BTree::Walk(_pages, PageType::kBlockTree, committed.blockRoot, walker);
  walker.nodeTree = true;
  if (walker.status.ok()) BTree::Walk(_pages, PageType::kNodeTree, committed.nodeRoot, walker);
  return walker.status;
}

Status NodeDatabase::Impl::Examine() {
  auto size = _file->Size();
  if (!size.ok()) return size.status();
  if (*size < committed.endOfFile) {
    if (Status s = CheckNothingBeyond(*size); !s.ok()) return s;
    _mapStateAtOpen = kMapsInvalid;  // some are missing
    // Nothing is there that a larger number would be about, and all that is done for each of the
    // format's intervals would be done for as many as a damaged header likes to name.
    committed.endOfFile = std::min(committed.endOfFile, EndCovering(*size));
  }
  if (Status s = FindFreeSpace(); !s.ok()) return s;
  return RaiseIds();
}

// A file whose unused end is missing can be extended again; one that lost more is left alone.
Status NodeDatabase::Impl::CheckNothingBeyond(std::uint64_t fileSize) {
  const Status s = WalkUsed([&](std::uint64_t offset, std::uint64_t size) -> Status {
    if (offset <= fileSize && size <= fileSize - offset) return {};
    return {StatusCode::kCorrupt, "what was at " + ToHex(offset) + " is lost"};
  });
  if (s.ok()) return s;
  return s.WithContext("the file is cut off, " + std::to_string(fileSize) + " of " +
                       std::to_string(committed.endOfFile) + " bytes are there");
}

Status NodeDatabase::Impl::FindFreeSpace() {
  const std::uint64_t intervals =
      (committed.endOfFile - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
  const std::uint64_t end = IntervalOffset(intervals);
  _space.Reset(end, end);
  _knownFrom = end;
  if (end > options.examinedSize) return {};
  std::vector<std::byte> bits(intervals * kPageBodySize);
  for (std::uint64_t n = 0; n < intervals; ++n) {
    SetMapPages(std::span(bits).subspan(n * kPageBodySize, kPageBodySize), n);
  }
  std::uint64_t usedEnd = kFirstAMapOffset;
  Status s = WalkUsed([&](std::uint64_t offset, std::uint64_t size) -> Status {
    usedEnd = std::max(usedEnd, offset + size);
    if (offset < kFirstAMapOffset || offset % kBlockAlignment != 0 || offset > end ||
        size > end - offset || IntervalOf(offset) != IntervalOf(offset + size - 1)) {
      return {StatusCode::kCorrupt, "something of " + std::to_string(size) + " bytes at " +
                                        ToHex(offset) + " lies where nothing can be"};
    }
    const std::uint64_t first = (offset - kFirstAMapOffset) / kBlockAlignment;
    if (TakeBits(bits, first, size / kBlockAlignment)) return {};
    return {StatusCode::kCorrupt, "the space at " + ToHex(offset) + " is in use twice"};
  });
  if (!s.ok()) return s;
  // Behind the last that is used all is tail: a writer that was cut off may have left much of it.
  _space.Reset(usedEnd, end);
  for (std::uint64_t n = 0; n < intervals && IntervalOffset(n) < usedEnd; ++n) {
    const auto map = std::span(bits).subspan(n * kPageBodySize, kPageBodySize);
    for (std::size_t i = 0; i < kSlotsPerMap;) {
      if (TestBit(map, i)) {
        i += i % 8 == 0 && map[i / 8] == std::byte{0xFF} ? 8 : 1;
        continue;
      }
      std::size_t next = i + 1;
      while (next < kSlotsPerMap && !TestBit(map, next)) ++next;
      const std::uint64_t at = IntervalOffset(n) + i * kBlockAlignment;
      if (at < usedEnd) _space.Free(at, (next - i) * kBlockAlignment);
      i = next;
    }
  }
  _knownFrom = kFirstAMapOffset;
  mapsRebuilt = _mapStateAtOpen != kMapsValid;
  return {};
}

Status NodeDatabase::Impl::RaiseIds() {
  FileHeader& header = committed;
  const FileHeader least = FileHeader::New(header.crypt);
  for (std::size_t i = 0; i < least.counters.size(); ++i) {
    header.counters[i] = std::max(header.counters[i], least.counters[i]);
  }
  RaisePageId(header, header.nodeRoot.id);
  RaisePageId(header, header.blockRoot.id);
  auto block = blocks.LastKey();
  if (!block.ok()) return block.status();
  RaiseBlockId(header, BlockId(block->value_or(0)));
  auto node = nodes.LastKey();
  if (!node.ok()) return node.status();
  RaiseCounter(header, NodeId(static_cast<std::uint32_t>(node->value_or(0))));
  if (_knownFrom == kFirstAMapOffset) {
    IdWalker walker(header);
    BTree::Walk(_pages, PageType::kBlockTree, header.blockRoot, walker);
    if (walker.status.ok()) BTree::Walk(_pages, PageType::kNodeTree, header.nodeRoot, walker);
    if (!walker.status.ok()) return walker.status;
    _countersProven = true;
  }
  if (header.nextBlockId >= kHighestId || header.nextPageId >= kHighestId) {
    return {StatusCode::kCorrupt,
            "the ids of blocks or pages are used up: the next ones would be " +
                ToHex(header.nextBlockId) + " and " + ToHex(header.nextPageId)};
  }
  current = committed;
  _newBase = current.nextBlockId >> 2;
  return {};
}

// Of the last committed state; what came since has its ids from the counters.
Status NodeDatabase::Impl::RaiseNodeCounters() {
  FileHeader found = current;
  IdWalker walker(found);
  BTree::Walk(_pages, PageType::kNodeTree, committed.nodeRoot, walker);
  if (!walker.status.ok()) return walker.status;
  current.counters = found.counters;
  _countersProven = true;
  return {};
}

// Older versions of Outlook set pages aside for their trees, through maps that nobody keeps up any
// more. All of it is given back: the page maps say so first, then the header, and the allocation
// maps are made anew at Close.
Status NodeDatabase::Impl::DropOldPageMap() {
  const std::uint64_t intervals = IntervalOf(committed.endOfFile - 1) + 1;
  for (std::uint64_t n = 0; n < intervals; ++n) {
    if (Status s = WriteFixedPages(n, false); !s.ok()) return s;
  }
  committed.DropOldPageMap();
  current = committed;
  _mapStateAtOpen = kMapsInvalid;
  return {};
}

}  // namespace parvane::pstfile
