#include <algorithm>

#include "platform/code_pages/base_pages.h"
#include "platform/code_pages/posix/icu_converter.h"
#include "platform/code_pages/posix/multi_byte.h"

namespace parvane::platform {
namespace {

constexpr const char* kBig5 = "windows-950-2000";
constexpr const char* kBig5Extended = "ibm-1375_P100-2008";

constexpr bool IsPrivate(char16_t unit) { return unit >= 0xE000 && unit <= 0xF8FF; }

std::size_t DecodeKorean(std::string_view bytes, std::u16string& out) {
  return IcuDecode("windows-949-2000", bytes, out);
}
std::size_t DecodeGb(std::string_view bytes, std::u16string& out) {
  return IcuDecode("gb18030", bytes, out);
}
std::size_t DecodeEucTw(std::string_view bytes, std::u16string& out) {
  return IcuDecode("euc-tw-2014", bytes, out);
}
std::size_t DecodeShiftJis(std::string_view bytes, std::u16string& out) {
  return DecodeBase(BasePage::kShiftJis, bytes, out);
}
std::size_t EncodeShiftJis(std::u16string_view text, std::string& out) {
  return EncodeBase(BasePage::kShiftJis, text, out);
}
std::size_t EncodeBig5(std::u16string_view text, std::string& out) {
  return IcuEncode(kBig5, text, out);
}
std::size_t EncodeKorean(std::u16string_view text, std::string& out) {
  return IcuEncode("windows-949-2000", text, out);
}
std::size_t EncodeGb(std::u16string_view text, std::string& out) {
  return IcuEncode("gb18030", text, out);
}

// A Macintosh page: single bytes of its own (pairs of byte and character), lead bytes, and the page
// that its other bytes are.
struct MacPage {
  unsigned codePage;
  std::u16string_view singles;
  unsigned char firstLead;
  unsigned char lastLead;
  unsigned char firstTrail;
  std::size_t (*decode)(std::string_view, std::u16string&);
  std::size_t (*encode)(std::u16string_view, std::string&);
};
constexpr MacPage kMacPages[] = {
    {10001, u"\200\\\u00A0\u00A0\u00FD\u00A9\u00FE\u2122\u00FF\u2026", 0x81, 0xFC, 0x40,
     DecodeShiftJis, EncodeShiftJis},
    {10002, u"\200\\\u00A0\u00A0\u00FD\u00A9\u00FE\u2122\u00FF\u2026", 0x81, 0xFC, 0x40, Big5Decode,
     EncodeBig5},
    {10003, u"\200\u00A0\201\u20A9\202\u2014\203\u00A9\204\\\u00FE\u2122\u00FF\u2026", 0xA1, 0xFD,
     0xA1, DecodeKorean, EncodeKorean},
    {10008, u"\200\u00FC\u00A0\u00A0\u00FD\u00A9\u00FE\u2122\u00FF\u2026", 0xA1, 0xFC, 0xA1,
     DecodeGb, EncodeGb},
};

const MacPage& PageOf(unsigned codePage) {
  for (const MacPage& page : kMacPages) {
    if (page.codePage == codePage) return page;
  }
  return kMacPages[0];
}

char16_t SingleOf(const MacPage& page, unsigned char byte) {
  for (std::size_t i = 0; i < page.singles.size(); i += 2) {
    if (page.singles[i] == byte) return page.singles[i + 1];
  }
  return 0;
}

bool IsLead(const MacPage& page, unsigned char byte) {
  // Between Shift-JIS's two ranges of lead bytes lie its single katakana.
  if (page.codePage == 10001 && byte >= 0xA1 && byte <= 0xDF) return false;
  return byte >= page.firstLead && byte <= page.lastLead;
}

}  // namespace

std::size_t MacEastAsianDecode(unsigned codePage, std::string_view bytes, std::u16string& out) {
  const MacPage& page = PageOf(codePage);
  RunDecoder runs(out);
  while (!bytes.empty()) {
    const auto byte = static_cast<unsigned char>(bytes[0]);
    std::size_t taken = 1;
    if (const char16_t single = SingleOf(page, byte); single != 0) {
      runs.Character(single);
    } else if (IsLead(page, byte)) {
      const bool whole =
          bytes.size() > 1 && static_cast<unsigned char>(bytes[1]) >= page.firstTrail;
      if (whole) {
        runs.Add(page.decode, bytes.substr(0, 2));
        taken = 2;
      } else {
        runs.Invalid();
      }
    } else if (byte < 0x80 || page.codePage == 10001) {
      runs.Add(page.decode, bytes.substr(0, 1));
    } else {
      runs.Invalid();
    }
    bytes.remove_prefix(taken);
  }
  return runs.Finish();
}

std::size_t MacEastAsianEncode(unsigned codePage, std::u16string_view text, std::string& out) {
  const MacPage& page = PageOf(codePage);
  return EncodeEach(text, out, [&page](std::u16string_view one, std::string& to) {
    for (std::size_t i = 0; i < page.singles.size(); i += 2) {
      if (one[0] < 0x80 || page.singles[i + 1] != one[0]) continue;
      to += static_cast<char>(page.singles[i]);
      return true;
    }
    std::string encoded;
    if (page.encode(one, encoded) != 0 || encoded.size() > 2) return false;
    to += encoded;
    return true;
  });
}

std::size_t Big5Decode(std::string_view bytes, std::u16string& out) {
  const std::size_t base = out.size();
  const std::size_t invalid = IcuDecode(kBig5, bytes, out);
  const auto first =
      std::find_if(out.begin() + static_cast<std::ptrdiff_t>(base), out.end(), IsPrivate);
  if (first == out.end()) return invalid;
  const auto kept = static_cast<std::size_t>(first - out.begin());
  const std::u16string rest(first, out.end());
  out.resize(kept);
  std::string code;
  std::u16string character;
  for (const char16_t unit : rest) {
    character.clear();
    if (IsPrivate(unit)) {
      code.clear();
      IcuEncode(kBig5, {&unit, 1}, code);
      IcuDecode(kBig5Extended, code, character);
    }
    if (character.empty() || character[0] == 0xFFFD) {
      out += unit;
    } else {
      out += character;
    }
  }
  return invalid;
}

std::size_t CnsDecode(std::string_view bytes, std::u16string& out) {
  RunDecoder runs(out);
  const auto isHigh = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0xA1 && byte <= 0xFE;
  };
  while (!bytes.empty()) {
    const bool pair = bytes.size() > 1 && isHigh(bytes[0]);
    if (static_cast<unsigned char>(bytes[0]) < 0x80) {
      runs.Add(DecodeEucTw, bytes.substr(0, 1));
      bytes.remove_prefix(1);
    } else if (pair && isHigh(bytes[1])) {
      runs.Add(DecodeEucTw, bytes.substr(0, 2));
      bytes.remove_prefix(2);
    } else if (pair && bytes[1] >= 0x21 && bytes[1] <= 0x7E) {
      const char second[] = {'\x8E', '\xA2', bytes[0], static_cast<char>(bytes[1] | '\x80')};
      runs.Add(DecodeEucTw, {second, 4});
      bytes.remove_prefix(2);
    } else {
      runs.Invalid();
      bytes.remove_prefix(1);
    }
  }
  return runs.Finish();
}

std::size_t CnsEncode(std::u16string_view text, std::string& out) {
  return EncodeEach(text, out, [](std::u16string_view one, std::string& to) {
    std::string encoded;
    if (IcuEncode("euc-tw-2014", one, encoded) != 0) return false;
    if (encoded.size() <= 2) {
      to += encoded;
      return true;
    }
    if (encoded.size() != 4 || encoded[1] != '\xA2') return false;
    to += encoded[2];
    to += static_cast<char>(encoded[3] & 0x7F);
    return true;
  });
}

}  // namespace parvane::platform
