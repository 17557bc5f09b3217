// Walks over everything in use, and the allocation maps made from them.
//
// The maps on disk say nothing while a file is being changed. Close writes true ones: for the part
// of the file whose space this session knows completely they are computed; for the part before it,
// space this session freed is cleared in the maps found there, or, when those were not to be
// trusted, new ones are made from a walk over both trees, a few thousand at a time.
#include <algorithm>
#include <bit>

#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// Maps rebuilt in one pass: 4 GiB of file, 8 MiB of memory.
constexpr std::uint64_t kMapsPerPass = 16384;

constexpr std::size_t kSlotsPerMap = kPageBodySize * 8;

// The bit of a 64-byte slot: bit 7 of byte 0 is the first.
bool TestBit(std::span<const std::byte> bits, std::uint64_t i) {
  return (bits[i / 8] & std::byte{0x80} >> (i % 8)) != std::byte{0};
}
void SetBit(std::span<std::byte> bits, std::uint64_t i) {
  bits[i / 8] |= std::byte{0x80} >> (i % 8);
}
void ClearBit(std::span<std::byte> bits, std::uint64_t i) {
  bits[i / 8] &= ~(std::byte{0x80} >> (i % 8));
}

std::uint64_t CountClear(std::span<const std::byte> bits) {
  std::uint64_t set = 0;
  for (const std::byte b : bits) {
    set += static_cast<unsigned>(std::popcount(static_cast<unsigned char>(b)));
  }
  return bits.size() * 8 - set;
}

void SetMapPages(std::span<std::byte> bits, std::uint64_t interval) {
  for (std::uint64_t i = 0; i < MapPageCount(interval) * kPageSize / kBlockAlignment; ++i) {
    SetBit(bits, i);
  }
}

std::uint64_t EmptyIntervalBytes(std::uint64_t interval) {
  return kAMapInterval - MapPageCount(interval) * kPageSize;
}

}  // namespace

template <typename Used>
Status NodeDatabase::Impl::WalkUsed(const Used& used) {
  struct Walker : BTree::Walker {
    explicit Walker(const Used& u) : used(u) {}
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
    const Used& used;
    Status status;
    bool nodeTree = false;
  } walker(used);
  BTree::Walk(_pages, PageType::kBlockTree, committed.blockRoot, walker);
  walker.nodeTree = true;
  if (walker.status.ok()) BTree::Walk(_pages, PageType::kNodeTree, committed.nodeRoot, walker);
  return walker.status;
}

// ---- Before the first modification --------------------------------------------------------------

