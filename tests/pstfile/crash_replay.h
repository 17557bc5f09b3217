// What a disk may hold after a crash at each step of a recorded session: everything up to the last
// flush, and of the steps since then all, none, or some sectors in any order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <random>
#include <span>
#include <utility>
#include <vector>

#include "tests/pstfile/ndb_memory_files.h"

namespace parvane::pstfile {

struct Crash {
  std::size_t step = 0;     // steps done
  std::size_t variant = 0;  // 0: all of them on the disk, 1: none since the flush, others: some
};

namespace detail {

inline void ApplyTorn(std::span<const MemoryFiles::Step> pending, std::mt19937& random,
                      Bytes& file) {
  constexpr std::size_t kSector = 512;
  std::vector<MemoryFiles::Step> pieces;
  for (const auto& step : pending) {
    if (step.act == MemoryFiles::Act::kResize) {
      if (random() % 2 == 0) pieces.push_back(step);
      continue;
    }
    for (std::size_t at = 0; at < step.bytes.size();) {
      const std::size_t size =
          std::min<std::size_t>(step.bytes.size() - at, kSector - (step.offset + at) % kSector);
      if (random() % 2 == 0) {
        const auto from = step.bytes.begin() + static_cast<std::ptrdiff_t>(at);
        pieces.push_back({step.act,
                          step.path,
                          step.offset + at,
                          Bytes(from, from + static_cast<std::ptrdiff_t>(size)),
                          {}});
      }
      at += size;
    }
  }
  std::ranges::shuffle(pieces, random);
  for (const auto& piece : pieces) MemoryFiles::Apply(piece, file);
}

}  // namespace detail

// Calls judge(crash, file) for every crash there can be; the number of them. `start` is the file
// before the first step. The judge may spoil the file. Stops when the judge has failed.
template <typename Judge>
std::size_t ReplayCrashes(const Bytes& start, std::span<const MemoryFiles::Step> steps,
                          const Judge& judge) {
  constexpr std::size_t kVariants = 4;
  std::mt19937 random(11);
  Bytes durable = start;
  std::size_t flushed = 0;  // steps in `durable`
  std::size_t crashes = 0;
  for (std::size_t i = 0; i <= steps.size(); ++i) {
    const auto pending = steps.subspan(flushed, i - flushed);
    for (std::size_t variant = 0; variant < kVariants; ++variant) {
      if (variant != 1 && pending.empty()) continue;
      Bytes file = durable;
      if (variant == 0) {
        for (const auto& step : pending) MemoryFiles::Apply(step, file);
      } else if (variant > 1) {
        detail::ApplyTorn(pending, random, file);
      }
      ++crashes;
      judge(Crash{i, variant}, std::move(file));
      if (::testing::Test::HasFatalFailure()) return crashes;
    }
    if (i < steps.size() && steps[i].act == MemoryFiles::Act::kFlush) {
      for (; flushed < i + 1; ++flushed) MemoryFiles::Apply(steps[flushed], durable);
    }
  }
  return crashes;
}

}  // namespace parvane::pstfile
