// Little-endian integers in byte buffers. The caller has checked the bounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace parvane::pstfile::le {

inline std::uint16_t Get16(const std::byte* p) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(p[0]) |
                                    (std::to_integer<unsigned>(p[1]) << 8));
}
inline std::uint32_t Get32(const std::byte* p) {
  return std::to_integer<std::uint32_t>(p[0]) | (std::to_integer<std::uint32_t>(p[1]) << 8) |
         (std::to_integer<std::uint32_t>(p[2]) << 16) |
         (std::to_integer<std::uint32_t>(p[3]) << 24);
}
inline std::uint64_t Get64(const std::byte* p) {
  return Get32(p) | (std::uint64_t{Get32(p + 4)} << 32);
}
// `size` bytes (at most 8), zero-extended.
inline std::uint64_t GetSized(const std::byte* p, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) value |= std::to_integer<std::uint64_t>(p[i]) << (8 * i);
  return value;
}
inline void PutSized(std::byte* p, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) p[i] = static_cast<std::byte>(value >> (8 * i));
}
inline void Put16(std::byte* p, std::uint16_t value) { PutSized(p, value, 2); }
inline void Put32(std::byte* p, std::uint32_t value) { PutSized(p, value, 4); }
inline void Put64(std::byte* p, std::uint64_t value) { PutSized(p, value, 8); }
inline void Append(std::vector<std::byte>& out, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) out.push_back(static_cast<std::byte>(value >> (8 * i)));
}

}  // namespace parvane::pstfile::le
