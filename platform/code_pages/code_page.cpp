#include "platform/code_pages/code_page.h"

#include <algorithm>

#include "platform/code_pages/system_pages.h"
#include "platform/simd/ascii.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

constexpr unsigned kUtf7 = 65000;
constexpr unsigned kUtf32Le = 65005;
constexpr unsigned kUtf32Be = 65006;
// .NET's numbers for the same encodings.
constexpr unsigned kUtf32LeOther = 12000;
constexpr unsigned kUtf32BeOther = 12001;
constexpr std::size_t kChunk = 4096;
constexpr char16_t kReplacement = 0xFFFD;

// How a fixed-width Unicode page lays out its units.
struct WideForm {
  std::size_t width = 0;  // 2 or 4 bytes, 0 for another kind of page
  bool bigEndian = false;
};

WideForm WideFormOf(unsigned codePage) {
  switch (codePage) {
    case kCodePageUtf16Le:
      return {2, false};
    case kCodePageUtf16Be:
      return {2, true};
    case kUtf32Le:
    case kUtf32LeOther:
      return {4, false};
    case kUtf32Be:
    case kUtf32BeOther:
      return {4, true};
    default:
      return {};
  }
}

char32_t ReadUnit(const char* from, WideForm form) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < form.width; ++i) {
    const std::size_t place = form.bigEndian ? form.width - 1 - i : i;
    unit |= char32_t{static_cast<unsigned char>(from[i])} << (8 * place);
  }
  return unit;
}

void WriteUnit(char32_t unit, WideForm form, std::string& out) {
  for (std::size_t i = 0; i < form.width; ++i) {
    const std::size_t place = form.bigEndian ? form.width - 1 - i : i;
    out += static_cast<char>(unit >> (8 * place));
  }
}

std::size_t DecodeWide(WideForm form, std::string_view bytes, std::u16string& out) {
  if (bytes.size() >= form.width) {
    // The mark, read in either order, decides over the page.
    WideForm other = form;
    other.bigEndian = !form.bigEndian;
    const bool marked = ReadUnit(bytes.data(), form) == 0xFEFF;
    const bool markedOther = ReadUnit(bytes.data(), other) == 0xFEFF;
    if (markedOther) form = other;
    if (marked || markedOther) bytes.remove_prefix(form.width);
  }
  std::size_t invalid = 0;
  char16_t chunk[kChunk];
  std::size_t filled = 0;
  // A high surrogate that waits for its other half.
  char16_t pending = 0;
  const auto replace = [&] {
    chunk[filled++] = kReplacement;
    ++invalid;
  };
  for (; bytes.size() >= form.width; bytes.remove_prefix(form.width)) {
    if (filled + 4 > kChunk) {
      out.append(chunk, filled);
      filled = 0;
    }
    const char32_t unit = ReadUnit(bytes.data(), form);
    if (form.width == 4) {
      if (unit > 0x10FFFF || (unit >= 0xD800 && unit <= 0xDFFF)) {
        replace();
      } else {
        filled += PutUtf16(unit, chunk + filled);
      }
      continue;
    }
    const auto half = static_cast<char16_t>(unit);
    if (pending != 0) {
      if (IsLowSurrogate(half)) {
        chunk[filled++] = pending;
        chunk[filled++] = half;
        pending = 0;
        continue;
      }
      replace();
      pending = 0;
    }
    if (IsHighSurrogate(half)) {
      pending = half;
    } else if (IsLowSurrogate(half)) {
      replace();
    } else {
      chunk[filled++] = half;
    }
  }
  if (pending != 0) replace();
  if (!bytes.empty()) replace();
  out.append(chunk, filled);
  return invalid;
}

std::size_t EncodeWide(WideForm form, std::u16string_view text, std::string& out) {
  std::size_t replaced = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsSurrogate(text[i])) {
      if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
        character = JoinSurrogates(text[i], text[i + 1]);
        ++i;
      } else {
        character = kReplacement;
        ++replaced;
      }
    }
    if (form.width == 4) {
      WriteUnit(character, form, out);
    } else {
      char16_t units[2];
      const std::size_t count = PutUtf16(character, units);
      for (std::size_t k = 0; k < count; ++k) WriteUnit(units[k], form, out);
    }
  }
  return replaced;
}

