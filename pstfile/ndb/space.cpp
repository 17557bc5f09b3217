#include "pstfile/ndb/space.h"

#include <iterator>

#include "pstfile/ndb/page.h"

namespace parvane::pstfile {

namespace {

constexpr std::uint64_t AlignUp(std::uint64_t value, std::uint64_t alignment) {
  return (value + alignment - 1) / alignment * alignment;
}

}  // namespace

void SpaceManager::Reset(std::uint64_t mark, std::uint64_t end) {
  _byOffset.clear();
  _bySize.clear();
  _pending.clear();
  _mark = mark;
  _end = end;
}

std::optional<std::uint64_t> SpaceManager::Allocate(std::uint64_t size, std::uint64_t alignment) {
  if (auto found = AllocateFromExtents(size, alignment)) return found;
  return AllocateFromTail(size, alignment);
}

// Best fit. Pages need a multiple of 512 inside an extent, so a few of the smallest candidates are
// tried before one that is large enough wherever it begins.
std::optional<std::uint64_t> SpaceManager::AllocateFromExtents(std::uint64_t size,
                                                               std::uint64_t alignment) {
  const auto take = [&](std::uint64_t offset) -> std::optional<std::uint64_t> {
    const auto extent = _byOffset.find(offset);
    const std::uint64_t end = offset + extent->second;
    const std::uint64_t at = AlignUp(offset, alignment);
    if (at + size > end) return std::nullopt;
    Remove(extent);
    if (at > offset) Insert(offset, at - offset);
    if (at + size < end) Insert(at + size, end - at - size);
    return at;
  };
  constexpr int kTries = 8;
  auto candidate = _bySize.lower_bound({size, 0});
  for (int i = 0; i < kTries && candidate != _bySize.end(); ++i) {
    const std::uint64_t offset = (candidate++)->second;
    if (auto at = take(offset)) return at;
  }
  candidate = _bySize.lower_bound({size + alignment - kBlockAlignment, 0});
  return candidate == _bySize.end() ? std::nullopt : take(candidate->second);
}

std::optional<std::uint64_t> SpaceManager::AllocateFromTail(std::uint64_t size,
                                                            std::uint64_t alignment) {
  while (_mark < _end) {
    const std::uint64_t interval = IntervalOf(_mark);
    const std::uint64_t intervalEnd = IntervalOffset(interval + 1);
    if (_mark < IntervalDataOffset(interval)) _mark = IntervalDataOffset(interval);
    const std::uint64_t at = AlignUp(_mark, alignment);
    if (at + size <= intervalEnd) {
      const std::uint64_t gap = _mark;
      _mark = at + size;
      if (at > gap) Insert(gap, at - gap);
      return at;
    }
    const std::uint64_t rest = _mark;
    _mark = intervalEnd;
    if (rest < intervalEnd) Insert(rest, intervalEnd - rest);
  }
  return std::nullopt;
}

void SpaceManager::Free(std::uint64_t offset, std::uint64_t size) {
  Insert(offset, size);
  // What now borders on the tail joins it, as far as the interval goes.
  if (_mark <= kFirstAMapOffset) return;
  const auto before = _byOffset.lower_bound(_mark);
  if (before == _byOffset.begin()) return;
  const auto last = std::prev(before);
  if (last->first + last->second == _mark) {
    _mark = last->first;
    Remove(last);
  }
}

void SpaceManager::CommitDone() {
  auto pending = std::move(_pending);
  _pending.clear();
  for (const auto& [offset, size] : pending) Free(offset, size);
}

std::uint64_t SpaceManager::TailRoom() const {
  if (_mark >= _end) return 0;
  // An interval loses at most 2 KiB to map pages and one block less 64 bytes at its end: 4 %. Where
  // only a part of an interval is left, nothing is lost but its own end.
  const std::uint64_t room = _end - _mark;
  const std::uint64_t lost = (room / kAMapInterval + 1) * (kMaximumBlockSize + 2048);
  return room > lost ? room - lost : 0;
}

void SpaceManager::Insert(std::uint64_t offset, std::uint64_t size) {
  const auto next = _byOffset.lower_bound(offset);
  // Map pages keep extents of two intervals apart, except that nothing marks an interval's end.
  const auto sameInterval = [&](std::uint64_t a, std::uint64_t b) {
    return IntervalOf(a) == IntervalOf(b);
  };
  if (next != _byOffset.end() && offset + size == next->first &&
      sameInterval(offset, next->first)) {
    size += next->second;
    Remove(next);
  }
  const auto after = _byOffset.lower_bound(offset);
  if (after != _byOffset.begin()) {
    const auto previous = std::prev(after);
    if (previous->first + previous->second == offset && sameInterval(previous->first, offset)) {
      offset = previous->first;
      size += previous->second;
      Remove(previous);
    }
  }
  _byOffset.emplace(offset, size);
  _bySize.emplace(size, offset);
}

void SpaceManager::Remove(std::map<std::uint64_t, std::uint64_t>::iterator extent) {
  _bySize.erase({extent->second, extent->first});
  _byOffset.erase(extent);
}

}  // namespace parvane::pstfile
