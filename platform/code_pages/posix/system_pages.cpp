// Which converter reads which code page off Windows.
#include "platform/code_pages/system_pages.h"

#include <algorithm>
#include <iterator>

#include "platform/code_pages/base_pages.h"
#include "platform/code_pages/composed.h"
#include "platform/code_pages/posix/icu_converter.h"
#include "platform/code_pages/posix/multi_byte.h"
#include "platform/code_pages/posix/single_byte.h"
#include "platform/text.h"

namespace parvane::platform {
namespace {

// Pages of several bytes that one converter of ICU reads. GB 2312 in all its wrappings is read as
// its superset, as is the Korean set.
struct IcuPage {
  unsigned codePage;
  const char* name;
  bool beginsAsAscii;
};
constexpr IcuPage kIcuPages[] = {
    {936, "gb18030", true},
    {949, "windows-949-2000", true},
    {951, "ibm-1375_P100-2008", true},
    // Big5 as the Eten system extended it, most of which the Hong Kong set took over.
    {20002, "ibm-1375_P100-2008", true},
    {20936, "gb18030", true},
    {20949, "windows-949-2000", true},
    {50225, "ISO_2022,locale=ko,version=0", false},
    {50227, "ISO_2022,locale=zh,version=0", false},
    {50229, "ISO_2022,locale=zh,version=2", false},
    {51936, "gb18030", true},
    {51949, "windows-949-2000", true},
    {51950, "euc-tw-2014", true},
    {52936, "HZ", false},
    {54936, "gb18030", true},
    {57002, "ISCII,version=0", true},
    {57003, "ISCII,version=1", true},
    {57004, "ISCII,version=5", true},
    {57005, "ISCII,version=6", true},
    // Assamese is written in the Bengali script.
    {57006, "ISCII,version=1", true},
    {57007, "ISCII,version=4", true},
    {57008, "ISCII,version=7", true},
    {57009, "ISCII,version=8", true},
    {57010, "ISCII,version=3", true},
    {57011, "ISCII,version=2", true},
    {65000, "UTF-7", false},
};

const IcuPage* FindIcuPage(unsigned codePage) {
  const auto* at =
      std::find_if(std::begin(kIcuPages), std::end(kIcuPages),
                   [codePage](const IcuPage& page) { return page.codePage == codePage; });
  return at == std::end(kIcuPages) ? nullptr : at;
}

// Four Taiwanese sets of the 1980s (TCA, IBM 5550, teletext, Wang) whose tables were never
// published outside Windows. Their ASCII is read, every pair of bytes is one lost character.
bool IsLostChinese(unsigned codePage) {
  return codePage == 20001 || (codePage >= 20003 && codePage <= 20005);
}

std::size_t LostChineseDecode(std::string_view bytes, std::u16string& out) {
  std::size_t lost = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (static_cast<unsigned char>(bytes[i]) < 0x80) {
      out += static_cast<char16_t>(bytes[i]);
      continue;
    }
    out += u'\uFFFD';
    ++lost;
    // Trail bytes lie above the space.
    if (i + 1 < bytes.size() && static_cast<unsigned char>(bytes[i + 1]) > ' ') ++i;
  }
  return lost;
}

std::size_t AsciiEncode(std::u16string_view text, std::string& out) {
  return EncodeEach(text, out, [](std::u16string_view one, std::string& to) {
    if (one[0] >= 0x80) return false;
    to += static_cast<char>(one[0]);
    return true;
  });
}

}  // namespace

bool SystemKnowsCodePage(unsigned codePage) {
  switch (codePage) {
    case 932:
    case 950:
    case 1361:
    case 10001:
    case 10002:
    case 10003:
    case 10008:
    case 20000:
    case 20261:
    case 20269:
    case 50220:
    case 50221:
    case 50222:
    case 51932:
      return true;
    default:
      return IsSingleBytePage(codePage) || FindIcuPage(codePage) != nullptr ||
             IsLostChinese(codePage);
  }
}

bool SystemCodePageBeginsAsAscii(unsigned codePage) {
  if (const IcuPage* page = FindIcuPage(codePage)) return page->beginsAsAscii;
  // A table is as quick for single bytes, and many such pages are not ASCII at all.
  return !IsSingleBytePage(codePage) && (codePage < 50220 || codePage > 50222);
}

std::size_t SystemDecode(unsigned codePage, std::string_view bytes, std::u16string& out) {
  switch (codePage) {
    case 932:
      return DecodeBase(BasePage::kShiftJis, bytes, out);
    case 950:
      return Big5Decode(bytes, out);
    case 1361:
      return JohabDecode(bytes, out);
    case 10001:
    case 10002:
    case 10003:
    case 10008:
      return MacEastAsianDecode(codePage, bytes, out);
    case 20000:
      return CnsDecode(bytes, out);
    case 20261:
    case 20269:
      return AccentedDecode(codePage, bytes, out);
    case 50220:
    case 50221:
    case 50222:
      return Iso2022JpDecode(bytes, out);
    case 51932:
      return EucJpDecode(bytes, out);
    default:
      if (const IcuPage* page = FindIcuPage(codePage)) return IcuDecode(page->name, bytes, out);
      if (IsLostChinese(codePage)) return LostChineseDecode(bytes, out);
      return SingleByteDecode(codePage, bytes, out);
  }
}

std::size_t SystemEncode(unsigned codePage, std::u16string_view text, std::string& out) {
  switch (codePage) {
    case 932:
      return EncodeBase(BasePage::kShiftJis, text, out);
    case 950:
      return IcuEncode("windows-950-2000", text, out);
    case 1361:
      return JohabEncode(text, out);
    case 10001:
    case 10002:
    case 10003:
    case 10008:
      return MacEastAsianEncode(codePage, text, out);
    case 20000:
      return CnsEncode(text, out);
    case 20261:
    case 20269:
      return AccentedEncode(codePage, text, out);
    case 50220:
    case 50221:
    case 50222:
      return Iso2022JpEncode(text, out);
    case 51932:
      return EucJpEncode(text, out);
    default:
      if (const IcuPage* page = FindIcuPage(codePage)) return IcuEncode(page->name, text, out);
      if (IsLostChinese(codePage)) return AsciiEncode(text, out);
      return SingleByteEncode(codePage, text, out);
  }
}

}  // namespace parvane::platform
