// Code pages through the Windows API, but for Japanese mail and Johab, of which the API reads less
// than there is.
#include "platform/code_pages/system_pages.h"

#include <algorithm>

#include "platform/code_pages/base_pages.h"
#include "platform/code_pages/composed.h"
#include "platform/code_pages/windows/native_pages.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

constexpr unsigned kUsAscii = 20127;
constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kLongestCharacter = 4;
constexpr char16_t kReplacement = 0xFFFD;

// The page that reads mail labelled with this one: supersets for Latin 1, GB 2312 and Korean.
unsigned Superset(unsigned codePage) {
  switch (codePage) {
    case 28591:
      return 1252;
    case 20936:
    case 51936:
      return 936;
    case 20949:
    case 51949:
      return 949;
    case 38598:
      return 28598;
    default:
      return codePage;
  }
}

bool IsIso2022Jp(unsigned codePage) { return codePage >= 50220 && codePage <= 50222; }

// The page whose table decides whether this one can be read.
unsigned TableOf(unsigned codePage) {
  if (IsIso2022Jp(codePage) || codePage == 51932) return 932;
  return codePage == 1361 ? 949 : Superset(codePage);
}

// Pages whose bytes mean what a shift before them says, and which accept no flags.
bool IsStateful(unsigned codePage) {
  return (codePage >= 50225 && codePage <= 50229) || codePage == 52936 || codePage == 65000 ||
         (codePage >= 57002 && codePage <= 57011) || codePage == 42;
}

std::size_t LongestCharacterOf(unsigned codePage) {
  CPINFO info;
  return ::GetCPInfo(codePage, &info) ? info.MaxCharSize : 1;
}

// Appends the text of `bytes`; false when `strict` and some of it is invalid.
bool Convert(unsigned codePage, std::string_view bytes, bool strict, std::u16string& out) {
  const DWORD flags = strict ? MB_ERR_INVALID_CHARS : 0;
  const int size = static_cast<int>(bytes.size());
  const int needed = ::MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
  if (needed <= 0) return bytes.empty();
  std::wstring wide(static_cast<std::size_t>(needed), L'\0');
  ::MultiByteToWideChar(codePage, flags, bytes.data(), size, wide.data(), needed);
  // Some pages have an invalid byte map into the private area or to the default character instead
  // of failing; those are taken as they are.
  out.append(wide.begin(), wide.end());
  return true;
}

// Character by character, for pieces that hold something invalid.
std::size_t ConvertEach(unsigned codePage, std::string_view bytes, std::u16string& out) {
  std::size_t invalid = 0;
  while (!bytes.empty()) {
    std::size_t taken = 0;
    for (std::size_t length = 1; length <= std::min(bytes.size(), kLongestCharacter); ++length) {
      if (Convert(codePage, bytes.substr(0, length), true, out)) {
        taken = length;
        break;
      }
    }
    if (taken == 0) {
      out += kReplacement;
      ++invalid;
      taken = 1;
    }
    bytes.remove_prefix(taken);
  }
  return invalid;
}

// Where a piece of at most about kPiece bytes may end: behind a line feed, which is part of no
// character, unless characters are single bytes.
std::size_t PieceOf(std::string_view bytes, bool singleBytes) {
  if (bytes.size() <= kPiece) return bytes.size();
  if (singleBytes) return kPiece;
  std::size_t end = bytes.rfind('\n', kPiece);
  if (end == bytes.npos) end = bytes.find('\n', kPiece);
  return end == bytes.npos ? bytes.size() : end + 1;
}

std::size_t CountReplacements(std::u16string_view text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), kReplacement));
}

}  // namespace

bool SystemKnowsCodePage(unsigned codePage) {
  return ::IsValidCodePage(TableOf(codePage)) != FALSE && codePage > 3 && codePage != 42;
}

