#include "platform/code_pages/base_pages.h"

#include "platform/code_pages/posix/icu_converter.h"

namespace parvane::platform {
namespace {

const char* NameOf(BasePage page) {
  switch (page) {
    case BasePage::kShiftJis:
      return "ibm-943_P15A-2003";
    case BasePage::kChinese:
      return "gb18030";
    case BasePage::kKorean:
      return "windows-949-2000";
    case BasePage::kLatin1:
      return "ISO-8859-1";
    case BasePage::kGreek:
      break;
  }
  return "ibm-9005";
}

constexpr const char* kEucJp = "euc-jp-2007";
// What precedes a character of JIS X 0212 in EUC-JP.
constexpr char kSingleShift3 = '\x8F';

// ICU's Shift-JIS moves three control characters about, as IBM's PC pages did.
char16_t RestoredControl(char16_t unit) {
  switch (unit) {
    case 0x1A:
      return 0x7F;
    case 0x1C:
      return 0x1A;
    case 0x7F:
      return 0x1C;
    default:
      return unit;
  }
}

std::u16string ForShiftJis(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& unit : out) {
    unit = AsWindowsJapanese(unit);
    // Twice round the circle of three is once back.
    if (unit < 0x80) unit = RestoredControl(RestoredControl(unit));
  }
  return out;
}

}  // namespace

std::size_t DecodeBase(BasePage page, std::string_view bytes, std::u16string& out) {
  const std::size_t base = out.size();
  const std::size_t invalid = IcuDecode(NameOf(page), bytes, out);
  if (page == BasePage::kShiftJis) {
    for (std::size_t i = base; i < out.size(); ++i) {
      if (out[i] < 0x80) out[i] = RestoredControl(out[i]);
    }
  }
  return invalid;
}

std::size_t EncodeBase(BasePage page, std::u16string_view text, std::string& out) {
  if (page == BasePage::kShiftJis) return IcuEncode(NameOf(page), ForShiftJis(text), out);
  return IcuEncode(NameOf(page), text, out);
}

std::size_t DecodeJis0212(std::string_view pairs, std::u16string& out) {
  std::string euc;
  euc.reserve(pairs.size() / 2 * 3);
  for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
    euc += {kSingleShift3, pairs[i], pairs[i + 1]};
  }
  return IcuDecode(kEucJp, euc, out);
}

bool EncodeJis0212(std::u16string_view character, std::string& out) {
  std::string euc;
  if (IcuEncode(kEucJp, character, euc) != 0 || euc.size() != 3 || euc[0] != kSingleShift3) {
    return false;
  }
  out += euc.substr(1);
  return true;
}

}  // namespace parvane::platform