Status NodeDatabase::Impl::FindFreeSpace() {
  const std::uint64_t intervals =
      (committed.endOfFile - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
  const std::uint64_t end = IntervalOffset(intervals);
  _space.Reset(end, end);
  _knownFrom = end;
  if (end > options.examinedSize || committed.oldPageMapInUse) return {};
  std::vector<std::byte> bits(intervals * kPageBodySize);
  for (std::uint64_t n = 0; n < intervals; ++n) {
    SetMapPages(std::span(bits).subspan(n * kPageBodySize, kPageBodySize), n);
  }
  Status s = WalkUsed([&](std::uint64_t offset, std::uint64_t size) -> Status {
    if (offset < kFirstAMapOffset || offset % kBlockAlignment != 0 || offset > end ||
        size > end - offset || IntervalOf(offset) != IntervalOf(offset + size - 1)) {
      return {StatusCode::kCorrupt, "something of " + std::to_string(size) + " bytes at " +
                                        ToHex(offset) + " lies where nothing can be"};
    }
    const std::uint64_t first = (offset - kFirstAMapOffset) / kBlockAlignment;
    for (std::uint64_t i = first; i < first + size / kBlockAlignment; ++i) {
      if (TestBit(bits, i)) {
        return {StatusCode::kCorrupt, "the space at " + ToHex(offset) + " is in use twice"};
      }
      SetBit(bits, i);
    }
    return {};
  });
  if (!s.ok()) return s;
  for (std::uint64_t n = 0; n < intervals; ++n) {
    const auto map = std::span(bits).subspan(n * kPageBodySize, kPageBodySize);
    for (std::size_t i = 0; i < kSlotsPerMap;) {
      if (TestBit(map, i)) {
        ++i;
        continue;
      }
      std::size_t next = i + 1;
      while (next < kSlotsPerMap && !TestBit(map, next)) ++next;
      _space.Free(IntervalOffset(n) + i * kBlockAlignment, (next - i) * kBlockAlignment);
      i = next;
    }
  }
  _knownFrom = kFirstAMapOffset;
  mapsRebuilt = _mapStateAtOpen != kMapsValid;
  return {};
}

// ---- At close -----------------------------------------------------------------------------------

Status NodeDatabase::Impl::ReadMap(std::uint64_t interval, PageBytes& map) {
  const FileOffset offset(IntervalOffset(interval));
  if (Status s = ReadExactly(offset.value, map); !s.ok()) return s;
  return CheckPage(map, PageType::kAMap, offset, offset.value);
}

Status NodeDatabase::Impl::WriteMap(std::uint64_t interval, PageBytes& map) {
  const FileOffset offset(IntervalOffset(interval));
  SealPage(map, PageType::kAMap, offset, offset.value);
  return _file->WriteAt(offset.value, map);
}

// Clears the bits of what this session knows to be free; the bytes newly cleared.
std::uint64_t NodeDatabase::Impl::ClearFreeBits(std::uint64_t interval, PageBytes& map) const {
  const std::uint64_t start = IntervalOffset(interval);
  const std::uint64_t end = start + kAMapInterval;
  std::uint64_t cleared = 0;
  const auto clear = [&](std::uint64_t from, std::uint64_t to) {
    for (std::uint64_t at = from; at < to; at += kBlockAlignment) {
      const std::uint64_t i = (at - start) / kBlockAlignment;
      if (TestBit(map, i)) cleared += kBlockAlignment;
      ClearBit(map, i);
    }
  };
  for (auto extent = _space.extents().lower_bound(start);
       extent != _space.extents().end() && extent->first < end; ++extent) {
    clear(extent->first, extent->first + extent->second);
  }
  if (_space.mark() < end) clear(std::max(_space.mark(), IntervalDataOffset(interval)), end);
  return cleared;
}

Status NodeDatabase::Impl::CorrectOldMaps(std::uint64_t& freeBytes) {
  freeBytes = _freeBytesAtOpen;
  const auto correct = [&](std::uint64_t interval) -> Status {
    PageBytes map;
    if (Status s = ReadMap(interval, map); !s.ok()) return s;
    const std::uint64_t cleared = ClearFreeBits(interval, map);
    if (cleared == 0) return {};
    freeBytes += cleared;
    return WriteMap(interval, map);
  };
  const auto& extents = _space.extents();
  std::uint64_t next = 0;  // first interval not looked at yet
  for (auto extent = extents.begin(); extent != extents.end() && extent->first < _knownFrom;) {
    next = IntervalOf(extent->first) + 1;
    if (Status s = correct(next - 1); !s.ok()) return s;
    extent = extents.lower_bound(IntervalOffset(next));
  }
  if (_space.mark() >= _knownFrom) return {};
  for (std::uint64_t n = std::max(next, IntervalOf(_space.mark())); n < IntervalOf(_knownFrom);
       ++n) {
    if (Status s = correct(n); !s.ok()) return s;
  }
  return {};
}

Status NodeDatabase::Impl::RebuildOldMaps(std::uint64_t& freeBytes) {
  freeBytes = 0;
  const std::uint64_t intervals = IntervalOf(_knownFrom);
  std::vector<std::byte> bits;
  for (std::uint64_t first = 0; first < intervals; first += kMapsPerPass) {
    const std::uint64_t count = std::min(kMapsPerPass, intervals - first);
    const std::uint64_t start = IntervalOffset(first);
    const std::uint64_t end = IntervalOffset(first + count);
    bits.assign(count * kPageBodySize, std::byte{0});
    Status s = WalkUsed([&](std::uint64_t offset, std::uint64_t size) -> Status {
      const std::uint64_t from = std::max(offset, start);
      const std::uint64_t to = std::min(offset + size, end);
      for (std::uint64_t at = from; at < to; at += kBlockAlignment) {
        SetBit(bits, (at - start) / kBlockAlignment);
      }
      return {};
    });
    if (!s.ok()) return s;
    for (std::uint64_t n = 0; n < count; ++n) {
      PageBytes map{};
      const auto body = std::span(bits).subspan(n * kPageBodySize, kPageBodySize);
      SetMapPages(body, first + n);
      if (committed.oldPageMapInUse) {
        // Pages set aside stay marked: a clear bit of the PMap is such a page.
        const std::uint64_t owner = (first + n) / 8 * 8;
        PageBytes pages;
        if (Status r = ReadExactly(IntervalOffset(owner) + kPageSize, pages); !r.ok()) return r;
        const std::uint64_t base = (first + n - owner) * (kAMapInterval / kPageSize);
        for (std::uint64_t page = 0; page < kAMapInterval / kPageSize; ++page) {
          if (TestBit(pages, base + page)) continue;
          for (std::uint64_t i = 0; i < 8; ++i) SetBit(body, page * 8 + i);
        }
      }
      std::ranges::copy(body, map.begin());
      freeBytes += CountClear(body) * kBlockAlignment;
      if (Status r = WriteMap(first + n, map); !r.ok()) return r;
    }
  }
  mapsRebuilt = true;
  return {};
}

Result<NodeDatabase::Impl::MapTotals> NodeDatabase::Impl::WriteMaps() {
  MapTotals totals;
  const std::uint64_t known = IntervalOf(_knownFrom);
  if (known > 0) {
    Status s(StatusCode::kCorrupt, "");
    if (_mapStateAtOpen == kMapsValid) s = CorrectOldMaps(totals.free);
    // Also when a map that claimed to be valid turns out damaged.
    if (s.code() == StatusCode::kCorrupt) s = RebuildOldMaps(totals.free);
    if (!s.ok()) return s;
  }
  const std::uint64_t intervals = IntervalOf(_space.end());
  std::uint64_t last = 0;  // the last interval with something in it
  for (std::uint64_t n = known; n < intervals; ++n) {
    PageBytes map;
    std::fill_n(map.begin(), kPageBodySize, std::byte{0xFF});
    const std::uint64_t free = ClearFreeBits(n, map);
    totals.free += free;
    if (free != EmptyIntervalBytes(n)) last = n;
    if (Status s = WriteMap(n, map); !s.ok()) return s;
  }
  // Cut the file behind the last interval in use.
  if (last < known && known > 0) {
    for (last = known - 1; last > 0; --last) {
      PageBytes map;
      if (Status s = ReadMap(last, map); !s.ok()) return s;
      if (CountClear(std::span(map).first(kPageBodySize)) * kBlockAlignment !=
          EmptyIntervalBytes(last)) {
        break;
      }
    }
  }
  totals.end = IntervalOffset(last + 1);
  for (std::uint64_t n = last + 1; n < intervals; ++n) totals.free -= EmptyIntervalBytes(n);
  return totals;
}

// ---- For the checker ----------------------------------------------------------------------------

void NodeDatabase::Impl::Visit(Visitor& visitor) {
  struct Walker : BTree::Walker {
    explicit Walker(Visitor& v) : visitor(v) {}
    void OnPage(PageRef ref, const TreePage& page) override {
      const bool blockTree = page.tree() == PageType::kBlockTree;
      visitor.OnPage(
          {ref.offset, ref.id, blockTree, page.level(), static_cast<unsigned>(page.count())});
      if (page.level() > 0) return;
      for (std::size_t i = 0; i < page.count(); ++i) {
        if (blockTree) {
          const BlockRecord block = BlockRecord::Decode(page.Entry(i));
          visitor.OnBlock({block.bid, block.place.offset, block.place.dataSize, block.references});
        } else {
          visitor.OnNode(DecodeNode(page.Entry(i)));
        }
      }
    }
    bool OnDamage(const Status& s) override {
      visitor.OnDamage(s);
      return true;
    }
    Visitor& visitor;
  } walker(visitor);
  if (_file == nullptr || _creating) return;
  BTree::Walk(_pages, PageType::kBlockTree, committed.blockRoot, walker);
  BTree::Walk(_pages, PageType::kNodeTree, committed.nodeRoot, walker);
}

}  // namespace parvane::pstfile
