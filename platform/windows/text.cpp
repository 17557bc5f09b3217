#include "platform/text.h"

#include <algorithm>
#include <iterator>

#include "platform/utf8.h"
#include "platform/windows/case_tables.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

char32_t Folded(char32_t character) {
  const FoldingRange* const at =
      std::lower_bound(std::begin(kFolding), std::end(kFolding), character,
                       [](const FoldingRange& range, char32_t c) { return range.last < c; });
  if (at == std::end(kFolding) || character < at->first ||
      (character - at->first) % at->step != 0) {
    return character;
  }
  return static_cast<char32_t>(static_cast<std::int32_t>(character) + at->delta);
}

const LongUpperCase* FindLongUpperCase(char16_t character) {
  const LongUpperCase* const at =
      std::lower_bound(std::begin(kLongUpperCases), std::end(kLongUpperCases), character,
                       [](const LongUpperCase& row, char16_t c) { return row.character < c; });
  return at != std::end(kLongUpperCases) && at->character == character ? at : nullptr;
}

// By the system, which keeps the length.
void AppendUpperCase(std::u16string_view text, std::u16string& out) {
  if (text.empty()) return;
  const std::wstring wide = ToWide(text);
  const int size = static_cast<int>(wide.size());
  std::wstring mapped(wide.size(), L'\0');
  const int length = ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, wide.c_str(), size,
                                     mapped.data(), size, nullptr, nullptr, 0);
  out += length == size ? FromWide(mapped) : std::u16string(text);
}

}  // namespace

std::u16string FoldCase(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      character = JoinSurrogates(text[i], text[i + 1]);
      ++i;
    }
    char16_t units[2];
    out.append(units, PutUtf16(Folded(character), units));
  }
  return out;
}

bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && FoldCase(a) == FoldCase(b);
}

std::u16string ToUpper(std::u16string_view text) {
  std::u16string out;
  std::size_t done = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const LongUpperCase* const upper = FindLongUpperCase(text[i]);
    if (upper == nullptr) continue;
    AppendUpperCase(text.substr(done, i - done), out);
    out.append(upper->upper, upper->upper[2] == 0 ? 2 : 3);
    done = i + 1;
  }
  AppendUpperCase(text.substr(done), out);
  return out;
}

std::u16string ComposeAccents(std::u16string_view text) {
  if (text.empty()) return {};
  const std::wstring wide = ToWide(text);
  const int size = static_cast<int>(wide.size());
  // A character may become three.
  std::wstring composed(wide.size() * 3, L'\0');
  const int length = ::FoldStringW(MAP_PRECOMPOSED, wide.c_str(), size, composed.data(),
                                   static_cast<int>(composed.size()));
  if (length <= 0) return std::u16string(text);
  return FromWide(std::wstring_view(composed).substr(0, static_cast<std::size_t>(length)));
}

}  // namespace parvane::platform
