#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

#include "platform/code_pages/code_page.h"
#include "platform/simd/ascii.h"
#include "platform/system_internal.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
// Text is converted through a buffer of this many units, so that `out` grows to what it needs and
// the buffer stays in the first-level cache.
constexpr std::size_t kChunk = 4096;

std::atomic<unsigned> g_ansiCodePage{0};

template <typename Word>
bool SameWord(const char* a, const char* b) {
  Word x;
  Word y;
  std::memcpy(&x, a, sizeof x);
  std::memcpy(&y, b, sizeof y);
  return x == y;
}

// For names, which are too short for a call that compares any number of bytes. The last word
// overlaps the one before it.
bool SameBytes(const char* a, const char* b, std::size_t size) {
  if (size > 16) return std::memcmp(a, b, size) == 0;
  if (size >= 8) {
    return SameWord<std::uint64_t>(a, b) && SameWord<std::uint64_t>(a + size - 8, b + size - 8);
  }
  if (size >= 4) {
    return SameWord<std::uint32_t>(a, b) && SameWord<std::uint32_t>(a + size - 4, b + size - 4);
  }
  for (std::size_t i = 0; i < size; ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

}  // namespace

Utf8Tally AppendUtf8AsUtf16Counted(std::string_view utf8, std::u16string& out) {
  Utf8Tally tally;
  if (out.empty()) out.reserve(utf8.size());
  char16_t chunk[kChunk];
  const char* in = utf8.data();
  std::size_t left = utf8.size();
  while (left > 0) {
    std::size_t filled = 0;
    while (left > 0 && filled + 2 <= kChunk) {
      if (static_cast<unsigned char>(*in) < 0x80) {
        const std::size_t run =
            simd::WidenAsciiPrefix(in, std::min(left, kChunk - filled), chunk + filled);
        in += run;
        left -= run;
        filled += run;
        continue;
      }
      // The letters of most of Europe, ahead of the general case.
      const auto lead = static_cast<unsigned char>(in[0]);
      if (lead >= 0xC2 && lead <= 0xDF && left > 1 &&
          (static_cast<unsigned char>(in[1]) & 0xC0) == 0x80) {
        chunk[filled++] = static_cast<char16_t>((lead & 0x1F) << 6 | (in[1] & 0x3F));
        ++tally.multiByte;
        in += 2;
        left -= 2;
        continue;
      }
      const Utf8Step step = StepUtf8(in, left);
      filled += PutUtf16(step.valid ? step.character : kReplacement, chunk + filled);
      ++(step.valid ? tally.multiByte : tally.invalid);
      in += step.length;
      left -= step.length;
    }
    out.append(chunk, filled);
  }
  return tally;
}

void AppendUtf8AsUtf16(std::string_view utf8, std::u16string& out) {
  AppendUtf8AsUtf16Counted(utf8, out);
}

std::u16string Utf8ToUtf16(std::string_view utf8) {
  std::u16string out;
  AppendUtf8AsUtf16(utf8, out);
  return out;
}

void AppendUtf16AsUtf8(std::u16string_view text, std::string& out) {
  if (out.empty()) out.reserve(text.size());
  char chunk[kChunk];
  const char16_t* in = text.data();
  std::size_t left = text.size();
  while (left > 0) {
    std::size_t filled = 0;
    while (left > 0 && filled + 4 <= kChunk) {
      if (*in < 0x80) {
        const std::size_t run =
            simd::NarrowAsciiPrefix(in, std::min(left, kChunk - filled), chunk + filled);
        in += run;
        left -= run;
        filled += run;
        continue;
      }
      char32_t character = *in;
      std::size_t taken = 1;
      if (IsSurrogate(*in)) {
        if (IsHighSurrogate(*in) && left > 1 && IsLowSurrogate(in[1])) {
          character = JoinSurrogates(in[0], in[1]);
          taken = 2;
        } else {
          character = kReplacement;
        }
      }
      filled += PutUtf8(character, chunk + filled);
      in += taken;
      left -= taken;
    }
    out.append(chunk, filled);
  }
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  AppendUtf16AsUtf8(text, out);
  return out;
}

bool IsAscii(std::string_view bytes) {
  return simd::AsciiPrefix(bytes.data(), bytes.size()) == bytes.size();
}

namespace {

// Calls `take` with each step beyond ASCII until it returns false, and returns what it did.
template <typename Take>
bool ForEachWideStep(std::string_view bytes, Take take) {
  const char* in = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    const std::size_t run = simd::AsciiPrefix(in, left);
    in += run;
    left -= run;
    while (left > 0 && static_cast<unsigned char>(*in) >= 0x80) {
      const Utf8Step step = StepUtf8(in, left);
      if (!take(step)) return false;
      in += step.length;
      left -= step.length;
    }
  }
  return true;
}

}  // namespace

Utf8Tally TallyUtf8(std::string_view bytes) {
  Utf8Tally tally;
  ForEachWideStep(bytes, [&](const Utf8Step& step) {
    ++(step.valid ? tally.multiByte : tally.invalid);
    return true;
  });
  return tally;
}

bool IsValidUtf8(std::string_view bytes) {
  return ForEachWideStep(bytes, [](const Utf8Step& step) { return step.valid; });
}

bool ReplaceUnpairedSurrogates(std::u16string& text) {
  bool found = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsSurrogate(text[i])) continue;
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      ++i;
    } else {
      text[i] = kReplacement;
      found = true;
    }
  }
  return found;
}

unsigned AnsiCodePage() {
  const unsigned chosen = g_ansiCodePage.load(std::memory_order_relaxed);
  return chosen != 0 ? chosen : SystemAnsiCodePage();
}

void SetAnsiCodePage(unsigned codePage) {
  g_ansiCodePage.store(codePage, std::memory_order_relaxed);
}

std::u16string AnsiToUtf16(std::string_view bytes) {
  std::u16string out;
  DecodeCodePage(AnsiCodePage(), bytes, out);
  return out;
}

std::string Utf16ToAnsi(std::u16string_view text) {
  std::string out;
  EncodeCodePage(AnsiCodePage(), text, out);
  return out;
}

bool IsWhiteSpace(char16_t unit) {
  if (unit < 0x80) return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
  if (unit < 0x1680) return unit == 0x85 || unit == 0xA0;
  return unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 ||
         unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

bool EqualsIgnoreAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  // Nearly always the case is the same, too.
  return SameBytes(a.data(), b.data(), a.size()) ||
         std::equal(a.begin(), a.end(), b.begin(),
                    [](char x, char y) { return AsciiToLower(x) == AsciiToLower(y); });
}

bool StartsWithIgnoreAsciiCase(std::string_view text, std::string_view prefix) {
  return EqualsIgnoreAsciiCase(text.substr(0, prefix.size()), prefix);
}

bool EndsWithIgnoreAsciiCase(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         EqualsIgnoreAsciiCase(text.substr(text.size() - suffix.size()), suffix);
}

std::string ToLowerAscii(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = AsciiToLower(c);
  return out;
}

}  // namespace parvane::platform
