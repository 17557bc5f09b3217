#include "mapi/builtin/one_off.h"

#include <bit>
#include <cstring>
#include <string_view>
#include <utility>

#include "mapi/builtin/recipients.h"
#include "mapi/builtin/values.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"

namespace parvane::mapi::builtin {
namespace {

constexpr std::size_t kProviderOffset = 4;
constexpr std::size_t kStringsOffset = 24;

// The bytes of a string argument, without terminator; UTF-16 as it lies in memory.
std::span<const std::byte> BytesOf(LPTSTR text, bool wide) {
  if (text == nullptr) return {};
  if (!wide) return std::as_bytes(std::span(std::string_view(text)));
  return std::as_bytes(std::span(std::u16string_view(reinterpret_cast<const char16_t*>(text))));
}

// Copies a string behind what is there, UTF-16 in little-endian order.
void Append(std::span<const std::byte> string, bool wide, std::byte*& at) {
  if (!string.empty()) std::memcpy(at, string.data(), string.size());
  if (wide && std::endian::native != std::endian::little) {
    for (std::size_t i = 0; i + 1 < string.size(); i += 2) std::swap(at[i], at[i + 1]);
  }
  at += string.size();
  for (int i = 0; i < (wide ? 2 : 1); ++i) *at++ = std::byte{0};
}

}  // namespace

std::span<const std::byte> MakeOneOff(LPTSTR name, LPTSTR addressType, LPTSTR address, ULONG flags,
                                      Chain& chain) {
  const bool wide = (flags & MAPI_UNICODE) != 0;
  const std::span<const std::byte> strings[] = {BytesOf(name, wide), BytesOf(addressType, wide),
                                                BytesOf(address, wide)};
  std::size_t size = kStringsOffset;
  for (const auto string : strings) size += string.size() + (wide ? 2 : 1);
  const std::span<std::byte> id(chain.AllocateArray<std::byte>(size), size);
  std::memset(id.data(), 0, kStringsOffset);
  std::memcpy(id.data() + kProviderOffset, &kOneOffProvider, sizeof kOneOffProvider);
  // Internet recipients get no rich text.
  ULONG word = flags & 0xFFFF0000;
  const bool isSmtp = wide && addressType != nullptr
                          ? IsSmtp(reinterpret_cast<const char16_t*>(addressType))
                          : IsSmtp(TextArgument(addressType, flags));
  if (isSmtp) word |= MAPI_SEND_NO_RICH_INFO;
  for (int i = 0; i < 4; ++i) id[20 + i] = std::byte(word >> (8 * i));
  std::byte* at = id.data() + kStringsOffset;
  for (const auto string : strings) Append(string, wide, at);
  return id;
}

bool IsOneOff(const void* entryId, ULONG size) {
  return entryId != nullptr && size >= kStringsOffset &&
         std::memcmp(static_cast<const std::byte*>(entryId) + kProviderOffset, &kOneOffProvider,
                     sizeof kOneOffProvider) == 0;
}

}  // namespace parvane::mapi::builtin
