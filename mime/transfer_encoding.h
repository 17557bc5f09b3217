// Content-Transfer-Encoding: decoding what is out there, and base64 for what is put together here.
//
// Decoders take their input in pieces of any size and give the same bytes for every way of cutting
// it. They never fail and lose no byte that was encoded: noise is skipped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Tessary {

// base64 (RFC 2045, 6.8). Characters outside the alphabet are skipped; missing padding is no loss:
// two or three characters left at the end or before "=" give one or two bytes. A single one holds
// no byte. Behind padding the data ends, so that the footer of a mailing list is not taken for
// more of it; but it goes on (concatenated parts) where the rest of the line, or the next line that
// is not blank, is whole groups of four and nothing else.
class Base64Decoder {
 public:
  void Append(std::string_view encoded, std::string& out);
  // The same to memory with room for RoomFor(encoded.size()) bytes; how many were written.
  std::size_t Decode(std::string_view encoded, char* out);
  static constexpr std::size_t RoomFor(std::size_t characters) {
    return (characters + 3) / 4 * 3 + 3 + kSlack;
  }
  // Gives what the last, unpadded characters hold and begins anew.
  void Finish(std::string& out);

 private:
  // So much of a line behind padding tells what the line is.
  static constexpr std::size_t kLongestHeld = 256;
  // What is written beyond the bytes that count, and what a held line gives.
  static constexpr std::size_t kSlack = 32 + kLongestHeld / 4 * 3;

  // These take from the front of `encoded` what they used.
  char* DecodeRun(std::string_view& encoded, char* to);
  char* HoldLine(std::string_view& encoded, char* to);
  char* DecodeHeldLine(char* to);
  // Writes what the characters of an unfinished group hold, 0 to 2 bytes; how many those are.
  std::size_t EndGroup(char* to);

  std::uint32_t _bits = 0;
  unsigned _count = 0;   // characters in _bits, 0..3
  bool _padded = false;  // behind padding: the line that follows decides
  bool _ended = false;
  std::string _line;  // that line, as far as it has come
};

// base64 in lines of 76 characters, each but the last ended by CR LF. The memory written to has
// room for RoomFor(the bytes handed in by this call).
class Base64Encoder {
 public:
  static constexpr std::size_t RoomFor(std::size_t bytes) {
    const std::size_t characters = (bytes + 2) / 3 * 4;
    return characters + 4 + (characters / kLine + 1) * 2;
  }
  // Both return how many characters were written; what is left of an unfinished group of three
  // bytes comes with the next.
  std::size_t Encode(std::string_view bytes, char* out);
  std::size_t Finish(char* out);

 private:
  static constexpr std::size_t kLine = 76;

  char* WriteGroup(std::size_t bytes, char* to);

  unsigned char _held[3] = {};
  std::size_t _count = 0;   // bytes in _held
  std::size_t _column = 0;  // characters on the line in hand
};

// quoted-printable (RFC 2045, 6.7). Hexadecimal digits of either case; white space before a line
// end is dropped, as is a soft line break ("=" before white space and a line end, or at the end of
// the data); "=" before anything else stays as it is. Line ends are kept as they are.
class QuotedPrintableDecoder {
 public:
  void Append(std::string_view encoded, std::string& out);
  void Finish(std::string& out);

 private:
  class Writer;

  // These take from the front of `encoded` what they used.
  void GoOnWithEscape(std::string_view& encoded, Writer& out);
  void TakeText(std::string_view& encoded, Writer& out);
  void BeginEscape(std::string_view& encoded, Writer& out);

  // What the next bytes decide about: a run of blanks, or "=" and behind it nothing, one
  // hexadecimal digit or blanks.
  std::string _held;
  bool _skipLineFeed = false;  // the CR before it ended a soft line break
};

// uuencode. Everything before a line "begin <mode> <name>" and after "end" is left out; without a
// "begin" line the data lines are taken as they stand. "`" and space are both zero.
class UuDecoder {
 public:
  void Append(std::string_view encoded, std::string& out);
  void Finish(std::string& out);
  // The name on the "begin" line, once read; empty when there is none.
  const std::string& fileName() const { return _fileName; }

 private:
  void TakeLine(std::string_view line, std::string& out);

  std::string _line;
  std::string _fileName;
  std::string _beforeBegin;
  bool _begun = false;
  bool _ended = false;
};

// Whole buffers at once.
std::string DecodeBase64(std::string_view encoded);
std::string DecodeQuotedPrintable(std::string_view encoded);
std::string DecodeUu(std::string_view encoded);

enum class TransferEncoding { kIdentity, kQuotedPrintable, kBase64, kUuencode };

// By header value: letter case, surrounding white space and quotes, a comment or parameter behind
// the name are ignored. "7bit", "8bit", "binary" and everything unknown are identity.
TransferEncoding TransferEncodingFromName(std::string_view name);

// The decoded body. Identity copies.
std::string DecodeBody(TransferEncoding encoding, std::string_view body);

// Takes bytes piece by piece.
class ByteSink {
 public:
  // False: no more is wanted.
  virtual bool Take(std::string_view bytes) = 0;

 protected:
  ~ByteSink() = default;
};
// Gives the same bytes away in pieces, without ever holding all of them.
void DecodeBodyTo(TransferEncoding encoding, std::string_view body, ByteSink& sink);

}  // namespace Tessary
