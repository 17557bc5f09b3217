// Encoded words in headers and file names (RFC 2047), as lenient as mail demands.
//
//   word := "=?" charset "?" letter "?" text "?="      letter B or b: base64; any other: Q
//
// Two things differ from the RFC on purpose, because what this program's output is compared with
// does so: white space between adjacent words is kept, and in file names a word that is cut off
// ends the text before it (nothing after its "=?" survives).
#pragma once

#include <string>
#include <string_view>

namespace Tessary {

class ContentCoding {
 public:
  // Decodes the words of a whole header value or file name; bytes in, bytes out. Words of a known
  // charset come out as UTF-8; those in UTF-8 or an unknown charset, and what stands between
  // words, are copied as they are, so the result is UTF-8 only if those are. A charset of "8bit"
  // is read as UTF-8.
  static std::string DecodeEncodedWords(std::string_view text);

  // The same for text that is to be shown: always UTF-8. Raw 8-bit text, unknown charsets and
  // broken UTF-8 go through the ladder of text_decoding.h with the charset of the message (may be
  // empty), and a character that a mailer split between two adjacent words is put together. A word
  // that is cut off, malformed or holds nothing that decodes is shown as it stands.
  static std::string DecodeHeader(std::string_view text, std::string_view messageCharset = {});

  // True when the text holds "?Q?", "?B?", "?q?" or "?b?".
  static bool HasEncodedWords(std::string_view text);

  // A file name from a header parameter: DecodeHeader, but that with "?Q?" or "?B?" in it a word
  // that is cut off ends the name; then, when it still holds ESC "$" "B" or ESC "(" "B", read as
  // ISO-2022-JP.
  static std::string DecodeFileName(std::string_view name, std::string_view messageCharset = {});

  // The Q decoding of one word's text. "_" is a space; an "=" without two hexadecimal digits
  // stays; control bytes and raw bytes from 127 to 159 are dropped.
  static std::string DecodeQ(std::string_view text);

  // A value of an RFC 2231 extended parameter: charset'language'percent-encoded, as UTF-8. Without
  // the quotes all of it is percent-encoded text.
  static std::string DecodeExtendedParameter(std::string_view value,
                                             std::string_view messageCharset = {});
  // "%41" to "A"; a "%" without two hexadecimal digits stays.
  static std::string DecodePercent(std::string_view text);
};

}  // namespace Tessary
