#include <array>

#include "platform/posix/icu_converter.h"
#include "platform/posix/multi_byte.h"
#include "platform/simd/ascii.h"

namespace parvane::platform {
namespace {

constexpr const char* kIcuShiftJis = "ibm-943_P15A-2003";
constexpr const char* kIcuEucJp = "euc-jp-2007";
constexpr const char* kIcuIso2022Jp = "ISO_2022,locale=ja,version=3";

// ICU's Shift-JIS moves three control characters about, as IBM's PC pages did.
char16_t RestoredControl(char16_t unit) {
  switch (unit) {
    case 0x1A:
      return 0x7F;
    case 0x1C:
      return 0x1A;
    case 0x7F:
      return 0x1C;
    default:
      return unit;
  }
}

// Six characters that JIS and Windows map differently; ICU's tables are Windows', so that text
// made elsewhere needs their characters.
struct Difference {
  char16_t jis;
  char16_t windows;
};
constexpr Difference kDifferences[] = {{0x301C, 0xFF5E}, {0x2016, 0x2225}, {0x2212, 0xFF0D},
                                       {0x00A2, 0xFFE0}, {0x00A3, 0xFFE1}, {0x00AC, 0xFFE2}};

std::u16string AsWindows(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& unit : out) {
    for (const Difference& difference : kDifferences) {
      if (unit == difference.jis) unit = difference.windows;
    }
  }
  return out;
}

std::size_t DecodeEucThroughIcu(std::string_view bytes, std::u16string& out) {
  return IcuDecode(kIcuEucJp, bytes, out);
}
std::size_t DecodeKorean(std::string_view bytes, std::u16string& out) {
  return IcuDecode("windows-949-2000", bytes, out);
}
std::size_t DecodeChinese(std::string_view bytes, std::u16string& out) {
  return IcuDecode("gb18030", bytes, out);
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
    for (unsigned row = 0; row < kCells; ++row) {
      for (unsigned cell = 0; cell < kCells; ++cell) {
        // Shift-JIS puts two rows under each lead byte and leaves out 0x7F.
        const unsigned lead = row / 2 + (row < 62 ? 0x81 : 0xC1);
        const unsigned trail =
            row % 2 == 1 ? cell + 0x9F : cell + kFirstCell + (cell < 63 ? 0x1F : 0x20);
        const char bytes[] = {static_cast<char>(lead), static_cast<char>(trail)};
        std::u16string character;
        ShiftJisDecode({bytes, 2}, character);
        table[row * kCells + cell] = character.size() == 1 ? character[0] : u'\uFFFD';
      }
    }
    return table;
  }();
  return kTable;
}

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
    const char high[] = {'\x8F', HighBit(first), HighBit(second)};
    switch (_set) {
      case Set::kJis0212:
        _out.Add(DecodeEucThroughIcu, {high, 3});
        break;
      case Set::kGb2312:
        _out.Add(DecodeChinese, {high + 1, 2});
        break;
      case Set::kKsc5601:
        _out.Add(DecodeKorean, {high + 1, 2});
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
      IcuDecode(_greek ? "ibm-9005" : "ISO-8859-1", {&byte, 1}, one);
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

}  // namespace

std::size_t ShiftJisDecode(std::string_view bytes, std::u16string& out) {
  const std::size_t base = out.size();
  const std::size_t invalid = IcuDecode(kIcuShiftJis, bytes, out);
  for (std::size_t i = base; i < out.size(); ++i) {
    if (out[i] < 0x80) out[i] = RestoredControl(out[i]);
  }
  return invalid;
}

std::size_t ShiftJisEncode(std::u16string_view text, std::string& out) {
  std::u16string windows = AsWindows(text);
  for (char16_t& unit : windows) {
    // Twice round the circle of three is once back.
    if (unit < 0x80) unit = RestoredControl(RestoredControl(unit));
  }
  return IcuEncode(kIcuShiftJis, windows, out);
}

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
      runs.Add(DecodeEucThroughIcu, bytes.substr(0, 3));
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
  return IcuEncode(kIcuEucJp, AsWindows(text), out);
}

std::size_t Iso2022JpDecode(std::string_view bytes, std::u16string& out) {
  return Iso2022JpReader(out).Read(bytes);
}

std::size_t Iso2022JpEncode(std::u16string_view text, std::string& out) {
  return IcuEncode(kIcuIso2022Jp, AsWindows(text), out);
}

}  // namespace parvane::platform
