#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

std::string ToHex(std::uint64_t value) {
  char digits[16];
  std::size_t at = sizeof digits;
  do {
    digits[--at] = "0123456789ABCDEF"[value & 15];
    value >>= 4;
  } while (value != 0);
  return "0x" + std::string(digits + at, sizeof digits - at);
}

std::string ToString(NodeId nid) { return ToHex(nid.value); }
std::string ToString(BlockId bid) { return ToHex(bid.value); }
std::string ToString(PageId id) { return ToHex(id.value); }
std::string ToString(FileOffset offset) { return ToHex(offset.value); }

}  // namespace parvane::pstfile
