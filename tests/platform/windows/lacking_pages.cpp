// Windows has every code page. Wine brings about half of them, and some with other characters.
#include "tests/platform/lacking_pages.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

namespace parvane::platform {
namespace {

constexpr unsigned kLackingInWine[] = {
    858,   870,   1047,  1140,  1141,  1142,  1143,  1144,  1145,  1146,  1147,  1148,
    1149,  20000, 20001, 20002, 20003, 20004, 20005, 20105, 20106, 20107, 20108, 20261,
    20269, 20273, 20277, 20278, 20280, 20284, 20285, 20290, 20297, 20420, 20423, 20424,
    20833, 20838, 20871, 20880, 20905, 20924, 21025, 29001, 50225, 50227, 52936, 54936,
    57002, 57003, 57004, 57005, 57006, 57007, 57008, 57009, 57010, 57011};
// Pages of Macintoshes, which elsewhere are read as Apple has them (docs/text.md).
constexpr unsigned kOtherwiseInWine[] = {10004, 10005, 10010, 10021, 10082};

template <std::size_t N>
bool IsAmong(unsigned codePage, const unsigned (&pages)[N]) {
  return std::find(std::begin(pages), std::end(pages), codePage) != std::end(pages);
}

bool UnderWine() {
  return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace

bool MayLack(unsigned codePage) {
  static const bool kWine = UnderWine();
  if (!kWine) return false;
  if (IsAmong(codePage, kLackingInWine)) return ::IsValidCodePage(codePage) == FALSE;
  return IsAmong(codePage, kOtherwiseInWine);
}

}  // namespace parvane::platform
