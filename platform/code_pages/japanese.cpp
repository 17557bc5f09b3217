#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/code_pages/base_pages.h"
#include "platform/code_pages/composed.h"
#include "platform/code_pages/runs.h"
#include "platform/simd/ascii.h"

namespace parvane::platform {
namespace {

std::size_t DecodeKorean(std::string_view bytes, std::u16string& out) {
  return DecodeBase(BasePage::kKorean, bytes, out);
}
std::size_t DecodeChinese(std::string_view bytes, std::u16string& out) {
  return DecodeBase(BasePage::kChinese, bytes, out);
}

constexpr bool IsGraphic(char c) { return c >= 0x21 && c <= 0x7E; }
constexpr char HighBit(char c) { return static_cast<char>(c | '\x80'); }

constexpr unsigned kFirstCell = 0x21;
constexpr unsigned kCells = 94;

// The characters of JIS X 0208 with Windows' additions, by row and cell; U+FFFD where there is
// none.
const std::array<char16_t, kCells * kCells>& JisTable() {
  static const auto kTable = [] {
    std::array<char16_t, kCells * kCells> table{};
    std::string bytes;
    std::u16string characters;
    const auto decode = [&](std::string_view part) {
      characters.clear();
      DecodeBase(BasePage::kShiftJis, part, characters);
      return characters.size();
    };
    for (unsigned row = 0; row < kCells; ++row) {
      bytes.clear();
      for (unsigned cell = 0; cell < kCells; ++cell) {
        // Shift-JIS puts two rows under each lead byte and leaves out 0x7F.
        const unsigned lead = row / 2 + (row < 62 ? 0x81 : 0xC1);
        const unsigned trail =
            row % 2 == 1 ? cell + 0x9F : cell + kFirstCell + (cell < 63 ? 0x1F : 0x20);
        bytes += static_cast<char>(lead);
        bytes += static_cast<char>(trail);
      }
      // A row at a time, unless something in it is not one character.
      char16_t* out = table.data() + row * kCells;
      if (decode(bytes) == kCells) {
        std::copy(characters.begin(), characters.end(), out);
        continue;
      }
      for (std::size_t cell = 0; cell < kCells; ++cell) {
        const bool single = decode(std::string_view(bytes).substr(2 * cell, 2)) == 1;
        out[cell] = single ? characters[0] : u'\uFFFD';
      }
    }
    return table;
  }();
  return kTable;
}

// The pair of a character, both bytes 0x21 to 0x7E; 0 when the set lacks it. Of two places for one
// character the first, which is the standard's own, counts.
unsigned JisPairOf(char16_t unit) {
  static const auto kPairs = [] {
    std::vector<std::uint16_t> pairs(0x10000);
    for (unsigned i = kCells * kCells; i-- > 0;) {
      pairs[JisTable()[i]] =
          static_cast<std::uint16_t>((i / kCells + kFirstCell) << 8 | (i % kCells + kFirstCell));
    }
    pairs[0xFFFD] = 0;
    return pairs;
  }();
  return kPairs[unit];
}

constexpr bool IsKatakana(char16_t unit) { return unit >= 0xFF61 && unit <= 0xFF9F; }

// A pair of bytes 0x21 to 0x7E.
void AddJisPair(char first, char second, RunDecoder& out) {
  const unsigned row = static_cast<unsigned char>(first) - kFirstCell;
  const unsigned cell = static_cast<unsigned char>(second) - kFirstCell;
  const char16_t character = JisTable()[row * kCells + cell];
  if (character == 0xFFFD) {
    out.Invalid();
  } else {
    out.Character(character);
  }
}

// One of the half-width katakana, 0x21 to 0x5F without the eighth bit.
void AddKatakana(char c, RunDecoder& out) {
  out.Character(static_cast<char16_t>(0xFF61 + (static_cast<unsigned char>(c) & 0x7F) - 0x21));
}

enum class Set { kAscii, kKatakana, kJis0208, kJis0212, kGb2312, kKsc5601 };

struct Escape {
  std::string_view sequence;  // without ESC
  Set set;
};
// Longer sequences first, where one begins with another.
constexpr Escape kEscapes[] = {
    {"$(D", Set::kJis0212},
    {"$(C", Set::kKsc5601},
    {"$(A", Set::kGb2312},
    {"$(B", Set::kJis0208},
    {"$(@", Set::kJis0208},
    {"$B", Set::kJis0208},
    {"$@", Set::kJis0208},
    {"$A", Set::kGb2312},
    {"(B", Set::kAscii},
    {"(J", Set::kAscii},
    {"(H", Set::kAscii},
    {"(I", Set::kKatakana},
    // Announces that JIS X 0208 of 1990 follows.
    {"&@", Set::kAscii},
};

// The state of reading ISO-2022-JP.
class Iso2022JpReader {
 public:
  explicit Iso2022JpReader(std::u16string& out) : _out(out) {}

