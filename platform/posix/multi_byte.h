// Code pages that no single converter of ICU reads as mail needs them: they are cut into runs that
// one does, or computed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

// Shift-JIS (932), the base of what follows.
std::size_t ShiftJisDecode(std::string_view bytes, std::u16string& out);
std::size_t ShiftJisEncode(std::u16string_view text, std::string& out);

// EUC-JP with the characters of Windows' Shift-JIS (51932).
std::size_t EucJpDecode(std::string_view bytes, std::u16string& out);
std::size_t EucJpEncode(std::u16string_view text, std::string& out);

// ISO-2022-JP as found in mail (50220 to 50222): JIS X 0201, 0208 (1978 and 1983), 0212, katakana
// by escape, shift or eighth bit, and the further sets of RFC 1554.
std::size_t Iso2022JpDecode(std::string_view bytes, std::u16string& out);
std::size_t Iso2022JpEncode(std::u16string_view text, std::string& out);

// Johab (1361): syllables computed from their letters, other characters by KS X 1001.
std::size_t JohabDecode(std::string_view bytes, std::u16string& out);
std::size_t JohabEncode(std::u16string_view text, std::string& out);

// The Macintosh's East Asian pages 10001, 10002, 10003 and 10008: another page's double bytes and
// a few single ones of their own.
std::size_t MacEastAsianDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t MacEastAsianEncode(unsigned codePage, std::u16string_view text, std::string& out);

// Big5 (950). What Windows leaves to private use is read as the Hong Kong set and, with it, the
// Eten system define it: kana, Cyrillic and characters that Taiwanese mail does use.
std::size_t Big5Decode(std::string_view bytes, std::u16string& out);

// CNS 11643 planes 1 and 2 in two bytes (20000).
std::size_t CnsDecode(std::string_view bytes, std::u16string& out);
std::size_t CnsEncode(std::u16string_view text, std::string& out);

// T.61 (20261) and ISO 6937 (20269): an accent comes before its letter.
std::size_t AccentedDecode(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t AccentedEncode(unsigned codePage, std::u16string_view text, std::string& out);

// ---- Tools of these converters -----------------------------------------------------------------

// Collects bytes of another page and converts them in runs.
class RunDecoder {
 public:
  using Decode = std::size_t (*)(std::string_view bytes, std::u16string& out);

  explicit RunDecoder(std::u16string& out) : _out(out) {}

  // The bytes join the run that `decode` reads.
  void Add(Decode decode, std::string_view bytes) {
    if (decode != _decode) Flush();
    _decode = decode;
    _run += bytes;
    if (_run.size() >= kLongestRun) Flush();
  }
  // ASCII, which is itself on every page.
  void Ascii(std::string_view bytes) {
    Flush();
    const std::size_t base = _out.size();
    _out.resize(base + bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      _out[base + i] = static_cast<unsigned char>(bytes[i]);
    }
  }
  void Character(char16_t unit) {
    Flush();
    _out += unit;
  }
  void Invalid() {
    Character(u'\uFFFD');
    ++_invalid;
  }
  // Ends the work; how many sequences were invalid.
  std::size_t Finish() {
    Flush();
    return _invalid;
  }

 private:
  static constexpr std::size_t kLongestRun = 4096;

  void Flush() {
    if (_run.empty()) return;
    _invalid += _decode(_run, _out);
    _run.clear();
  }

  std::u16string& _out;
  Decode _decode = nullptr;
  std::string _run;
  std::size_t _invalid = 0;
};

// Encodes text character by character with `encode(text of one character, out)`, which returns
// false for a character that the page lacks; how many those were.
template <typename Encode>
std::size_t EncodeEach(std::u16string_view text, std::string& out, Encode encode) {
  std::size_t replaced = 0;
  while (!text.empty()) {
    const bool pair =
        text.size() > 1 && (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
    const std::u16string_view one = text.substr(0, pair ? 2 : 1);
    if (!encode(one, out)) {
      out += '?';
      ++replaced;
    }
    text.remove_prefix(one.size());
  }
  return replaced;
}

}  // namespace parvane::platform
