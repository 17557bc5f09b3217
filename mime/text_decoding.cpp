#include "mime/text_decoding.h"

#include <algorithm>
#include <utility>

#include "mime/charset_naming.h"
#include "platform/code_pages/code_page.h"
#include "platform/stage_times.h"
#include "platform/text.h"

namespace Tessary {

namespace platform = parvane::platform;

namespace {

constexpr unsigned kUsAscii = 20127;
constexpr unsigned kIso2022Jp = 50222;
constexpr unsigned kLatin1 = 28591;

bool IsIso2022(unsigned codePage) { return codePage >= 50220 && codePage <= 50229; }

// True when this rung of the ladder holds for the bytes. `ascii` says that there are only such.
bool Holds(unsigned codePage, std::string_view bytes, bool ascii) {
  // What calls itself ASCII and is not was labelled by a mailer that did not look.
  if (codePage == kUsAscii) return ascii;
  if (codePage == platform::kCodePageUtf8 && !ascii) {
    const platform::Utf8Tally tally = platform::TallyUtf8(bytes);
    return tally.invalid <= tally.multiByte;
  }
  return true;
}

unsigned PageOf(std::string_view charset) {
  if (charset.empty()) return 0;
  // What nearly all mail says.
  if (charset.size() == 5 && platform::EqualsIgnoreAsciiCase(charset, "utf-8")) {
    return platform::kCodePageUtf8;
  }
  if (charset.size() == 8 && platform::EqualsIgnoreAsciiCase(charset, "us-ascii")) return kUsAscii;
  return CharsetNaming::CodePageOfName(charset).value_or(0);
}

// The byte order that a mark at the start states, 0 when there is none.
unsigned PageOfUtf16Mark(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return 0;
  if (bytes.substr(0, 2) == "\xFF\xFE") return platform::kCodePageUtf16Le;
  if (bytes.substr(0, 2) == "\xFE\xFF") return platform::kCodePageUtf16Be;
  return 0;
}

// A character of one byte takes two or three, one of several no more than one for each and one.
std::size_t UsualUtf8Size(std::string_view bytes) {
  const auto high = std::count_if(bytes.begin(), bytes.end(),
                                  [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  return bytes.size() + 2 * static_cast<std::size_t>(high);
}

}  // namespace

unsigned ChooseCodePage(std::string_view bytes, std::string_view declaredCharset,
                        std::string_view fallbackCharset) {
  const bool ascii = platform::IsAscii(bytes);
  const unsigned declared = PageOf(declaredCharset);
  if (declared != 0 && Holds(declared, bytes, ascii)) return declared;
  const unsigned fallback = PageOf(fallbackCharset);
  if (ascii) {
    // Seven-bit text without a label is ASCII, unless it switches character sets as old Japanese
    // mail does without saying so.
    if (bytes.find("\x1B$") == bytes.npos) return platform::kCodePageUtf8;
    return IsIso2022(fallback) ? fallback : kIso2022Jp;
  }
  if (platform::IsValidUtf8(bytes)) return platform::kCodePageUtf8;
  if (const unsigned marked = PageOfUtf16Mark(bytes); marked != 0) return marked;
  if (fallback != 0 && fallback != declared && Holds(fallback, bytes, ascii)) return fallback;
  return platform::kCodePageWindows1252;
}

std::u16string DecodeText(std::string_view bytes, std::string_view declaredCharset,
                          std::string_view fallbackCharset) {
  const platform::StageMark mark(platform::Stage::kDecode, bytes.size());
  std::u16string text;
  platform::DecodeCodePage(ChooseCodePage(bytes, declaredCharset, fallbackCharset), bytes, text);
  if (!text.empty() && text.front() == 0xFEFF) text.erase(0, 1);
  return text;
}

bool ReadsAsAscii(std::string_view bytes, std::string_view declaredCharset) {
  const unsigned declared = PageOf(declaredCharset);
  const bool plain = declared == 0 || declared == kUsAscii || declared == kLatin1 ||
                     declared == platform::kCodePageUtf8 ||
                     declared == platform::kCodePageWindows1252;
  return plain && platform::IsAscii(bytes) && (declared != 0 || bytes.find("\x1B$") == bytes.npos);
}

std::string DecodeTextToUtf8(std::string_view bytes, std::string_view declaredCharset,
                             std::string_view fallbackCharset) {
  if (ReadsAsAscii(bytes, declaredCharset)) return std::string(bytes);
  const unsigned page = ChooseCodePage(bytes, declaredCharset, fallbackCharset);
  if (page == platform::kCodePageUtf8 && platform::IsValidUtf8(bytes)) {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    return std::string(bytes);
  }
  const platform::StageMark mark(platform::Stage::kDecode, bytes.size());
  std::string utf8;
  utf8.reserve(UsualUtf8Size(bytes));
  bool first = true;
  platform::DecodeInPieces(page, bytes, [&](std::u16string_view text) {
    if (std::exchange(first, false) && text.starts_with(u'\xFEFF')) text.remove_prefix(1);
    platform::AppendUtf16AsUtf8(text, utf8);
  });
  return utf8;
}

}  // namespace Tessary
