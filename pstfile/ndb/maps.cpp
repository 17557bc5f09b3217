// The allocation maps, made from what is in use.
//
// The maps on disk say nothing while a file is being changed. Close writes true ones: for the part
// of the file whose space this session knows completely they are computed; for the part before it,
// space this session freed is cleared in the maps found there, or, when those were not to be
// trusted, new ones are made from a walk over both trees, a few thousand at a time.
#include <algorithm>

#include "pstfile/ndb/map_bits.h"
#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// Maps rebuilt in one pass: 4 GiB of file, 8 MiB of memory.
constexpr std::uint64_t kMapsPerPass = 16384;

std::uint64_t EmptyIntervalBytes(std::uint64_t interval) {
  return kAMapInterval - MapPageCount(interval) * kPageSize;
}

}  // namespace

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
    if (from >= to) return;
    const std::uint64_t slots = (to - from + kBlockAlignment - 1) / kBlockAlignment;
    cleared += ClearBits(map, (from - start) / kBlockAlignment, slots) * kBlockAlignment;
  };
  for (auto extent = _space.extents().lower_bound(start);
       extent != _space.extents().end() && extent->first < end; ++extent) {
    clear(extent->first, extent->first + extent->second);
  }
  if (_space.mark() < end) clear(std::max(_space.mark(), IntervalDataOffset(interval)), end);
  return cleared;
}

// Every map is read, not only those to be corrected: the header's count of free bytes may be the
// mistake of another program. That is 512 bytes for each 248 KiB of file.
Status NodeDatabase::Impl::CorrectOldMaps(std::uint64_t& freeBytes) {
  freeBytes = 0;
  for (std::uint64_t n = 0; n < IntervalOf(_knownFrom); ++n) {
    PageBytes map;
    if (Status s = ReadMap(n, map); !s.ok()) return s;
    if (ClearFreeBits(n, map) > 0) {
      if (Status s = WriteMap(n, map); !s.ok()) return s;
    }
    freeBytes += CountClear(std::span(map).first(kPageBodySize)) * kBlockAlignment;
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

}  // namespace parvane::pstfile
