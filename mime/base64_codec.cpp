#include <algorithm>
#include <array>

#include "mime/transfer_encoding.h"
#include "platform/simd/base64.h"

namespace Tessary {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kNoise = 0xFF;
constexpr unsigned char kPadding = 0xFE;

constexpr std::array<unsigned char, 256> MakeValues() {
  std::array<unsigned char, 256> values{};
  for (auto& value : values) value = kNoise;
  for (unsigned char i = 0; i < 64; ++i) values[static_cast<unsigned char>(kAlphabet[i])] = i;
  values['='] = kPadding;
  return values;
}
constexpr auto kValues = MakeValues();

}  // namespace

std::size_t Base64Decoder::EndGroup(char* to) {
  const std::size_t bytes = _count < 2 ? 0 : _count - 1;
  if (_count == 2) to[0] = static_cast<char>(_bits >> 4);
  if (_count == 3) {
    to[0] = static_cast<char>(_bits >> 10);
    to[1] = static_cast<char>(_bits >> 2);
  }
  _bits = 0;
  _count = 0;
  return bytes;
}

void Base64Decoder::Append(std::string_view encoded, std::string& out) {
  const std::size_t base = out.size();
  out.resize(base + RoomFor(encoded.size()));
  out.resize(base + Decode(encoded, out.data() + base));
}

// There is room for all that can come, so that nothing below asks. Padding adds no bytes: a group
// that it ends held at least as many characters as bytes.
std::size_t Base64Decoder::Decode(std::string_view encoded, char* out) {
  static_assert(kSlack >= parvane::platform::simd::kBase64Slack);
  char* to = out;
  std::size_t i = 0;
  while (i < encoded.size()) {
    if (_count == 0) {
      const auto done =
          parvane::platform::simd::DecodeBase64Groups(encoded.data() + i, encoded.size() - i, to);
      i += done.taken;
      to += done.made;
    }
    // Then character by character over line ends and noise, up to the next whole group.
    while (i < encoded.size()) {
      const unsigned char value = kValues[static_cast<unsigned char>(encoded[i++])];
      if (value < 64) {
        _bits = (_bits << 6) | value;
        if (++_count == 4) {
          *to++ = static_cast<char>(_bits >> 16);
          *to++ = static_cast<char>(_bits >> 8);
          *to++ = static_cast<char>(_bits);
          _bits = 0;
          _count = 0;
          break;
        }
      } else if (value == kPadding) {
        to += EndGroup(to);
      } else if (_count == 0 && i < encoded.size() &&
                 kValues[static_cast<unsigned char>(encoded[i])] < 64) {
        break;
      }
    }
  }
  return static_cast<std::size_t>(to - out);
}

void Base64Decoder::Finish(std::string& out) {
  char rest[2];
  out.append(rest, EndGroup(rest));
}

std::string DecodeBase64(std::string_view encoded) {
  std::string out;
  out.reserve(encoded.size() / 4 * 3 + 3);
  Base64Decoder decoder;
  decoder.Append(encoded, out);
  decoder.Finish(out);
  return out;
}

std::string EncodeBase64(std::string_view bytes, std::size_t lineLength) {
  const std::size_t characters = (bytes.size() + 2) / 3 * 4;
  std::string out;
  out.reserve(characters + (lineLength == 0 ? 0 : (characters / lineLength + 1) * 2));
  const auto byte = [&](std::size_t i) {
    return std::uint32_t{static_cast<unsigned char>(bytes[i])};
  };
  std::size_t column = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
    std::uint32_t bits = byte(i) << 16;
    if (count > 1) bits |= byte(i + 1) << 8;
    if (count > 2) bits |= byte(i + 2);
    const char group[] = {kAlphabet[bits >> 18], kAlphabet[bits >> 12 & 63],
                          count > 1 ? kAlphabet[bits >> 6 & 63] : '=',
                          count > 2 ? kAlphabet[bits & 63] : '='};
    if (lineLength == 0 || column + 4 <= lineLength) {
      out.append(group, 4);
      column += 4;
      continue;
    }
    // The line ends inside the group, or before it.
    for (const char c : group) {
      if (column == lineLength) {
        out += "\r\n";
        column = 0;
      }
      out += c;
      ++column;
    }
  }
  if (lineLength != 0 && column > 0) out += "\r\n";
  return out;
}

}  // namespace Tessary
