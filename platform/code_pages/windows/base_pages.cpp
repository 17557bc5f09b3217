#include "platform/code_pages/base_pages.h"

#include "platform/code_pages/windows/native_pages.h"

namespace parvane::platform {
namespace {

unsigned NumberOf(BasePage page) {
  switch (page) {
    case BasePage::kShiftJis:
      return 932;
    case BasePage::kChinese:
      return 936;
    case BasePage::kKorean:
      return 949;
    case BasePage::kLatin1:
      return 28591;
    case BasePage::kGreek:
      break;
  }
  return 28597;
}

// EUC-JP in which a pair whose second byte lacks the eighth bit is of JIS X 0212.
constexpr unsigned kJapaneseEuc = 20932;

}  // namespace

std::size_t DecodeBase(BasePage page, std::string_view bytes, std::u16string& out) {
  return DecodeByTheSystem(NumberOf(page), bytes, out);
}

std::size_t EncodeBase(BasePage page, std::u16string_view text, std::string& out) {
  if (page != BasePage::kShiftJis) return EncodeByTheSystem(NumberOf(page), text, out);
  std::u16string windows(text);
  for (char16_t& unit : windows) unit = AsWindowsJapanese(unit);
  return EncodeByTheSystem(NumberOf(page), windows, out);
}

std::size_t DecodeJis0212(std::string_view pairs, std::u16string& out) {
  std::string euc(pairs);
  for (std::size_t i = 1; i < euc.size(); i += 2) euc[i] = static_cast<char>(euc[i] & 0x7F);
  return DecodeByTheSystem(kJapaneseEuc, euc, out);
}

bool EncodeJis0212(std::u16string_view character, std::string& out) {
  std::string euc;
  if (EncodeByTheSystem(kJapaneseEuc, character, euc) != 0 || euc.size() != 2 ||
      static_cast<unsigned char>(euc[0]) < 0x80 || static_cast<unsigned char>(euc[1]) >= 0x80) {
    return false;
  }
  out += euc[0];
  out += static_cast<char>(euc[1] | '\x80');
  return true;
}

}  // namespace parvane::platform
