// The decoded bytes of a block, shared and immutable.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace parvane::pstfile {

// Keeps its bytes alive for as long as it lives, whatever happens to the block in the file
// meanwhile. Copies share the bytes.
class BlockSlice {
 public:
  BlockSlice() = default;
  BlockSlice(std::shared_ptr<const std::byte[]> owner, std::span<const std::byte> bytes)
      : _owner(std::move(owner)), _bytes(bytes) {}

  std::span<const std::byte> bytes() const { return _bytes; }
  std::size_t size() const { return _bytes.size(); }

 private:
  std::shared_ptr<const std::byte[]> _owner;
  std::span<const std::byte> _bytes;
};

}  // namespace parvane::pstfile
