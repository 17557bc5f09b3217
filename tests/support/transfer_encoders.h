// base64 and quoted-printable by RFC 2045, for messages that tests and benchmarks make up; and what
// a decoder makes of text that comes in pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::test {

// Lines of so many characters, each ended by CR LF; 0: one line without an end.
inline std::string EncodeBase64(std::string_view bytes, std::size_t lineLength = 76) {
  static constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    unsigned bits = 0;
    for (std::size_t at = 0; at < 3; ++at) {
      bits = bits << 8 | (at < group.size() ? static_cast<unsigned char>(group[at]) : 0U);
    }
    for (std::size_t at = 0; at < 4; ++at) {
      text += at > group.size() ? '=' : kAlphabet[bits >> (18 - 6 * at) & 63];
    }
  }
  if (lineLength == 0) return text;
  std::string lines;
  for (std::size_t at = 0; at < text.size(); at += lineLength) {
    lines.append(text, at, lineLength).append("\r\n");
  }
  return lines;
}

// Lines of at most 76 characters; line ends (CR LF or LF) come out as CR LF.
inline std::string EncodeQuotedPrintable(std::string_view bytes) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string out;
  std::size_t column = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto endsLine = [&](std::size_t at) {
      return at >= bytes.size() || bytes[at] == '\n' || bytes.substr(at, 2) == "\r\n";
    };
    if (endsLine(i)) {
      if (bytes[i] == '\r') ++i;
      out += "\r\n";
      column = 0;
      continue;
    }
    const char c = bytes[i];
    const bool last = endsLine(i + 1);
    const bool plain = (c > ' ' && c <= '~' && c != '=') || ((c == ' ' || c == '\t') && !last);
    const auto byte = static_cast<unsigned char>(c);
    const std::string piece =
        plain ? std::string(1, c) : std::string("=") + kHex[byte >> 4] + kHex[byte & 15];
    // A line that goes on needs room for its "=".
    if (column + piece.size() > (last ? 76 : 75)) {
      out += "=\r\n";
      column = 0;
    }
    out += piece;
    column += piece.size();
  }
  return out;
}

// Feeds `input` in pieces of `size`.
template <typename Decoder>
std::string InPieces(std::string_view input, std::size_t size) {
  Decoder decoder;
  std::string out;
  for (std::size_t at = 0; at < input.size(); at += size) {
    decoder.Append(input.substr(at, size), out);
  }
  decoder.Finish(out);
  return out;
}

}  // namespace parvane::test
