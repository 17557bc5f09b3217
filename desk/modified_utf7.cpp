#include "desk/modified_utf7.h"

#include <cstdint>
#include <optional>

namespace parvane::desk {
namespace {

std::optional<unsigned> Digit(char16_t c) {
  constexpr std::u16string_view kDigits =
      u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";
  const std::size_t value = kDigits.find(c);
  if (value == kDigits.npos) return std::nullopt;
  return static_cast<unsigned>(value);
}

bool IsPrintableAscii(char16_t c) { return c >= 0x20 && c <= 0x7E; }

bool HasUnpairedSurrogate(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned kind = text[i] & 0xFC00u;
    if (kind == 0xDC00) return true;
    if (kind != 0xD800) continue;
    if (++i == text.size() || (text[i] & 0xFC00u) != 0xDC00) return true;
  }
  return false;
}

// What stands between "&" and "-".
std::optional<std::u16string> DecodeShift(std::u16string_view base64) {
  std::u16string text;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char16_t c : base64) {
    const auto digit = Digit(c);
    if (!digit) return std::nullopt;
    bits = bits << 6 | *digit;
    count += 6;
    if (count < 16) continue;
    count -= 16;
    const auto unit = static_cast<char16_t>(bits >> count);
    if (IsPrintableAscii(unit)) return std::nullopt;
    text += unit;
    bits &= (1u << count) - 1;
  }
  // What is left of the last digit is zero.
  if (text.empty() || count >= 6 || bits != 0 || HasUnpairedSurrogate(text)) return std::nullopt;
  return text;
}

}  // namespace

std::u16string DecodeModifiedUtf7(std::u16string_view name) {
  std::u16string decoded;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!IsPrintableAscii(name[i])) return std::u16string(name);
    if (name[i] != u'&') {
      decoded += name[i];
      continue;
    }
    const std::size_t end = name.find(u'-', i);
    if (end == name.npos) return std::u16string(name);
    const std::u16string_view base64 = name.substr(i + 1, end - i - 1);
    const auto text = base64.empty() ? u"&" : DecodeShift(base64);
    if (!text) return std::u16string(name);
    decoded += *text;
    i = end;
  }
  return decoded;
}

}  // namespace parvane::desk
