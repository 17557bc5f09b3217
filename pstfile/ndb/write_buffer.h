// Collects what is to be written to the file, and writes neighbours in one piece.
//
// Blocks are built in place: Reserve gives the memory that will go to a place in the file. Pieces
// are written in the order they were reserved, so when two overlap (space taken again within one
// transaction) the later one stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile {

class WriteBuffer {
 public:
  explicit WriteBuffer(std::size_t capacity = std::size_t{1} << 20) : _capacity(capacity) {}

  // `size` bytes (at most the capacity) for `offset`, to be filled before the next call. Writes out
  // what is collected when there is no room.
  platform::Result<std::span<std::byte>> Reserve(platform::RandomAccessFile& file,
                                                 std::uint64_t offset, std::size_t size);
  // The first `size` bytes of what was reserved for exactly `offset`, while it is still here.
  std::optional<std::span<const std::byte>> Find(std::uint64_t offset, std::size_t size) const;
  // Writes everything out. The bytes stay collected when that fails.
  platform::Status Flush(platform::RandomAccessFile& file);
  bool empty() const { return _used == 0; }

 private:
  struct Piece {
    std::uint64_t offset;
    std::size_t at;
    std::size_t size;
  };
  std::size_t _capacity;
  std::unique_ptr<std::byte[]> _bytes;
  std::size_t _used = 0;
  std::vector<Piece> _pieces;
  std::unordered_map<std::uint64_t, std::size_t> _places;  // file offset -> place in _bytes
};

}  // namespace parvane::pstfile
