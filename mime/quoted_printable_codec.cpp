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
std::size_t FindMark(std::string_view text) {
  return parvane::platform::simd::FindQuotedPrintableMark(text.data(), text.size());
}

}  // namespace

// Writes behind what a string holds, without a check for each byte: there is room for all that the
// input can give.
class QuotedPrintableDecoder::Writer {
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

void QuotedPrintableDecoder::Append(std::string_view encoded, std::string& decoded) {
  Writer out(decoded, _held.size() + encoded.size());
  while (!encoded.empty()) {
    if (_skipLineFeed) {
      _skipLineFeed = false;
      if (encoded.front() == '\n') encoded.remove_prefix(1);
    } else if (!_held.empty() && _held.front() == '=') {
      GoOnWithEscape(encoded, out);
    } else {
      TakeText(encoded, out);
    }
  }
}

// With one byte more of what may be an escape or a soft line break.
void QuotedPrintableDecoder::GoOnWithEscape(std::string_view& encoded, Writer& out) {
  const char c = encoded.front();
  const int high = _held.size() == 2 ? HexDigit(_held[1]) : -1;
  if (high >= 0 && HexDigit(c) >= 0) {
    out.Put(static_cast<char>(high * 16 + HexDigit(c)));
    _held.clear();
  } else if (high < 0 && (IsBlank(c) || (_held.size() == 1 && HexDigit(c) >= 0))) {
    _held += c;
  } else if (high < 0 && (c == '\r' || c == '\n')) {
    _held.clear();
    _skipLineFeed = c == '\r';
  } else {
    // No escape after all. What follows the "=" is ordinary text, blanks perhaps at the end of a
    // line among it.
    std::size_t solid = _held.size();
    while (solid > 1 && IsBlank(_held[solid - 1])) --solid;
    out.Put(std::string_view(_held).substr(0, solid));
    _held.erase(0, solid);
    return;
  }
  encoded.remove_prefix(1);
}

// Up to the next "=" or the end of the line, with that.
void QuotedPrintableDecoder::TakeText(std::string_view& encoded, Writer& out) {
  const std::size_t end = FindMark(encoded);
  const bool goesOn = end == encoded.size();
  const bool escape = !goesOn && encoded[end] == '=';
  // Blanks before an escape are text, at the end of a line they are nothing.
  std::size_t solid = end;
  if (!escape) {
    while (solid > 0 && IsBlank(encoded[solid - 1])) --solid;
  }
  if (!_held.empty() && (solid > 0 || escape)) {
    out.Put(_held);
    _held.clear();
  }
  out.PutRun(encoded.substr(0, solid), encoded.data() + encoded.size());
  if (goesOn) {
    _held += encoded.substr(solid);
    encoded = {};
  } else if (escape) {
    encoded.remove_prefix(end + 1);
    BeginEscape(encoded, out);
  } else {
    _held.clear();
    const std::size_t size = encoded.substr(end, 2) == "\r\n" ? 2 : 1;
    out.Put(encoded.substr(end, size));
    encoded.remove_prefix(end + size);
  }
}

// Behind the "=". The common escapes, of which there are often several in a row, and soft line
// breaks take no detour over what is held.
void QuotedPrintableDecoder::BeginEscape(std::string_view& encoded, Writer& out) {
  for (;;) {
    if (encoded.starts_with('\n')) return encoded.remove_prefix(1);
    if (encoded.starts_with("\r\n")) return encoded.remove_prefix(2);
    const int high = encoded.size() < 2 ? -1 : HexDigit(encoded[0]);
    const int low = high < 0 ? -1 : HexDigit(encoded[1]);
    if (low < 0) {
      _held.assign(1, '=');
      return;
    }
    out.Put(static_cast<char>(high * 16 + low));
    encoded.remove_prefix(2);
    if (!encoded.starts_with('=')) return;
    encoded.remove_prefix(1);
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

}  // namespace Tessary
