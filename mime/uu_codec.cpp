#include "mime/transfer_encoding.h"

namespace Tessary {
namespace {

// "begin 644 name": three or four octal digits, then the name.
bool ReadBeginLine(std::string_view line, std::string* name) {
  if (line.substr(0, 6) != "begin ") return false;
  line.remove_prefix(6);
  std::size_t digits = 0;
  while (digits < line.size() && line[digits] >= '0' && line[digits] <= '7') ++digits;
  if (digits < 3 || digits > 4 || digits == line.size() || line[digits] != ' ') return false;
  *name = line.substr(digits + 1);
  return true;
}

bool IsDataCharacter(char c) { return c >= ' ' && c <= '`'; }

std::uint32_t Value(std::string_view line, std::size_t at) {
  // Mailers cut blanks at the end of a line: they were zeros.
  if (at >= line.size() || !IsDataCharacter(line[at])) return 0;
  return static_cast<std::uint32_t>(line[at] - ' ') & 63;
}

void DecodeLine(std::string_view line, std::string& out) {
  if (line.empty() || !IsDataCharacter(line[0])) return;
  const std::uint32_t stated = Value(line, 0);
  std::uint32_t left = stated;
  for (std::size_t at = 1; left > 0; at += 4) {
    const std::uint32_t group = Value(line, at) << 18 | Value(line, at + 1) << 12 |
                                Value(line, at + 2) << 6 | Value(line, at + 3);
    for (unsigned shift = 16; left > 0; shift -= 8) {
      out += static_cast<char>(group >> shift);
      --left;
      if (shift == 0) break;
    }
  }
}

}  // namespace

void UuDecoder::TakeLine(std::string_view line, std::string& out) {
  if (_ended) return;
  if (_begun) {
    if (line == "end") {
      _ended = true;
    } else {
      DecodeLine(line, out);
    }
    return;
  }
  if (ReadBeginLine(line, &_fileName)) {
    _begun = true;
    _beforeBegin = {};
  } else {
    _beforeBegin.append(line).append(1, '\n');
  }
}

void UuDecoder::Append(std::string_view encoded, std::string& out) {
  while (!encoded.empty()) {
    const std::size_t end = encoded.find('\n');
    const std::string_view piece = encoded.substr(0, end);
    if (end == encoded.npos) {
      _line += piece;
      return;
    }
    encoded.remove_prefix(end + 1);
    std::string_view line = piece;
    if (!_line.empty()) {
      _line += piece;
      line = _line;
    }
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    TakeLine(line, out);
    _line.clear();
  }
}

void UuDecoder::Finish(std::string& out) {
  if (!_line.empty()) {
    if (_line.back() == '\r') _line.pop_back();
    TakeLine(_line, out);
  }
  if (!_begun) {
    // Data lines alone, as when the mailer kept "begin" in the header.
    std::string_view rest = _beforeBegin;
    while (!rest.empty()) {
      const std::size_t end = rest.find('\n');
      const std::string_view line = rest.substr(0, end);
      if (line == "end") break;
      DecodeLine(line, out);
      rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    }
  }
  _line.clear();
  _beforeBegin.clear();
  _begun = false;
  _ended = false;
}

std::string DecodeUu(std::string_view encoded) {
  std::string out;
  out.reserve(encoded.size() / 4 * 3);
  UuDecoder decoder;
  decoder.Append(encoded, out);
  decoder.Finish(out);
  return out;
}

}  // namespace Tessary
