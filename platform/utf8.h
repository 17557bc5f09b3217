// One step of decoding UTF-8, shared by everything that reads it.
#pragma once

#include <cstddef>

namespace parvane::platform {

// The next character of ill- or well-formed UTF-8. An ill-formed sequence spans its longest part
// that could have begun a well-formed one, and one byte at least (Unicode 15, section 3.9, "best
// practices for U+FFFD substitution").
struct Utf8Step {
  char32_t character;  // meaningless when not valid
  std::size_t length;  // bytes taken, 1..4
  bool valid;
};

// `size` must not be 0.
inline Utf8Step StepUtf8(const char* text, std::size_t size) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  std::size_t length;
  char32_t character;
  unsigned char low = 0x80;  // the range of the second byte
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    character = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    character = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    character = lead & 0x07;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {0, 1, false};
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= size || byte(i) < low || byte(i) > high) return {0, i, false};
    character = (character << 6) | (byte(i) & 0x3F);
    low = 0x80;
    high = 0xBF;
  }
  return {character, length, true};
}

// Writes a character as one or two UTF-16 units; the count.
inline std::size_t PutUtf16(char32_t character, char16_t* out) {
  if (character < 0x10000) {
    out[0] = static_cast<char16_t>(character);
    return 1;
  }
  out[0] = static_cast<char16_t>(0xD7C0 + (character >> 10));
  out[1] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
  return 2;
}

constexpr bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }
constexpr bool IsSurrogate(char16_t unit) { return (unit & 0xF800) == 0xD800; }
constexpr char32_t JoinSurrogates(char16_t high, char16_t low) {
  return 0x10000 + ((char32_t{high} - 0xD800) << 10) + (char32_t{low} - 0xDC00);
}

// Writes a character as one to four bytes of UTF-8; the count.
inline std::size_t PutUtf8(char32_t c, char* out) {
  if (c < 0x80) {
    out[0] = static_cast<char>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<char>(0xC0 | (c >> 6));
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    return 2;
  }
  if (c < 0x10000) {
    out[0] = static_cast<char>(0xE0 | (c >> 12));
    out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[2] = static_cast<char>(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = static_cast<char>(0xF0 | (c >> 18));
  out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
  out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
  out[3] = static_cast<char>(0x80 | (c & 0x3F));
  return 4;
}

}  // namespace parvane::platform
