// What of a stretch of the file is taken, bit for bit as the AMaps tell it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "pstfile/check/image.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile::check {

class SpaceMap {
 public:
  // Intervals that a map may have: 16 GiB of the file in 32 MiB.
  static constexpr std::uint64_t kMostIntervals = (std::uint64_t{32} << 20) / kPageBodySize;
  // Intervals of the file, up to the end of what its header knows of: what an interrupted writer
  // took beyond it is nobody's yet.
  static std::uint64_t IntervalsOf(const Image& image);

  enum class Outcome { kTaken, kOnMapPage, kTakenBefore };

  // Only the map pages are taken now.
  void Begin(std::uint64_t firstInterval, std::uint64_t intervals);
  // Takes what of these bytes of a file of `fileSize` bytes lies in the stretch.
  Outcome Take(std::uint64_t offset, std::uint64_t size, std::uint64_t fileSize);
  // The map of one of the intervals, of kPageBodySize bytes.
  std::span<const std::uint8_t> MapOf(std::uint64_t interval) const;

 private:
  bool Set(std::uint64_t slot, std::uint64_t count);

  std::uint64_t _first = 0;
  std::uint64_t _start = 0;
  std::vector<std::uint8_t> _bits;
};

}  // namespace parvane::pstfile::check
