#include <array>
#include <cstring>

#include "mime/transfer_encoding.h"
#include "platform/simd/scan.h"

namespace Tessary {
namespace {

constexpr auto kHexDigits = [] {
  std::array<signed char, 256> table{};
  for (auto& value : table) value = -1;
  for (int i = 0; i < 10; ++i)
    table[static_cast<std::size_t>('0' + i)] = static_cast<signed char>(i);
  for (int i = 0; i < 6; ++i) {
    table[static_cast<std::size_t>('A' + i)] = static_cast<signed char>(10 + i);
    table[static_cast<std::size_t>('a' + i)] = static_cast<signed char>(10 + i);
  }
  return table;
}();

int HexDigit(char c) { return kHexDigits[static_cast<unsigned char>(c)]; }

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Where the next byte stands that text does not simply copy: "=", CR or LF; else the end.
std::size_t FindMark(std::string_view text, std::size_t from) {
  return from +
         parvane::platform::simd::FindQuotedPrintableMark(text.data() + from, text.size() - from);
}

// Writes behind what a string holds, without a check for each byte: there is room for all that the
// input can give.
class Writer {
 public:
  Writer(std::string& out, std::size_t room) : _out(out), _base(out.size()) {
    _out.resize(_base + room + kChunk);
    _at = _out.data() + _base;
  }
  ~Writer() { _out.resize(static_cast<std::size_t>(_at - _out.data())); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void Put(char c) { *_at++ = c; }
  void Put(std::string_view bytes) {
    std::memcpy(_at, bytes.data(), bytes.size());
    _at += bytes.size();
  }
  // The same for a short run of a text that ends at `end`, without a call.
  void PutRun(std::string_view run, const char* end) {
    if (static_cast<std::size_t>(end - run.data()) < run.size() + kChunk) return Put(run);
    for (std::size_t i = 0; i < run.size(); i += kChunk)
      std::memcpy(_at + i, run.data() + i, kChunk);
    _at += run.size();
  }

 private:
  static constexpr std::size_t kChunk = 16;

  std::string& _out;
  std::size_t _base;
  char* _at;
};

constexpr char kHex[] = "0123456789ABCDEF";
constexpr std::size_t kLongestLine = 76;

}  // namespace

// What is held between pieces is either a run of blanks, or "=" followed by one hexadecimal digit
// or by blanks.
void QuotedPrintableDecoder::Append(std::string_view encoded, std::string& decoded) {
  Writer out(decoded, _held.size() + encoded.size());
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
        out.Put(static_cast<char>(HexDigit(_held[1]) * 16 + HexDigit(c)));
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
        out.Put(std::string_view(_held).substr(0, blanks));
        _held.erase(0, blanks);
      }
      continue;
    }
    const std::size_t end = FindMark(encoded, i);
    std::size_t solid = end;
    while (solid > i && IsBlank(encoded[solid - 1])) --solid;
    const bool atLineEnd = end < encoded.size() && encoded[end] != '=';
    if (solid > i || (end < encoded.size() && !atLineEnd)) {
      out.Put(_held);
      _held.clear();
    }
    out.PutRun(encoded.substr(i, solid - i), encoded.data() + encoded.size());
    if (end == encoded.size()) {
      _held.append(encoded, solid, end - solid);
      return;
    }
    if (atLineEnd) {
      _held.clear();
      i = end;
      out.Put(encoded[i++]);
      if (encoded[end] == '\r' && i < encoded.size() && encoded[i] == '\n') out.Put(encoded[i++]);
      continue;
    }
    if (end > solid) out.Put(encoded.substr(solid, end - solid));
    // The common escapes, without a detour over _held.
    if (encoded.size() - end >= 3) {
      const int high = HexDigit(encoded[end + 1]);
      const int low = HexDigit(encoded[end + 2]);
      if (high >= 0 && low >= 0) {
        out.Put(static_cast<char>(high * 16 + low));
        i = end + 3;
        continue;
      }
    }
    _held.assign(1, '=');
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
