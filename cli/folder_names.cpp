#include "cli/folder_names.h"

#include <algorithm>

#include "platform/text.h"

namespace parvane::cli {
namespace {

constexpr std::size_t kLongestName = 255;

// Cuts without leaving half a surrogate pair.
void Shorten(std::u16string& name, std::size_t length) {
  if (name.size() <= length) return;
  if ((name[length] & 0xFC00) == 0xDC00) --length;
  name.resize(length);
}

void TrimWhiteSpace(std::u16string& name) {
  while (!name.empty() && platform::IsWhiteSpace(name.back())) name.pop_back();
  std::size_t start = 0;
  while (start < name.size() && platform::IsWhiteSpace(name[start])) ++start;
  name.erase(0, start);
}

std::u16string Decimal(unsigned number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

}  // namespace

std::u16string UsableFolderName(std::u16string_view name) {
  std::u16string usable(name);
  for (char16_t& c : usable) {
    if (c < 0x20 || c == 0x7F) c = u'_';
  }
  platform::ReplaceUnpairedSurrogates(usable);
  Shorten(usable, kLongestName);
  TrimWhiteSpace(usable);
  return usable.empty() ? u"Unnamed" : usable;
}

std::u16string SiblingNames::Take(std::u16string_view name) {
  const std::u16string usable = UsableFolderName(name);
  std::u16string candidate = usable;
  for (unsigned number = 2;; ++number) {
    std::u16string folded = platform::FoldCase(candidate);
    const auto place = std::lower_bound(_folded.begin(), _folded.end(), folded);
    if (place == _folded.end() || *place != folded) {
      _folded.insert(place, std::move(folded));
      return candidate;
    }
    const std::u16string suffix = u" (" + Decimal(number) + u")";
    candidate = usable;
    Shorten(candidate, kLongestName - suffix.size());
    candidate += suffix;
  }
}

}  // namespace parvane::cli