  std::size_t Read(std::string_view bytes) {
    while (!bytes.empty()) bytes.remove_prefix(Step(bytes));
    return _out.Finish();
  }

 private:
  // Reads what `bytes` begin with and returns how many bytes that is.
  std::size_t Step(std::string_view bytes) {
    const char c = bytes[0];
    if (c == '\x1B') return TakeEscape(bytes.substr(1));
    if (c == '\x0E' || c == '\x0F') {
      _shifted = c == '\x0E';
      return 1;
    }
    if (c >= '\xA1' && c <= '\xDF') {
      AddKatakana(c, _out);
      return 1;
    }
    if (static_cast<unsigned char>(c) >= 0x80) {
      _out.Invalid();
      return 1;
    }
    if (!IsGraphic(c)) {
      _out.Ascii(bytes.substr(0, 1));
      return 1;
    }
    if (_shifted || _set == Set::kKatakana) {
      if (c <= 0x5F) {
        AddKatakana(c, _out);
      } else {
        _out.Invalid();
      }
      return 1;
    }
    if (_set == Set::kAscii) {
      std::size_t run = 1;
      while (run < bytes.size() && static_cast<unsigned char>(bytes[run]) < 0x80 &&
             bytes[run] != '\x1B' && bytes[run] != '\x0E' && bytes[run] != '\x0F') {
        ++run;
      }
      _out.Ascii(bytes.substr(0, run));
      return run;
    }
    if (bytes.size() < 2 || !IsGraphic(bytes[1])) {
      _out.Invalid();
      return 1;
    }
    AddPair(c, bytes[1]);
    return 2;
  }

  void AddPair(char first, char second) {
    const char high[] = {HighBit(first), HighBit(second)};
    switch (_set) {
      case Set::kJis0212:
        _out.Add(DecodeJis0212, {high, 2});
        break;
      case Set::kGb2312:
        _out.Add(DecodeChinese, {high, 2});
        break;
      case Set::kKsc5601:
        _out.Add(DecodeKorean, {high, 2});
        break;
      default:
        AddJisPair(first, second, _out);
        break;
    }
  }

  // `rest` follows an ESC. Returns the length including it.
  std::size_t TakeEscape(std::string_view rest) {
    for (const Escape& escape : kEscapes) {
      if (rest.substr(0, escape.sequence.size()) != escape.sequence) continue;
      if (escape.sequence != "&@") _set = escape.set;
      return 1 + escape.sequence.size();
    }
    // RFC 1554's second set: ISO 8859-1 or -7, one character at a time.
    if (rest.size() >= 2 && rest[0] == '.' && (rest[1] == 'A' || rest[1] == 'F')) {
      _greek = rest[1] == 'F';
      return 3;
    }
    if (rest.size() >= 2 && rest[0] == 'N' && (IsGraphic(rest[1]) || rest[1] == ' ')) {
      const char byte = HighBit(rest[1]);
      std::u16string one;
      DecodeBase(_greek ? BasePage::kGreek : BasePage::kLatin1, {&byte, 1}, one);
      _out.Character(one.empty() ? u'\uFFFD' : one[0]);
      return 3;
    }
    _out.Invalid();
    return 1;
  }

  RunDecoder _out;
  Set _set = Set::kAscii;
  bool _shifted = false;
  bool _greek = false;
};

// The state of writing it.
class Iso2022JpWriter {
 public:
  explicit Iso2022JpWriter(std::string& out) : _out(out) {}

