#include "sources/stores/apple/emlx_name.h"

#include "platform/path.h"
#include "platform/text.h"

namespace parvane::sources {

EmlxName::EmlxName(std::u16string_view fileName) {
  constexpr std::size_t kMostDigits = 19;
  if (!platform::EqualsIgnoreCase(platform::ExtensionOfPath(fileName), u".emlx")) return;
  isMessage = true;
  base = platform::StemOfPath(fileName);
  partial = platform::EqualsIgnoreCase(platform::ExtensionOfPath(base), u".partial");
  if (partial) base = platform::StemOfPath(base);
  if (base.empty() || base.size() > kMostDigits) return;
  std::uint64_t value = 0;
  for (const char16_t digit : base) {
    if (digit < u'0' || digit > u'9') return;
    value = value * 10 + (digit - u'0');
  }
  number = value;
}

}  // namespace parvane::sources
