// The CRC-32 of the polynomial EDB88320 (reflected), many bytes at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace parvane::platform::simd {

// Continues `crc` over `size` bytes; nothing is inverted at either end.
std::uint32_t Crc32(const std::byte* bytes, std::size_t size, std::uint32_t crc);

}  // namespace parvane::platform::simd
