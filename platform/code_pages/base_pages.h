// The character sets that the pages of this folder are put together from, as the system converts
// them. Replacing and counting are as in platform/code_pages/code_page.h.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

enum class BasePage {
  kShiftJis,  // 932
  kChinese,   // 936
  kKorean,    // 949
  kLatin1,
  kGreek,  // ISO 8859-7
};
std::size_t DecodeBase(BasePage page, std::string_view bytes, std::u16string& out);
std::size_t EncodeBase(BasePage page, std::u16string_view text, std::string& out);

// Six characters that JIS and Windows map differently. Tables here are Windows', so that text made
// elsewhere needs their characters.
constexpr char16_t AsWindowsJapanese(char16_t unit) {
  switch (unit) {
    case 0x301C:
      return 0xFF5E;
    case 0x2016:
      return 0x2225;
    case 0x2212:
      return 0xFF0D;
    case 0x00A2:
      return 0xFFE0;
    case 0x00A3:
      return 0xFFE1;
    case 0x00AC:
      return 0xFFE2;
    default:
      return unit;
  }
}

// JIS X 0212, as pairs of bytes with the eighth bit set.
std::size_t DecodeJis0212(std::string_view pairs, std::u16string& out);
// One character's pair; false when the set lacks it.
bool EncodeJis0212(std::u16string_view character, std::string& out);

}  // namespace parvane::platform
