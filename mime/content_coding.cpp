#include "mime/content_coding.h"

#include <optional>

#include "mime/charset_naming.h"
#include "mime/text_decoding.h"
#include "mime/transfer_encoding.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace Tessary {

namespace platform = parvane::platform;

namespace {

constexpr unsigned kIso2022Jp = 50222;
constexpr unsigned kUsAscii = 20127;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The byte that the two characters behind text[at] state, or -1.
int HexByte(std::string_view text, std::size_t at) {
  if (text.size() - at < 3) return -1;
  const int high = HexDigit(text[at + 1]);
  const int low = HexDigit(text[at + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

struct Piece {
  enum class Kind { kLiteral, kWord, kEnd } kind;
  std::string_view literal;  // of a word: as it stands
  std::string_view charset;
  bool base64;
  std::string_view text;
};

// What becomes of a word that is malformed or cut off.
enum class BrokenWord { kEndsText, kIsText };

// Cuts a header value into literal text and encoded words.
class WordScanner {
 public:
  WordScanner(std::string_view text, BrokenWord broken) : _rest(text), _broken(broken) {}

  Piece Next() {
    if (_rest.empty()) return {Piece::Kind::kEnd, {}, {}, false, {}};
    std::size_t start = _rest.find("=?");
    if (start == 0) {
      Piece word = {Piece::Kind::kWord, {}, {}, false, {}};
      if (TakeWord(&word)) return word;
      if (_broken == BrokenWord::kEndsText) {
        _rest = {};
        return {Piece::Kind::kEnd, {}, {}, false, {}};
      }
      start = _rest.find("=?", 1);
    }
    const std::string_view literal = _rest.substr(0, start);
    _rest.remove_prefix(literal.size());
    return {Piece::Kind::kLiteral, literal, {}, false, {}};
  }

 private:
  // Takes the word that _rest begins with; false when it is malformed.
  bool TakeWord(Piece* word) {
    const std::size_t mark = _rest.find('?', 2);
    if (mark == _rest.npos || _rest.size() - mark < 4) return false;
    const char letter = _rest[mark + 1];
    if (letter == '?' || _rest[mark + 2] != '?') return false;
    const std::size_t begin = mark + 3;
    // No word ends where none before it did: asked again for each, the search would not be linear.
    const std::size_t end = _endless ? _rest.npos : _rest.find("?=", begin);
    _endless = end == _rest.npos;
    if (_endless) return false;
    word->literal = _rest.substr(0, end + 2);
    word->charset = _rest.substr(2, mark - 2);
    word->base64 = letter == 'B' || letter == 'b';
    word->text = _rest.substr(begin, end - begin);
    _rest.remove_prefix(end + 2);
    return true;
  }

  std::string_view _rest;
  BrokenWord _broken;
  bool _endless = false;  // no "?=" follows
};

std::string WordBytes(const Piece& word) {
  return word.base64 ? DecodeBase64(word.text) : ContentCoding::DecodeQ(word.text);
}

// 65001 for UTF-8 and for "8bit", which some mailers wrote for it; 0 for an unknown charset, and
// for ASCII, whose 8-bit bytes are of an unknown one.
unsigned WordPage(const Piece& word) {
  if (platform::EqualsIgnoreAsciiCase(word.charset, "8bit")) return platform::kCodePageUtf8;
  const unsigned page = CharsetNaming::CodePageOfName(word.charset).value_or(0);
  return page == kUsAscii ? 0 : page;
}

bool IsBlank(std::string_view text) {
  for (const char c : text) {
    if (!platform::IsAsciiWhiteSpace(c)) return false;
  }
  return true;
}

// Builds shown text, in UTF-8, from the pieces of `text`. The last word is held back, because the
// next one may bring the rest of a character that the mailer cut in two.
class HeaderText {
 public:
  HeaderText(std::string_view text, std::string_view messageCharset)
      : _messageCharset(messageCharset), _size(text.size()) {}

  void AddLiteral(std::string_view literal) {
    if (_held && _between.empty() && IsBlank(literal)) {
      _between = literal;
      return;
    }
    Flush();
    Append(DecodeTextToUtf8(literal, {}, _messageCharset));
  }

  void AddWord(const Piece& word, BrokenWord broken) {
    std::string bytes = WordBytes(word);
    const bool undecodable = bytes.empty() && word.text.find_first_not_of('=') != word.text.npos;
    if (undecodable && broken == BrokenWord::kIsText) return AddLiteral(word.literal);
    const unsigned page = WordPage(word);
    if (_held && _held->page == page) bytes.erase(0, CompleteHeld(bytes));
    Flush();
    if (!bytes.empty()) _held = {page, std::move(bytes)};
  }

  std::string Finish() {
    Flush();
    return std::move(_shown);
  }

 private:
  struct Word {
    unsigned page;
    std::string bytes;
  };

  // Moves the bytes that complete the held word's last character over to it; how many those are.
  std::size_t CompleteHeld(std::string_view next) {
    if (_held->page == 0 || (_held->bytes.back() & 0x80) == 0) return 0;
    std::u16string scratch;
    const std::size_t broken = platform::DecodeCodePage(_held->page, _held->bytes, scratch);
    if (broken == 0) return 0;
    std::string joined = _held->bytes;
    for (std::size_t count = 1; count <= 3 && count <= next.size(); ++count) {
      joined += next[count - 1];
      scratch.clear();
      if (platform::DecodeCodePage(_held->page, joined, scratch) < broken) {
        _held->bytes = std::move(joined);
        return count;
      }
    }
    return 0;
  }

  void Flush() {
    if (_held) {
      if (_held->page == 0 || _held->page == platform::kCodePageUtf8) {
        Append(DecodeTextToUtf8(_held->bytes, _held->page == 0 ? "" : "utf-8", _messageCharset));
      } else {
        _wide.clear();
        platform::DecodeCodePage(_held->page, _held->bytes, _wide);
        Append(platform::Utf16ToUtf8(_wide));
      }
      _held.reset();
    }
    Append(_between);
    _between = {};
  }

  void Append(std::string_view utf8) {
    if (_shown.empty()) _shown.reserve(_size);
    _shown += utf8;
  }

  std::string_view _messageCharset;
  std::size_t _size;
  std::string _shown;    // a header may fill a large message, and in UTF-16 takes twice its size
  std::u16string _wide;  // one word
  std::optional<Word> _held;
  std::string_view _between;
};

std::string ShowWords(std::string_view text, std::string_view charset, BrokenWord broken) {
  HeaderText header(text, charset);
  WordScanner scanner(text, broken);
  for (Piece piece = scanner.Next(); piece.kind != Piece::Kind::kEnd; piece = scanner.Next()) {
    if (piece.kind == Piece::Kind::kLiteral) {
      header.AddLiteral(piece.literal);
    } else {
      header.AddWord(piece, broken);
    }
  }
  return header.Finish();
}

}  // namespace

std::string ContentCoding::DecodeEncodedWords(std::string_view text) {
  std::string out;
  WordScanner scanner(text, BrokenWord::kEndsText);
  for (Piece piece = scanner.Next(); piece.kind != Piece::Kind::kEnd; piece = scanner.Next()) {
    if (piece.kind == Piece::Kind::kLiteral) {
      out += piece.literal;
      continue;
    }
    const std::string bytes = WordBytes(piece);
    const unsigned page = WordPage(piece);
    if (page == 0 || page == platform::kCodePageUtf8) {
      out += bytes;
    } else {
      std::u16string decoded;
      platform::DecodeCodePage(page, bytes, decoded);
      platform::AppendUtf16AsUtf8(decoded, out);
    }
  }
  return out;
}

std::string ContentCoding::DecodeHeader(std::string_view text, std::string_view messageCharset) {
  if (!HasEncodedWords(text)) return DecodeTextToUtf8(text, {}, messageCharset);
  return ShowWords(text, messageCharset, BrokenWord::kIsText);
}

bool ContentCoding::HasEncodedWords(std::string_view text) {
  for (std::size_t at = text.find('?'); at != text.npos; at = text.find('?', at + 1)) {
    if (text.size() - at < 3) return false;
    if (text[at + 2] != '?') continue;
    const char letter = platform::AsciiToLower(text[at + 1]);
    if (letter == 'q' || letter == 'b') return true;
  }
  return false;
}

std::string ContentCoding::DecodeFileName(std::string_view name, std::string_view messageCharset) {
  const bool marked = name.find("?Q?") != name.npos || name.find("?B?") != name.npos;
  std::string decoded = marked ? ShowWords(name, messageCharset, BrokenWord::kEndsText)
                               : DecodeHeader(name, messageCharset);
  if (decoded.find("\x1B$B") == decoded.npos && decoded.find("\x1B(B") == decoded.npos) {
    return decoded;
  }
  std::u16string text;
  platform::DecodeCodePage(kIso2022Jp, decoded, text);
  return platform::Utf16ToUtf8(text);
}

std::string ContentCoding::DecodeQ(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '_') {
      out += ' ';
    } else if (c == '=') {
      const int byte = HexByte(text, i);
      out += byte < 0 ? '=' : static_cast<char>(byte);
      if (byte >= 0) i += 2;
    } else if ((c >= 32 && c <= 126) || c >= 160) {
      out += text[i];
    }
  }
  return out;
}

std::string ContentCoding::DecodePercent(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int byte = text[i] == '%' ? HexByte(text, i) : -1;
    out += byte < 0 ? text[i] : static_cast<char>(byte);
    if (byte >= 0) i += 2;
  }
  return out;
}

std::string ContentCoding::DecodeExtendedParameter(std::string_view value,
                                                   std::string_view messageCharset) {
  std::string_view charset;
  const std::size_t first = value.find('\'');
  const std::size_t second = first == value.npos ? first : value.find('\'', first + 1);
  if (second != value.npos) {
    charset = value.substr(0, first);
    value.remove_prefix(second + 1);
  }
  return DecodeTextToUtf8(DecodePercent(value), charset, messageCharset);
}

}  // namespace Tessary
