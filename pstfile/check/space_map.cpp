#include "pstfile/check/space_map.h"

#include <algorithm>

#include "pstfile/ndb/map_bits.h"

namespace parvane::pstfile::check {

std::uint64_t SpaceMap::IntervalsOf(const Image& image) {
  const std::uint64_t told = image.header().endOfFile;
  const std::uint64_t size = told > kFirstAMapOffset ? std::min(told, image.size()) : image.size();
  if (size <= kFirstAMapOffset) return 0;
  return (size - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
}

void SpaceMap::Begin(std::uint64_t firstInterval, std::uint64_t intervals) {
  _first = firstInterval;
  _start = IntervalOffset(firstInterval);
  _bits.assign(static_cast<std::size_t>(intervals * kPageBodySize), 0);
  for (std::uint64_t n = 0; n < intervals; ++n) {
    Set(n * kSlotsPerMap, MapPageCount(firstInterval + n) * kPageSize / kBlockAlignment);
  }
}

std::span<const std::uint8_t> SpaceMap::MapOf(std::uint64_t interval) const {
  return std::span(_bits).subspan(static_cast<std::size_t>((interval - _first) * kPageBodySize),
                                  kPageBodySize);
}

// False when one of the bits was set before; all are set in any case.
bool SpaceMap::Set(std::uint64_t slot, std::uint64_t count) {
  std::uint8_t before = 0;
  const auto set = [&](std::size_t byte, unsigned mask) {
    before |= _bits[byte] & mask;
    _bits[byte] |= static_cast<std::uint8_t>(mask);
  };
  // Of the first and the last byte only a part may be meant.
  const auto first = static_cast<std::size_t>(slot / 8);
  const auto last = static_cast<std::size_t>((slot + count) / 8);
  const unsigned head = 0xFFU >> slot % 8;
  const unsigned tail = 0xFF00U >> (slot + count) % 8 & 0xFF;
  if (first == last) {
    set(first, head & tail);
    return before == 0;
  }
  set(first, head);
  for (std::size_t byte = first + 1; byte < last; ++byte) set(byte, 0xFF);
  if (tail != 0) set(last, tail);
  return before == 0;
}

SpaceMap::Outcome SpaceMap::Take(std::uint64_t offset, std::uint64_t size, std::uint64_t fileSize) {
  if (offset < kFirstAMapOffset || offset > fileSize || size > fileSize - offset) {
    return Outcome::kTaken;
  }
  const std::uint64_t end = _start + _bits.size() * 8 * kBlockAlignment;
  if (offset + size <= _start || offset >= end) return Outcome::kTaken;
  const std::uint64_t interval = IntervalOf(offset);
  if (offset < IntervalDataOffset(interval) || offset + size > IntervalOffset(interval + 1)) {
    return offset >= _start ? Outcome::kOnMapPage : Outcome::kTaken;
  }
  const std::uint64_t slot = (offset - _start) / kBlockAlignment;
  const bool fresh = Set(slot, (size + kBlockAlignment - 1) / kBlockAlignment);
  return fresh ? Outcome::kTaken : Outcome::kTakenBefore;
}

}  // namespace parvane::pstfile::check
