// Johab packs a syllable into two bytes: a set bit, then five bits each for the initial, medial
// and final letter.
#include <algorithm>

#include "platform/code_pages/base_pages.h"
#include "platform/code_pages/composed.h"
#include "platform/code_pages/runs.h"

namespace parvane::platform {
namespace {

constexpr int kFill = -1;
constexpr int kNone = -2;
constexpr char16_t kFirstSyllable = 0xAC00;
constexpr char16_t kLastSyllable = 0xD7A3;
constexpr int kMedials = 21;
constexpr int kFinals = 28;

// Index of the letter that five bits stand for.
constexpr int InitialOf(unsigned bits) {
  return bits == 1 ? kFill : bits >= 2 && bits <= 20 ? static_cast<int>(bits) - 2 : kNone;
}
constexpr int MedialOf(unsigned bits) {
  if (bits == 2) return kFill;
  if (bits >= 3 && bits <= 7) return static_cast<int>(bits) - 3;
  if (bits >= 10 && bits <= 15) return static_cast<int>(bits) - 5;
  if (bits >= 18 && bits <= 23) return static_cast<int>(bits) - 7;
  if (bits >= 26 && bits <= 29) return static_cast<int>(bits) - 9;
  return kNone;
}
// 0 is no final letter.
constexpr int FinalOf(unsigned bits) {
  if (bits >= 1 && bits <= 17) return static_cast<int>(bits) - 1;
  if (bits >= 19 && bits <= 29) return static_cast<int>(bits) - 2;
  return kNone;
}

// The letters by themselves (Hangul compatibility jamo).
constexpr char16_t kInitialLetters[] =
    u"\u3131\u3132\u3134\u3137\u3138\u3139\u3141\u3142\u3143\u3145\u3146\u3147\u3148\u3149\u314A"
    u"\u314B\u314C\u314D\u314E";
constexpr char16_t kFinalLetters[] =
    u"\u0000\u3131\u3132\u3133\u3134\u3135\u3136\u3137\u3139\u313A\u313B\u313C\u313D\u313E\u313F"
    u"\u3140\u3141\u3142\u3144\u3145\u3146\u3147\u3148\u314A\u314B\u314C\u314D\u314E";
constexpr char16_t kFirstMedialLetter = 0x314F;

// The character of a code in the syllables' range, 0 when there is none.
char16_t FromLetters(unsigned code) {
  const int initial = InitialOf(code >> 10 & 31);
  const int medial = MedialOf(code >> 5 & 31);
  const int final = FinalOf(code & 31);
  if (initial == kNone || medial == kNone || final == kNone) return 0;
  if (initial >= 0 && medial >= 0) {
    return static_cast<char16_t>(kFirstSyllable + (initial * kMedials + medial) * kFinals + final);
  }
  if (initial >= 0 && final == 0) return kInitialLetters[initial];
  if (initial == kFill && medial >= 0 && final == 0) {
    return static_cast<char16_t>(kFirstMedialLetter + medial);
  }
  if (initial == kFill && medial == kFill) return final > 0 ? kFinalLetters[final] : u'\u3000';
  return 0;
}

unsigned ToLetters(char16_t character) {
  static constexpr auto kInitialBits = [](int index) { return static_cast<unsigned>(index) + 2; };
  static constexpr auto kMedialBits = [](int index) {
    const int gaps = index < 5 ? 0 : index < 11 ? 1 : index < 17 ? 2 : 3;
    return static_cast<unsigned>(index + 3 + 2 * gaps);
  };
  static constexpr auto kFinalBits = [](int index) {
    return static_cast<unsigned>(index < 17 ? index + 1 : index + 2);
  };
  const auto pack = [](unsigned initial, unsigned medial, unsigned final) {
    return 0x8000U | initial << 10 | medial << 5 | final;
  };
  if (character >= kFirstSyllable && character <= kLastSyllable) {
    const int index = character - kFirstSyllable;
    return pack(kInitialBits(index / (kMedials * kFinals)), kMedialBits(index / kFinals % kMedials),
                kFinalBits(index % kFinals));
  }
  for (int i = 0; i < 19; ++i) {
    if (kInitialLetters[i] == character) return pack(kInitialBits(i), 2, 1);
  }
  if (character >= kFirstMedialLetter && character < kFirstMedialLetter + kMedials) {
    return pack(1, kMedialBits(character - kFirstMedialLetter), 1);
  }
  for (int i = 1; i < kFinals; ++i) {
    if (kFinalLetters[i] == character) return pack(1, 2, kFinalBits(i));
  }
  return 0;
}

std::size_t DecodeWansung(std::string_view bytes, std::u16string& out) {
  return DecodeBase(BasePage::kKorean, bytes, out);
}

// Two rows of KS X 1001 lie under one lead byte: symbols from D9, Chinese characters from E0.
bool ToWansung(unsigned lead, unsigned trail, char (&pair)[2]) {
  const bool symbols = lead >= 0xD9 && lead <= 0xDE;
  if (!symbols && (lead < 0xE0 || lead > 0xF9)) return false;
  if (trail < 0x31 || trail == 0xFF || (trail > 0x7E && trail < 0x91)) return false;
  const unsigned cell = trail < 0x91 ? trail - 0x31 : trail - 0x43;
  const unsigned row = (symbols ? (lead - 0xD9) * 2 : (lead - 0xE0) * 2 + 0x29) + cell / 94;
  pair[0] = static_cast<char>(0xA1 + row);
  pair[1] = static_cast<char>(0xA1 + cell % 94);
  return true;
}

bool FromWansung(unsigned first, unsigned second, std::string& out) {
  if (first < 0xA1 || second < 0xA1 || first > 0xFE || second > 0xFE) return false;
  const unsigned row = first - 0xA1;
  unsigned lead;
  if (row < 12) {
    lead = 0xD9 + row / 2;
  } else if (row >= 0x29 && row < 0x29 + 52) {
    lead = 0xE0 + (row - 0x29) / 2;
  } else {
    return false;
  }
  const unsigned cell = second - 0xA1 + (row < 12 ? row % 2 : (row - 0x29) % 2) * 94;
  out += static_cast<char>(lead);
  out += static_cast<char>(cell < 78 ? cell + 0x31 : cell + 0x43);
  return true;
}

}  // namespace

std::size_t JohabDecode(std::string_view bytes, std::u16string& out) {
  RunDecoder runs(out);
  while (!bytes.empty()) {
    const unsigned lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) {
      runs.Add(DecodeWansung, bytes.substr(0, 1));
      bytes.remove_prefix(1);
      continue;
    }
    const unsigned trail = bytes.size() > 1 ? static_cast<unsigned char>(bytes[1]) : 0;
    char pair[2];
    char16_t character = 0;
    if (lead >= 0x84 && lead <= 0xD3) character = FromLetters(lead << 8 | trail);
    if (character != 0) {
      runs.Character(character);
    } else if (ToWansung(lead, trail, pair)) {
      runs.Add(DecodeWansung, {pair, 2});
    } else {
      runs.Invalid();
      // A trail byte that can stand for itself does.
      bytes.remove_prefix(trail < 0x80 ? 1 : std::min<std::size_t>(2, bytes.size()));
      continue;
    }
    bytes.remove_prefix(2);
  }
  return runs.Finish();
}

std::size_t JohabEncode(std::u16string_view text, std::string& out) {
  return EncodeEach(text, out, [](std::u16string_view one, std::string& to) {
    if (one.size() == 1 && one[0] < 0x80) {
      to += static_cast<char>(one[0]);
      return true;
    }
    if (const unsigned code = one.size() == 1 ? ToLetters(one[0]) : 0; code != 0) {
      to += static_cast<char>(code >> 8);
      to += static_cast<char>(code);
      return true;
    }
    std::string pair;
    return EncodeBase(BasePage::kKorean, one, pair) == 0 && pair.size() == 2 &&
           FromWansung(static_cast<unsigned char>(pair[0]), static_cast<unsigned char>(pair[1]),
                       to);
  });
}

}  // namespace parvane::platform
