// The check sum of headers, pages and blocks ([MS-PST] 5.3).
//
// CRC-32 with the reflected polynomial EDB88320, the register starting at 0 and without a final
// inversion: not the value an ordinary CRC-32 function gives. Zero bytes at the start do not count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace parvane::pstfile {

// `start` is the check sum of the bytes before these.
std::uint32_t Crc(std::span<const std::byte> bytes, std::uint32_t start = 0);

// The 16-bit signature of a page or block at `offset` with id `id` ([MS-PST] 5.5).
constexpr std::uint16_t Signature(std::uint64_t offset, std::uint64_t id) {
  const auto v = static_cast<std::uint32_t>(offset) ^ static_cast<std::uint32_t>(id);
  return static_cast<std::uint16_t>((v >> 16) ^ v);
}
static_assert(Signature(0x9200, 0x17D) == 0x937D && Signature(0x4200, 0x17F) == 0x437F);

}  // namespace parvane::pstfile