bool SystemCodePageBeginsAsAscii(unsigned codePage) {
  // Where 'A' is 'A', all of ASCII is, but for the shifted pages and the variants of ISO 646.
  std::u16string letter;
  return !IsStateful(codePage) && !IsIso2022Jp(codePage) &&
         (codePage < 20105 || codePage > 20108) && Convert(TableOf(codePage), "A", false, letter) &&
         letter == u"A";
}

std::size_t SystemDecode(unsigned codePage, std::string_view bytes, std::u16string& out) {
  if (IsIso2022Jp(codePage)) return Iso2022JpDecode(bytes, out);
  if (codePage == 51932) return EucJpDecode(bytes, out);
  if (codePage == 1361) return JohabDecode(bytes, out);
  return DecodeByTheSystem(codePage, bytes, out);
}

std::size_t SystemEncode(unsigned codePage, std::u16string_view text, std::string& out) {
  if (IsIso2022Jp(codePage)) return Iso2022JpEncode(text, out);
  if (codePage == 51932) return EucJpEncode(text, out);
  if (codePage == 1361) return JohabEncode(text, out);
  if (codePage == 932) return EncodeBase(BasePage::kShiftJis, text, out);
  return EncodeByTheSystem(codePage, text, out);
}

std::size_t DecodeByTheSystem(unsigned codePage, std::string_view bytes, std::u16string& out) {
  codePage = Superset(codePage);
  if (IsStateful(codePage)) {
    const std::size_t before = out.size();
    Convert(codePage, bytes.substr(0, INT_MAX), false, out);
    return CountReplacements(std::u16string_view(out).substr(before));
  }
  std::size_t invalid = 0;
  if (codePage == kUsAscii) {
    // The system would clear the eighth bit.
    for (const char c : bytes) {
      const bool ascii = static_cast<unsigned char>(c) < 0x80;
      out += ascii ? static_cast<char16_t>(c) : kReplacement;
      invalid += ascii ? 0 : 1;
    }
    return invalid;
  }
  const bool singleBytes = LongestCharacterOf(codePage) == 1;
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, PieceOf(bytes, singleBytes)).substr(0, INT_MAX);
    if (!Convert(codePage, piece, true, out)) invalid += ConvertEach(codePage, piece, out);
    bytes.remove_prefix(piece.size());
  }
  return invalid;
}

std::size_t EncodeByTheSystem(unsigned codePage, std::u16string_view text, std::string& out) {
  codePage = Superset(codePage);
  const std::wstring wide = ToWide(text);
  // GB 18030 has every character; the shifted pages cannot tell.
  const bool canTell = !IsStateful(codePage) && codePage != 54936;
  const auto convert = [&](std::wstring_view part, std::string& to) {
    BOOL replaced = FALSE;
    BOOL* const told = canTell ? &replaced : nullptr;
    const DWORD flags = canTell ? WC_NO_BEST_FIT_CHARS : 0;
    const int size = static_cast<int>(part.size());
    const int needed = ::WideCharToMultiByte(codePage, flags, part.data(), size, nullptr, 0,
                                             canTell ? "?" : nullptr, told);
    const std::size_t base = to.size();
    to.resize(base + static_cast<std::size_t>(std::max(needed, 0)));
    ::WideCharToMultiByte(codePage, flags, part.data(), size, to.data() + base, needed,
                          canTell ? "?" : nullptr, told);
    return replaced != FALSE;
  };
  const std::size_t base = out.size();
  if (!convert(wide, out)) return 0;
  // Once more, character by character, to count.
  out.resize(base);
  std::size_t replaced = 0;
  std::string mark;
  convert(L"?", mark);
  for (std::size_t i = 0; i < wide.size();) {
    const bool pair = i + 1 < wide.size() && IS_SURROGATE_PAIR(wide[i], wide[i + 1]);
    const std::size_t length = pair ? 2 : 1;
    std::string one;
    if (convert({wide.data() + i, length}, one)) {
      one = mark;
      ++replaced;
    }
    out += one;
    i += length;
  }
  return replaced;
}

}  // namespace parvane::platform
