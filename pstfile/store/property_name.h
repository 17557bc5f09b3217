// Names of named properties: a property set and a number or a string in it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace parvane::pstfile {

// A GUID as its 16 stored bytes (the first three fields little-endian).
using Guid = std::array<std::byte, 16>;

constexpr Guid MakeGuid(std::uint32_t a, std::uint16_t b, std::uint16_t c,
                        const std::array<std::uint8_t, 8>& d) {
  Guid guid{};
  for (int i = 0; i < 4; ++i) guid[i] = std::byte(a >> (8 * i));
  for (int i = 0; i < 2; ++i) guid[4 + i] = std::byte(b >> (8 * i));
  for (int i = 0; i < 2; ++i) guid[6 + i] = std::byte(c >> (8 * i));
  for (int i = 0; i < 8; ++i) guid[8 + i] = std::byte{d[i]};
  return guid;
}

inline constexpr Guid kPsMapi = MakeGuid(0x00020328, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});
inline constexpr Guid kPsPublicStrings = MakeGuid(0x00020329, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});
// What mail items of all kinds have in Outlook.
inline constexpr Guid kPsetCommon = MakeGuid(0x00062008, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});
// Its names are header fields and are stored in lower case.
inline constexpr Guid kPsInternetHeaders =
    MakeGuid(0x00020386, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});

struct PropertyName {
  enum class Kind : std::uint8_t { kNumber, kString };

  Guid set{};
  Kind kind = Kind::kNumber;
  std::uint32_t number = 0;  // kNumber
  std::u16string name;       // kString

  static PropertyName Number(const Guid& set, std::uint32_t number) {
    return {set, Kind::kNumber, number, {}};
  }
  static PropertyName String(const Guid& set, std::u16string name) {
    return {set, Kind::kString, 0, std::move(name)};
  }
  friend bool operator==(const PropertyName&, const PropertyName&) = default;
};

}  // namespace parvane::pstfile
