// A list of entry identifiers in one block of bytes, as PR_REPLY_RECIPIENT_ENTRIES holds it.
//
//   offset size  field
//        0    4  number of entries
//        4    4  size of the entries in bytes, padding included
//        8  ...  entries: 4 bytes size of the entry id, the entry id, padding of zeros
//
// Sizes are little-endian. An entry and its size take s bytes, followed by s mod 4 bytes of
// padding: not the distance to the next multiple of 4, but what readers of these lists have always
// been given.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace parvane::convert {

class FlatEntryList {
 public:
  void Add(std::span<const std::uint8_t> entryId) {
    Begin();
    ++_count;
    const std::size_t at = _bytes.size();
    const std::size_t size = sizeof(std::uint32_t) + entryId.size();
    _bytes.resize(at + size + size % 4);
    PutNumber(at, entryId.size());
    std::copy(entryId.begin(), entryId.end(), _bytes.data() + at + sizeof(std::uint32_t));
  }

  std::size_t size() const { return _bytes.size(); }

  const std::vector<std::uint8_t>& Bytes() {
    Begin();
    PutNumber(0, _count);
    PutNumber(sizeof(std::uint32_t), _bytes.size() - kHeaderSize);
    return _bytes;
  }

 private:
  static constexpr std::size_t kHeaderSize = 8;

  void Begin() {
    constexpr std::size_t kUsualSize = 256;
    if (!_bytes.empty()) return;
    _bytes.reserve(kUsualSize);
    _bytes.resize(kHeaderSize);
  }

  void PutNumber(std::size_t at, std::size_t number) {
    for (int shift = 0; shift < 32; shift += 8)
      _bytes[at++] = static_cast<std::uint8_t>(number >> shift);
  }

  std::size_t _count = 0;
  std::vector<std::uint8_t> _bytes;
};

}  // namespace parvane::convert
