#include "pstfile/ndb/crc.h"

#include <array>

#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

namespace {

// kTables[k][b]: what byte b contributes when k more bytes follow it. Sixteen tables take sixteen
// bytes a step ("slicing"), each lookup independent of the others.
using Tables = std::array<std::array<std::uint32_t, 256>, 16>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (std::uint32_t b = 0; b < 256; ++b) {
    std::uint32_t crc = b;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
    tables[0][b] = crc;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t b = 0; b < 256; ++b) {
      const std::uint32_t before = tables[k - 1][b];
      tables[k][b] = (before >> 8) ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();
static_assert(kTables[0][1] == 0x77073096);

}  // namespace

std::uint32_t Crc(std::span<const std::byte> bytes, std::uint32_t start) {
  std::uint32_t crc = start;
  std::size_t at = 0;
  const auto four = [](std::uint32_t word, std::size_t after) {
    return kTables[after + 3][word & 0xFF] ^ kTables[after + 2][(word >> 8) & 0xFF] ^
           kTables[after + 1][(word >> 16) & 0xFF] ^ kTables[after][word >> 24];
  };
  for (; bytes.size() - at >= 16; at += 16) {
    crc = four(crc ^ LoadU32(bytes, at), 12) ^ four(LoadU32(bytes, at + 4), 8) ^
          four(LoadU32(bytes, at + 8), 4) ^ four(LoadU32(bytes, at + 12), 0);
  }
  for (; at < bytes.size(); ++at) {
    crc = (crc >> 8) ^ kTables[0][(crc ^ LoadU8(bytes, at)) & 0xFF];
  }
  return crc;
}

}  // namespace parvane::pstfile
