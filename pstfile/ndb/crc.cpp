#include "pstfile/ndb/crc.h"

#include "platform/simd/crc32.h"

namespace parvane::pstfile {

std::uint32_t Crc(std::span<const std::byte> bytes, std::uint32_t start) {
  return platform::simd::Crc32(bytes.data(), bytes.size(), start);
}

}  // namespace parvane::pstfile