// Widens the ASCII that `bytes` begin with and takes it off them.
void TakeAscii(std::string_view& bytes, std::u16string& out) {
  char16_t chunk[kChunk];
  for (;;) {
    const std::size_t piece = std::min(bytes.size(), kChunk);
    const std::size_t run = simd::WidenAsciiPrefix(bytes.data(), piece, chunk);
    out.append(chunk, run);
    bytes.remove_prefix(run);
    if (run < kChunk) return;
  }
}

// Spells UTF-16 units, and so halves of pairs, too.
std::size_t DecodeUtf7(std::string_view bytes, std::u16string& out) {
  std::u16string text;
  std::size_t invalid = SystemDecode(kUtf7, bytes, text);
  if (ReplaceUnpairedSurrogates(text)) ++invalid;
  out += text;
  return invalid;
}

// Pages without shift states, all of whose characters end before a byte below '0': no character of
// several bytes has one in second place or later.
bool CanBeCutAtBlanks(unsigned codePage) {
  switch (codePage) {
    case kCodePageUtf8:
    case 874:
    case 932:
    case 936:
    case 949:
    case 950:
    case 20866:
    case 21866:
    case 51932:
    case 51936:
    case 51949:
    case 54936:
      return true;
    default:
      return (codePage >= 1250 && codePage <= 1258) || (codePage >= 28591 && codePage <= 28606);
  }
}

// How many bytes the first piece has: it ends before a blank or the like.
std::size_t LengthOfPiece(std::string_view bytes) {
  constexpr std::size_t kPiece = 64 * 1024;
  std::size_t length = std::min(bytes.size(), kPiece);
  while (length < bytes.size() && static_cast<unsigned char>(bytes[length]) >= '0') ++length;
  return length;
}

unsigned KnownPage(unsigned codePage) {
  return SystemKnowsCodePage(codePage) ? codePage : kCodePageWindows1252;
}

}  // namespace

bool IsCodePageSupported(unsigned codePage) {
  return codePage == kCodePageUtf8 || WideFormOf(codePage).width != 0 ||
         SystemKnowsCodePage(codePage);
}

std::size_t DecodeCodePage(unsigned codePage, std::string_view bytes, std::u16string& out) {
  if (codePage == kCodePageUtf8) return AppendUtf8AsUtf16Counted(bytes, out).invalid;
  if (const WideForm form = WideFormOf(codePage); form.width != 0) {
    return DecodeWide(form, bytes, out);
  }
  codePage = KnownPage(codePage);
  if (out.empty()) out.reserve(bytes.size());
  if (codePage == kUtf7) return DecodeUtf7(bytes, out);
  if (SystemCodePageBeginsAsAscii(codePage)) TakeAscii(bytes, out);
  return bytes.empty() ? 0 : SystemDecode(codePage, bytes, out);
}

void DecodeInPieces(unsigned codePage, std::string_view bytes,
                    const std::function<void(std::u16string_view)>& take) {
  if (codePage != kCodePageUtf8 && !IsCodePageSupported(codePage)) {
    codePage = kCodePageWindows1252;
  }
  std::u16string text;
  do {
    const std::size_t length = CanBeCutAtBlanks(codePage) ? LengthOfPiece(bytes) : bytes.size();
    text.clear();
    DecodeCodePage(codePage, bytes.substr(0, length), text);
    take(text);
    bytes.remove_prefix(length);
  } while (!bytes.empty());
}

std::size_t EncodeCodePage(unsigned codePage, std::u16string_view text, std::string& out) {
  if (codePage == kCodePageUtf8) {
    std::size_t unpaired = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (!IsSurrogate(text[i])) continue;
      if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
        ++i;
      } else {
        ++unpaired;
      }
    }
    AppendUtf16AsUtf8(text, out);
    return unpaired;
  }
  if (const WideForm form = WideFormOf(codePage); form.width != 0) {
    return EncodeWide(form, text, out);
  }
  return text.empty() ? 0 : SystemEncode(KnownPage(codePage), text, out);
}

}  // namespace parvane::platform
