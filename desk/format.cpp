#include "desk/format.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <fmt/format.h>

#include "platform/text.h"

namespace parvane::desk {
namespace {

// The blocks whose characters fill two columns in terminals (Unicode East Asian Width W and F,
// by block; the exact table is not worth its size for a progress line).
bool IsWide(char32_t c) {
  return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) ||
         (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) ||
         (c >= 0xFE30 && c <= 0xFE6F) || (c >= 0xFF00 && c <= 0xFF60) ||
         (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1FAFF) ||
         (c >= 0x20000 && c <= 0x3FFFD);
}

bool IsCombining(char32_t c) {
  return (c >= 0x0300 && c <= 0x036F) || (c >= 0x200B && c <= 0x200D) ||
         (c >= 0xFE00 && c <= 0xFE0F);
}

// U+202A to U+202E and U+2066 to U+2069 turn the text around them; U+2028 and U+2029 end a line.
bool IsControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F ||
         (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

Character FirstCharacter(std::string_view utf8) {
  const auto lead = static_cast<unsigned char>(utf8[0]);
  const std::size_t wanted = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t c = wanted == 1 ? lead : lead & (0xFFu >> (wanted + 1));
  std::size_t bytes = 1;
  for (; bytes < std::min(wanted, utf8.size()) && (utf8[bytes] & 0xC0) == 0x80; ++bytes)
    c = (c << 6) | (static_cast<unsigned char>(utf8[bytes]) & 0x3F);
  return {c, bytes, IsCombining(c) ? 0u : IsWide(c) ? 2u : 1u, IsControl(c)};
}

std::string WithThousands(std::uint64_t number) {
  std::string digits = fmt::format("{}", number);
  for (std::size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, 1, ',');
  return digits;
}

std::string Counted(std::uint64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", WithThousands(count), noun, count == 1 ? "" : "s");
}

std::string Size(std::uint64_t bytes) {
  if (bytes < 1000) return Counted(bytes, "byte");
  static constexpr std::array kUnits = {"kB", "MB", "GB", "TB", "PB", "EB"};
  double value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  for (; value >= 999.95 && unit + 1 < kUnits.size(); ++unit) value /= 1000;
  return fmt::format("{:.1f} {}", value, kUnits[unit]);
}

std::optional<std::uint64_t> ParseSize(std::string_view text) {
  static constexpr std::string_view kPrefixes = "kmgt";
  const std::size_t end = std::min(text.find_first_not_of("0123456789."), text.size());
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + end, value);
  if (read.ec != std::errc() || read.ptr != text.data() + end) return std::nullopt;

  std::string unit;
  for (const char c : text.substr(end)) {
    if (c != ' ') unit += static_cast<char>(c | 0x20);  // lower case; anything else stays none
  }
  if (!unit.empty() && unit != "b") {
    const std::size_t power = kPrefixes.find(unit[0]) + 1;
    const std::string_view rest = std::string_view(unit).substr(1);
    const bool binary = rest == "ib";
    if (power == 0 || !(rest.empty() || rest == "b" || binary)) return std::nullopt;
    for (std::size_t i = 0; i < power; ++i) value *= binary ? 1024 : 1000;
  }
  if (!(value >= 1 && value < 0x1p63)) return std::nullopt;
  return static_cast<std::uint64_t>(value);
}

std::string Duration(std::uint64_t milliseconds) {
  const std::uint64_t seconds = milliseconds / 1000;
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string IsoTime(platform::FileTime time) {
  platform::SystemTime parts;
  if (platform::FileTimeTicks(time) == 0 || !platform::FileTimeToSystemTime(time, &parts))
    return {};
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", parts.wYear, parts.wMonth, parts.wDay,
                     parts.wHour, parts.wMinute, parts.wSecond);
}

std::string ShortTime(platform::FileTime time) {
  std::string text = IsoTime(time);
  if (text.size() < 16) return {};
  text.erase(text.size() - 4);
  text[text.size() - 6] = ' ';
  return text;
}

std::string FolderPath(const std::vector<std::u16string>& path) {
  std::string joined;
  for (const std::u16string& name : path) {
    if (!joined.empty()) joined += " / ";
    joined += platform::Utf16ToUtf8(name);
  }
  return joined;
}

void AppendPrintable(std::string& out, std::string_view utf8) {
  while (!utf8.empty()) {
    const Character c = FirstCharacter(utf8);
    c.control ? out += ' ' : out.append(utf8, 0, c.bytes);
    utf8.remove_prefix(c.bytes);
  }
}

unsigned Columns(std::string_view utf8) {
  unsigned columns = 0;
  while (!utf8.empty()) {
    const Character c = FirstCharacter(utf8);
    columns += c.columns;
    utf8.remove_prefix(c.bytes);
  }
  return columns;
}

std::string FitColumns(std::string_view utf8, unsigned columns) {
  std::string out;
  unsigned used = 0;
  std::size_t lengthBeforeCut = 0;  // of what leaves room for the ellipsis
  while (!utf8.empty()) {
    const Character c = FirstCharacter(utf8);
    if (used + c.columns > columns) {
      out.resize(lengthBeforeCut);
      if (columns > 0) out += "…";
      return out;
    }
    AppendPrintable(out, utf8.substr(0, c.bytes));
    used += c.columns;
    if (used < columns) lengthBeforeCut = out.size();
    utf8.remove_prefix(c.bytes);
  }
  return out;
}

}  // namespace parvane::desk
