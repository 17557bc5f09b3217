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

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace parvane::convert {

class FlatEntryList {
 public:
  void Add(std::span<const std::uint8_t> entryId) {
    ++_count;
    AppendNumber(_entries, entryId.size());
    _entries.insert(_entries.end(), entryId.begin(), entryId.end());
    _entries.resize(_entries.size() + (entryId.size() + 4) % 4);
  }

  std::vector<std::uint8_t> Bytes() const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(8 + _entries.size());
    AppendNumber(bytes, _count);
    AppendNumber(bytes, _entries.size());
    bytes.insert(bytes.end(), _entries.begin(), _entries.end());
    return bytes;
  }

 private:
  static void AppendNumber(std::vector<std::uint8_t>& bytes, std::size_t number) {
    for (int shift = 0; shift < 32; shift += 8)
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }

  std::size_t _count = 0;
  std::vector<std::uint8_t> _entries;
};

}  // namespace parvane::convert
