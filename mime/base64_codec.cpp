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

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsWholeGroups(std::string_view line) {
  for (std::size_t i = 0; i < line.size(); i += 4) {
    const std::string_view group = line.substr(i, 4);
    std::size_t values = 0;
    while (values < group.size() && kValues[static_cast<unsigned char>(group[values])] < 64)
      ++values;
    if (values < 2 || group.size() < 4 || group.find_first_not_of('=', values) != group.npos)
      return false;
  }
  // A line drawn of one character; but bytes of zero are many an "A".
  return line.front() == 'A' || line.find_first_not_of(line.front()) != line.npos;
}

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

std::size_t Base64Decoder::Decode(std::string_view encoded, char* out) {
  char* to = out;
  while (!encoded.empty() && !_ended) {
    to = _padded ? HoldLine(encoded, to) : DecodeRun(encoded, to);
  }
  return static_cast<std::size_t>(to - out);
}

// There is room for all that can come, so that nothing below asks. Padding adds no bytes: a group
// that it ends held at least as many characters as bytes.
char* Base64Decoder::DecodeRun(std::string_view& encoded, char* to) {
  static_assert(kSlack >= parvane::platform::simd::kBase64Slack);
  std::size_t i = 0;
  while (i < encoded.size() && !_padded) {
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
        // Where no group is open, a "=" is noise: soft line breaks are met in base64.
        _padded = _count > 1;
        to += EndGroup(to);
        if (_padded) break;
      } else if (_count == 0 && i < encoded.size() &&
                 kValues[static_cast<unsigned char>(encoded[i])] < 64) {
        break;
      }
    }
  }
  encoded.remove_prefix(i);
  return to;
}

char* Base64Decoder::HoldLine(std::string_view& encoded, char* to) {
  std::size_t i = 0;
  bool whole = false;
  while (i < encoded.size() && !whole) {
    const char c = encoded[i++];
    if (c == '\r' || c == '\n') {
      whole = !_line.empty();
    } else if (!_line.empty() || (c != '=' && !IsBlank(c))) {
      _line += c;
      whole = _line.size() == kLongestHeld;
    }
  }
  encoded.remove_prefix(i);
  return whole ? DecodeHeldLine(to) : to;
}

char* Base64Decoder::DecodeHeldLine(char* to) {
  std::string_view line = _line;
  while (IsBlank(line.back())) line.remove_suffix(1);
  _ended = !IsWholeGroups(line);
  for (std::size_t i = 0; i < line.size() && !_ended; i += 4) {
    const std::string_view group = line.substr(i, 4);
    _count = static_cast<unsigned>(std::min(group.find('='), group.size()));
    _padded = _count < 4;
    for (unsigned at = 0; at < _count; ++at)
      _bits = (_bits << 6) | kValues[static_cast<unsigned char>(group[at])];
    if (!_padded) {
      *to++ = static_cast<char>(_bits >> 16);
      *to++ = static_cast<char>(_bits >> 8);
      *to++ = static_cast<char>(_bits);
    }
    to += _padded ? EndGroup(to) : 0;
    _bits = 0;
    _count = 0;
  }
  _line.clear();
  return to;
}

void Base64Decoder::Finish(std::string& out) {
  char rest[RoomFor(0)];
  char* end = rest;
  if (!_line.empty()) end = DecodeHeldLine(end);
  end += EndGroup(end);
  out.append(rest, static_cast<std::size_t>(end - rest));
  _padded = _ended = false;
}

std::string DecodeBase64(std::string_view encoded) {
  std::string out;
  out.reserve(encoded.size() / 4 * 3 + 3);
  Base64Decoder decoder;
  decoder.Append(encoded, out);
  decoder.Finish(out);
  return out;
}

char* Base64Encoder::WriteGroup(std::size_t bytes, char* to) {
  if (_column == kLine) {
    *to++ = '\r';
    *to++ = '\n';
    _column = 0;
  }
  const unsigned bits = unsigned{_held[0]} << 16 | unsigned{_held[1]} << 8 | _held[2];
  *to++ = kAlphabet[bits >> 18];
  *to++ = kAlphabet[bits >> 12 & 63];
  *to++ = bytes > 1 ? kAlphabet[bits >> 6 & 63] : '=';
  *to++ = bytes > 2 ? kAlphabet[bits & 63] : '=';
  _column += 4;
  _count = 0;
  return to;
}

std::size_t Base64Encoder::Encode(std::string_view bytes, char* out) {
  char* to = out;
  for (const char byte : bytes) {
    _held[_count++] = static_cast<unsigned char>(byte);
    if (_count == 3) to = WriteGroup(3, to);
  }
  return static_cast<std::size_t>(to - out);
}

std::size_t Base64Encoder::Finish(char* out) {
  if (_count == 0) return 0;
  const std::size_t bytes = _count;
  std::fill(_held + bytes, _held + 3, static_cast<unsigned char>(0));
  return static_cast<std::size_t>(WriteGroup(bytes, out) - out);
}

}  // namespace Tessary
