// TNEF, put together by hand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::tnef {

inline std::string Number(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

inline std::string Filled(std::string bytes) {
  bytes.append((4 - bytes.size() % 4) % 4, '\0');
  return bytes;
}

inline std::string Sized(std::string_view value) {
  return Number(value.size(), 4) + Filled(std::string(value));
}

inline std::string AttributeOf(int level, std::uint32_t id, std::string_view data) {
  std::uint16_t sum = 0;
  for (const char c : data) sum = static_cast<std::uint16_t>(sum + static_cast<unsigned char>(c));
  return Number(static_cast<std::uint64_t>(level), 1) + Number(id, 4) + Number(data.size(), 4) +
         std::string(data) + Number(sum, 2);
}

inline std::string Stream(std::string_view attributes) {
  return Number(0x223E9F78, 4) + Number(1, 2) + std::string(attributes);
}

inline std::string Properties(const std::vector<std::string>& list) {
  std::string bytes = Number(list.size(), 4);
  for (const std::string& property : list) bytes += property;
  return bytes;
}

// Text, bytes or an object; `name` between tag and value where it has one.
inline std::string Variable(std::uint32_t tag, std::string_view value, std::string_view name = {}) {
  return Number(tag & 0xFFFF, 2) + Number(tag >> 16, 2) + std::string(name) + Number(1, 4) +
         Sized(value);
}

}  // namespace parvane::tnef
