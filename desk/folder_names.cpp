#include "desk/folder_names.h"

#include "platform/text.h"

namespace parvane::desk {
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
  const auto [known, isNew] = _next.try_emplace(platform::FoldCase(usable), 2);
  if (isNew) return usable;
  unsigned& number = known->second;  // stays where it is when the map grows
  while (true) {
    const std::u16string suffix = u" (" + Decimal(number++) + u")";
    std::u16string candidate = usable;
    Shorten(candidate, kLongestName - suffix.size());
    candidate += suffix;
    if (_next.try_emplace(platform::FoldCase(candidate), 2).second) return candidate;
  }
}

}  // namespace parvane::desk
