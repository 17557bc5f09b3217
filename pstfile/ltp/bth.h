// A B-tree on a heap ([MS-PST] 2.3.2).
//
//   header item (8 bytes): bType B5, cbKey, cbEnt, bIdxLevels, hidRoot (4); hidRoot 0 is empty
//   leaf item:  records of key (cbKey) and data (cbEnt)
//   index item: records of key (cbKey) and the id of the lower item (4); key = first key below
//
// Keys ascend as unsigned little-endian numbers; no item is larger than 3580 bytes. The root is at
// level bIdxLevels, leaves at level 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/heap.h"

namespace parvane::pstfile {

inline constexpr std::byte kBthType{0xB5};
inline constexpr std::size_t kBthHeaderSize = 8;
inline constexpr std::size_t kBthMaxLevels = 8;

struct BthHeader {
  std::uint8_t keySize = 0;
  std::uint8_t dataSize = 0;
  std::uint8_t levels = 0;
  HeapId root;

  static platform::Result<BthHeader> Decode(std::span<const std::byte> item);
  // The 8 bytes as they are stored, whatever they say.
  static BthHeader Load(std::span<const std::byte> item);
  void Encode(std::span<std::byte> item) const;  // 8 bytes
  std::size_t LeafRecord() const { return std::size_t{keySize} + dataSize; }
  std::size_t IndexRecord() const { return std::size_t{keySize} + 4; }
};

class BthReader {
 public:
  // kCorrupt when keys or data have other sizes than these; keys have at most 4 bytes.
  static platform::Result<BthReader> Open(const Heap& heap, HeapId header, std::size_t keySize,
                                          std::size_t dataSize);

  // Appends all leaf records, in order. kCorrupt as soon as keys do not ascend, or beyond `limit`
  // records: a damaged tree cannot make this run long.
  platform::Status ReadAll(std::vector<std::byte>& records, std::size_t limit) const;

 private:
  platform::Status ReadBelow(HeapId item, std::size_t level, std::size_t limit,
                             std::optional<std::uint64_t>& last,
                             std::vector<std::byte>& records) const;

  const Heap* _heap = nullptr;
  BthHeader _header;
};

// Up to 8 bytes as a number.
inline std::uint64_t LoadSized(std::span<const std::byte> bytes, std::size_t offset,
                               std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value |= std::to_integer<std::uint64_t>(bytes[offset + i]) << (8 * i);
  }
  return value;
}
inline void StoreSized(std::span<std::byte> bytes, std::size_t offset, std::size_t size,
                       std::uint64_t value) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes[offset + i] = static_cast<std::byte>(value >> (8 * i));
  }
}

}  // namespace parvane::pstfile
