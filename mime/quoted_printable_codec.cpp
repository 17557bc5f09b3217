#include <array>
#include <cstring>

#include "mime/transfer_encoding.h"

namespace Tessary {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Where the next byte stands that text does not simply copy: "=", CR or LF; else the end.
std::size_t FindSpecial(std::string_view text, std::size_t from) {
  static constexpr auto kSpecial = [] {
    std::array<bool, 256> table{};
    table['='] = table['\r'] = table['\n'] = true;
    return table;
  }();
  while (from < text.size() && !kSpecial[static_cast<unsigned char>(text[from])]) ++from;
  return from;
}

constexpr char kHex[] = "0123456789ABCDEF";
constexpr std::size_t kLongestLine = 76;

}  // namespace

// What is held between pieces is either a run of blanks, or "=" followed by one hexadecimal digit
// or by blanks.
void QuotedPrintableDecoder::Append(std::string_view encoded, std::string& out) {
  std::size_t i = 0;
  if (_skipLineFeed && !encoded.empty()) {
    if (encoded[0] == '\n') ++i;
    _skipLineFeed = false;
  }
  while (i < encoded.size()) {
    if (!_held.empty() && _held[0] == '=') {
      const char c = encoded[i];
      const bool afterHex = _held.size() == 2 && HexDigit(_held[1]) >= 0;
      if (afterHex && HexDigit(c) >= 0) {
        out += static_cast<char>(HexDigit(_held[1]) * 16 + HexDigit(c));
        _held.clear();
        ++i;
      } else if (_held.size() == 1 && HexDigit(c) >= 0) {
        _held += c;
        ++i;
      } else if (!afterHex && IsBlank(c)) {
        _held += c;
        ++i;
      } else if (!afterHex && (c == '\r' || c == '\n')) {
        _held.clear();
        ++i;
        if (c == '\r') {
          if (i == encoded.size()) {
            _skipLineFeed = true;
          } else if (encoded[i] == '\n') {
            ++i;
          }
        }
      } else {
        // No escape after all. What follows the "=" is ordinary text, blanks perhaps at the end
        // of a line among it.
        std::size_t blanks = _held.size();
        while (blanks > 1 && IsBlank(_held[blanks - 1])) --blanks;
        out.append(_held, 0, blanks);
        _held.erase(0, blanks);
      }
      continue;
    }
    const std::size_t end = FindSpecial(encoded, i);
    std::size_t solid = end;
    while (solid > i && IsBlank(encoded[solid - 1])) --solid;
    const bool atLineEnd = end < encoded.size() && encoded[end] != '=';
    if (solid > i || (end < encoded.size() && !atLineEnd)) {
      out += _held;
      _held.clear();
    }
    out.append(encoded, i, solid - i);
    if (end == encoded.size()) {
      _held.append(encoded, solid, end - solid);
      return;
    }
    if (atLineEnd) {
      _held.clear();
      out += encoded[end];
      i = end + 1;
      continue;
    }
    out.append(encoded, solid, end - solid);
    // The common escapes, without a detour over _held.
    if (encoded.size() - end >= 3) {
      const int high = HexDigit(encoded[end + 1]);
      const int low = HexDigit(encoded[end + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i = end + 3;
        continue;
      }
    }
    _held = "=";
    i = end + 1;
  }
}

void QuotedPrintableDecoder::Finish(std::string& out) {
  // "=" at the very end is a soft line break; blanks at the end of a line mean nothing.
  if (_held.size() == 2 && HexDigit(_held[1]) >= 0) out += _held;
  _held.clear();
  _skipLineFeed = false;
}

std::string DecodeQuotedPrintable(std::string_view encoded) {
  std::string out;
  out.reserve(encoded.size());
  QuotedPrintableDecoder decoder;
  decoder.Append(encoded, out);
  decoder.Finish(out);
  return out;
}

std::string EncodeQuotedPrintable(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 8);
  std::size_t column = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char c = bytes[i];
    const bool lineEnd = c == '\n' || (c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n');
    if (lineEnd) {
      if (c == '\r') ++i;
      out += "\r\n";
      column = 0;
      continue;
    }
    const bool last = i + 1 == bytes.size() || bytes[i + 1] == '\n' ||
                      (bytes[i + 1] == '\r' && i + 2 < bytes.size() && bytes[i + 2] == '\n');
    const bool plain = (c > ' ' && c <= '~' && c != '=') || (IsBlank(c) && !last);
    const std::size_t width = plain ? 1 : 3;
    // A line that goes on needs room for its "=".
    if (column + width > kLongestLine - (last ? 0 : 1)) {
      out += "=\r\n";
      column = 0;
    }
    if (plain) {
      out += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      out += '=';
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    }
    column += width;
  }
  return out;
}

}  // namespace Tessary
