// Tools of the converters that put code pages together from others.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

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
