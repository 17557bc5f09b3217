// Integers from and to little-endian bytes, by shifting; compilers turn each into one move.
//
// The caller has checked that `offset` and the integer lie within the span.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace parvane::pstfile {

namespace detail {

template <typename T>
inline T LoadInteger(std::span<const std::byte> bytes, std::size_t offset) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(value | static_cast<T>(bytes[offset + i]) << (8 * i));
  }
  return value;
}

template <typename T>
inline void StoreInteger(std::span<std::byte> bytes, std::size_t offset, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[offset + i] = static_cast<std::byte>(value >> (8 * i));
  }
}

}  // namespace detail

inline std::uint8_t LoadU8(std::span<const std::byte> bytes, std::size_t offset = 0) {
  return static_cast<std::uint8_t>(bytes[offset]);
}
inline std::uint16_t LoadU16(std::span<const std::byte> bytes, std::size_t offset = 0) {
  return detail::LoadInteger<std::uint16_t>(bytes, offset);
}
inline std::uint32_t LoadU32(std::span<const std::byte> bytes, std::size_t offset = 0) {
  return detail::LoadInteger<std::uint32_t>(bytes, offset);
}
inline std::uint64_t LoadU64(std::span<const std::byte> bytes, std::size_t offset = 0) {
  return detail::LoadInteger<std::uint64_t>(bytes, offset);
}

inline void StoreU16(std::span<std::byte> bytes, std::size_t offset, std::uint16_t value) {
  detail::StoreInteger(bytes, offset, value);
}
inline void StoreU32(std::span<std::byte> bytes, std::size_t offset, std::uint32_t value) {
  detail::StoreInteger(bytes, offset, value);
}
inline void StoreU64(std::span<std::byte> bytes, std::size_t offset, std::uint64_t value) {
  detail::StoreInteger(bytes, offset, value);
}

}  // namespace parvane::pstfile
