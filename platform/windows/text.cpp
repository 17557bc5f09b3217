#include "platform/text.h"

#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

std::u16string Map(std::u16string_view text, DWORD mapping) {
  if (text.empty()) return {};
  const std::wstring wide = ToWide(text);
  const int size = static_cast<int>(wide.size());
  // These mappings keep the length.
  std::wstring mapped(wide.size(), L'\0');
  const int length = ::LCMapStringEx(LOCALE_NAME_INVARIANT, mapping, wide.c_str(), size,
                                     mapped.data(), size, nullptr, nullptr, 0);
  if (length != size) return std::u16string(text);
  return FromWide(mapped);
}

}  // namespace

// What is equal in upper case is equal in this fold, whatever its lower-case forms are.
std::u16string FoldCase(std::u16string_view text) {
  return Map(Map(text, LCMAP_UPPERCASE), LCMAP_LOWERCASE);
}

bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && FoldCase(a) == FoldCase(b);
}

std::u16string ToUpper(std::u16string_view text) { return Map(text, LCMAP_UPPERCASE); }

}  // namespace parvane::platform