  // Writes a character; false, with ASCII selected for a replacement, when no set has it.
  bool Write(std::u16string_view one) {
    const char16_t unit = AsWindowsJapanese(one[0]);
    std::string pair;
    if (unit < 0x80) {
      Select(Set::kAscii);
      _out += static_cast<char>(unit);
    } else if (IsKatakana(unit)) {
      Select(Set::kKatakana);
      _out += static_cast<char>(unit - 0xFF61 + 0x21);
    } else if (const unsigned jis = JisPairOf(unit); jis != 0) {
      Select(Set::kJis0208);
      _out += {static_cast<char>(jis >> 8), static_cast<char>(jis)};
    } else if (EncodeJis0212(one, pair)) {
      AddPair(Set::kJis0212, pair);
    } else if (EncodeBase(BasePage::kKorean, one, pair) == 0 && IsHighPair(pair)) {
      AddPair(Set::kKsc5601, pair);
    } else if (pair.clear(), EncodeBase(BasePage::kChinese, one, pair) == 0 && IsHighPair(pair)) {
      AddPair(Set::kGb2312, pair);
    } else {
      Select(Set::kAscii);
      return false;
    }
    return true;
  }

  void Finish() { Select(Set::kAscii); }

 private:
  static bool IsHighPair(std::string_view pair) {
    return pair.size() == 2 && static_cast<unsigned char>(pair[0]) > 0xA0 &&
           static_cast<unsigned char>(pair[1]) > 0xA0;
  }

  void AddPair(Set set, std::string_view pair) {
    Select(set);
    for (const char c : pair) _out += static_cast<char>(c & 0x7F);
  }

  void Select(Set set) {
    if (set == _set) return;
    _set = set;
    for (const Escape& escape : kEscapes) {
      if (escape.set != set || escape.sequence == "$(B" || escape.sequence == "$(@") continue;
      _out += '\x1B';
      _out += escape.sequence;
      return;
    }
  }

  std::string& _out;
  Set _set = Set::kAscii;
};

}  // namespace

std::size_t EucJpDecode(std::string_view bytes, std::u16string& out) {
  RunDecoder runs(out);
  const auto isHigh = [&bytes](std::size_t i) -> bool {
    if (i >= bytes.size()) return false;
    const auto byte = static_cast<unsigned char>(bytes[i]);
    return byte >= 0xA1 && byte <= 0xFE;
  };
  while (!bytes.empty()) {
    std::size_t taken = 1;
    if (static_cast<unsigned char>(bytes[0]) < 0x80) {
      taken = simd::AsciiPrefix(bytes.data(), bytes.size());
      runs.Ascii(bytes.substr(0, taken));
    } else if (bytes[0] == '\x8E' && isHigh(1) && bytes[1] <= '\xDF') {
      AddKatakana(bytes[1], runs);
      taken = 2;
    } else if (bytes[0] == '\x8F' && isHigh(1) && isHigh(2)) {
      runs.Add(DecodeJis0212, bytes.substr(1, 2));
      taken = 3;
    } else if (isHigh(0) && isHigh(1)) {
      AddJisPair(static_cast<char>(bytes[0] & 0x7F), static_cast<char>(bytes[1] & 0x7F), runs);
      taken = 2;
    } else {
      runs.Invalid();
    }
    bytes.remove_prefix(taken);
  }
  return runs.Finish();
}

std::size_t EucJpEncode(std::u16string_view text, std::string& out) {
  return EncodeEach(text, out, [](std::u16string_view one, std::string& to) {
    const char16_t unit = AsWindowsJapanese(one[0]);
    if (unit < 0x80) {
      to += static_cast<char>(unit);
    } else if (IsKatakana(unit)) {
      to += {'\x8E', static_cast<char>(unit - 0xFF61 + 0xA1)};
    } else if (const unsigned pair = JisPairOf(unit); pair != 0) {
      to += {HighBit(static_cast<char>(pair >> 8)), HighBit(static_cast<char>(pair))};
    } else {
      std::string supplement;
      if (!EncodeJis0212(one, supplement)) return false;
      to += '\x8F' + supplement;
    }
    return true;
  });
}

std::size_t Iso2022JpDecode(std::string_view bytes, std::u16string& out) {
  return Iso2022JpReader(out).Read(bytes);
}

std::size_t Iso2022JpEncode(std::u16string_view text, std::string& out) {
  Iso2022JpWriter writer(out);
  const std::size_t replaced = EncodeEach(
      text, out, [&writer](std::u16string_view one, std::string&) { return writer.Write(one); });
  writer.Finish();
  return replaced;
}

}  // namespace parvane::platform
