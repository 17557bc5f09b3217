// Collects what is to be written to the file, and writes neighbours in one piece.
//
// Blocks are built in place: Reserve gives the memory that will go to a place in the file. What is
// collected lies as it will lie in the file, an interval of an allocation map at a time, so that
// blocks join however the space for them was found; when a place is reserved twice (space taken
// again within one transaction) the later content stands. Bytes nobody reserved are not written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile {

class WriteBuffer {
 public:
  // Holds at most so many intervals of 248 KiB. Few: what is written should still be in the
  // processor's cache.
  explicit WriteBuffer(std::size_t intervals = 2) : _capacity(intervals) {}

  // `size` bytes for `offset`, within one interval, to be filled before the next call. Writes out
  // the oldest interval when there is no room.
  platform::Result<std::span<std::byte>> Reserve(platform::RandomAccessFile& file,
                                                 std::uint64_t offset, std::size_t size);
  // The bytes at `offset`, if all of them were reserved and are still here.
  std::optional<std::span<const std::byte>> Find(std::uint64_t offset, std::size_t size) const;
  // Writes everything out. What could not be written stays collected.
  platform::Status Flush(platform::RandomAccessFile& file);

 private:
  // A range of file offsets.
  struct Run {
    std::uint64_t begin;
    std::uint64_t end;
  };
  struct Interval {
    std::uint64_t number = 0;
    std::unique_ptr<std::byte[]> bytes;
    std::vector<Run> runs;  // reserved; ascending, none touching the next
  };
  static void AddRun(std::vector<Run>& runs, Run run);
  static platform::Status Write(platform::RandomAccessFile& file, Interval& interval);
  const Interval* FindInterval(std::uint64_t number) const;

  std::size_t _capacity;
  std::vector<Interval> _intervals;  // those without runs are to be used again
  std::size_t _next = 0;             // the one to be written out next
  mutable std::size_t _last = 0;     // the one used last
};

}  // namespace parvane::pstfile
