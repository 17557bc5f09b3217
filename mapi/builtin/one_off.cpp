#include "mapi/builtin/one_off.h"

#include <cstring>
#include <string_view>

#include "mapi/builtin/values.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

constexpr std::size_t kProviderOffset = 4;
constexpr std::size_t kStringsOffset = 24;

void AppendString(LPTSTR text, bool wide, std::vector<std::byte>& out) {
  if (wide) {
    const auto* units = reinterpret_cast<const char16_t*>(text);
    const std::u16string_view view = units == nullptr ? std::u16string_view{} : units;
    for (const char16_t unit : view) {
      out.push_back(std::byte(unit & 0xFF));
      out.push_back(std::byte(unit >> 8));
    }
    out.resize(out.size() + 2);
    return;
  }
  const std::string_view view = text == nullptr ? std::string_view{} : text;
  for (const char c : view) out.push_back(std::byte(c));
  out.push_back(std::byte{0});
}

}  // namespace

std::vector<std::byte> MakeOneOff(LPTSTR name, LPTSTR addressType, LPTSTR address, ULONG flags) {
  const bool wide = (flags & MAPI_UNICODE) != 0;
  std::vector<std::byte> id(kStringsOffset);
  std::memcpy(id.data() + kProviderOffset, &kOneOffProvider, sizeof kOneOffProvider);
  // Internet recipients get no rich text.
  ULONG word = flags & 0xFFFF0000;
  if (platform::EqualsIgnoreCase(TextArgument(addressType, flags), u"SMTP")) {
    word |= MAPI_SEND_NO_RICH_INFO;
  }
  for (int i = 0; i < 4; ++i) id[20 + i] = std::byte(word >> (8 * i));
  AppendString(name, wide, id);
  AppendString(addressType, wide, id);
  AppendString(address, wide, id);
  return id;
}

bool IsOneOff(const void* entryId, ULONG size) {
  return entryId != nullptr && size >= kStringsOffset &&
         std::memcmp(static_cast<const std::byte*>(entryId) + kProviderOffset, &kOneOffProvider,
                     sizeof kOneOffProvider) == 0;
}

}  // namespace parvane::mapi::builtin
