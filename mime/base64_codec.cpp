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

// Input handled at a time, so that the work buffer stays in the first-level cache.
constexpr std::size_t kChunk = 8192;

}  // namespace

void Base64Decoder::EndGroup(std::string& out) {
  if (_count == 2) out += static_cast<char>(_bits >> 4);
  if (_count == 3) {
    out += static_cast<char>(_bits >> 10);
    out += static_cast<char>(_bits >> 2);
  }
  _bits = 0;
  _count = 0;
}

void Base64Decoder::Append(std::string_view encoded, std::string& out) {
  char buffer[kChunk / 4 * 3 + parvane::platform::simd::kBase64Slack];
  std::size_t filled = 0;
  const auto flush = [&] {
    out.append(buffer, filled);
    filled = 0;
  };
  std::size_t i = 0;
  while (i < encoded.size()) {
    if (_count == 0) {
      // Whole groups fill at most what is left of the buffer.
      const std::size_t room = (kChunk / 4 * 3 - filled) / 3 * 4;
      const std::size_t taken = parvane::platform::simd::DecodeBase64Groups(
          encoded.data() + i, std::min(encoded.size() - i, room), buffer + filled);
      i += taken;
      filled += taken / 4 * 3;
      if (filled + 3 > kChunk / 4 * 3) flush();
      if (i == encoded.size()) break;
    }
    // Then character by character over line ends and noise, up to the next whole group.
    do {
      const unsigned char value = kValues[static_cast<unsigned char>(encoded[i++])];
      if (value < 64) {
        _bits = (_bits << 6) | value;
        if (++_count == 4) {
          buffer[filled++] = static_cast<char>(_bits >> 16);
          buffer[filled++] = static_cast<char>(_bits >> 8);
          buffer[filled++] = static_cast<char>(_bits);
          _bits = 0;
          _count = 0;
          break;
        }
      } else if (value == kPadding) {
        flush();
        EndGroup(out);
      } else if (_count == 0 && i < encoded.size() &&
                 kValues[static_cast<unsigned char>(encoded[i])] < 64) {
        break;
      }
    } while (i < encoded.size());
    if (filled + 3 > kChunk / 4 * 3) flush();
  }
  flush();
}

void Base64Decoder::Finish(std::string& out) { EndGroup(out); }

std::string DecodeBase64(std::string_view encoded) {
  std::string out;
  out.reserve(encoded.size() / 4 * 3 + 3);
  Base64Decoder decoder;
  decoder.Append(encoded, out);
  decoder.Finish(out);
  return out;
}

std::string EncodeBase64(std::string_view bytes, std::size_t lineLength) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4 * 78 / 76 + 4);
  std::size_t column = 0;
  const auto put = [&](std::uint32_t bits, std::size_t characters) {
    for (std::size_t k = 0; k < 4; ++k) {
      if (lineLength != 0 && column == lineLength) {
        out += "\r\n";
        column = 0;
      }
      out += k < characters ? kAlphabet[bits >> (18 - 6 * k) & 63] : '=';
      ++column;
    }
  };
  const auto byte = [&](std::size_t i) {
    return std::uint32_t{static_cast<unsigned char>(bytes[i])};
  };
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    put(byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2), 4);
  }
  if (bytes.size() - i == 2) put(byte(i) << 16 | byte(i + 1) << 8, 3);
  if (bytes.size() - i == 1) put(byte(i) << 16, 2);
  if (lineLength != 0 && column > 0) out += "\r\n";
  return out;
}

}  // namespace Tessary
