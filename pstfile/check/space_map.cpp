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
  for (const std::uint64_t end = slot + count; slot < end;) {
    std::uint8_t& byte = _bits[static_cast<std::size_t>(slot / 8)];
    const auto first = static_cast<unsigned>(slot % 8);
    const auto bits = static_cast<unsigned>(std::min<std::uint64_t>(8 - first, end - slot));
    const auto mask = static_cast<std::uint8_t>((0xFF00U >> bits & 0xFF) >> first);
    before |= byte & mask;
    byte |= mask;
    slot += bits;
  }
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
