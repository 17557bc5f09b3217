#include "app/download.h"

#include <algorithm>

#include "desk/format.h"

namespace parvane::app {
namespace {

constexpr std::size_t kLongestName = 180;  // bytes
constexpr std::string_view kNotInNames = "/\\:*?\"<>|";
constexpr std::string_view kUnreserved =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";

std::string CleanName(std::string_view name) {
  std::string clean;
  while (!name.empty()) {
    const desk::Character character = desk::FirstCharacter(name);
    const std::string_view bytes = name.substr(0, character.bytes);
    name.remove_prefix(bytes.size());
    if (character.control) continue;
    if (clean.size() + bytes.size() > kLongestName) break;
    clean += kNotInNames.find(bytes) == kNotInNames.npos ? bytes : "_";
  }
  // Such names are hidden, or mean a folder; Windows drops dots and blanks at the end.
  clean.erase(0, std::min(clean.find_first_not_of(". "), clean.size()));
  clean.erase(clean.find_last_not_of(". ") + 1);
  return clean.empty() ? "attachment" : clean;
}

}  // namespace

std::string SaveAs(std::string_view utf8Name) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string ascii, encoded;
  for (const char c : CleanName(utf8Name)) {
    const auto byte = static_cast<unsigned char>(c);
    ascii += byte < 0x80 && c != '%' ? c : '_';
    if (kUnreserved.find(c) != kUnreserved.npos) {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kDigits[byte >> 4];
      encoded += kDigits[byte & 15];
    }
  }
  return "attachment; filename=\"" + ascii + "\"; filename*=UTF-8''" + encoded;
}

}  // namespace parvane::app
