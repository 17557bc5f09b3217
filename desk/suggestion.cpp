#include "desk/suggestion.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace parvane::desk {
namespace {

// The steps between two words, by the table of all their beginnings; only its last three rows are
// kept.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast, last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    beforeLast = std::move(last);
    last = row;
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = a[i - 1] == b[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + !same});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row.back();
}

std::string Nearest(std::string_view word, std::span<const std::string> known) {
  std::string nearest;
  std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
  for (const std::string& candidate : known) {
    if (word.size() > candidate.size() + least) continue;  // may be a path of any length
    const bool begins = word.size() > 2 && candidate.starts_with(word);
    const std::size_t distance = begins ? 1 : Distance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace

std::string NoSuch(std::string_view noun, std::string_view word,
                   std::span<const std::string> known) {
  const std::string meant = Nearest(word, known);
  std::string text = "there is no " + std::string(noun) + " " + std::string(word);
  if (!meant.empty()) text += "; did you mean " + meant + "?";
  return text;
}

std::vector<std::string> NearOnes(std::string_view word, std::span<const std::string> known) {
  constexpr std::size_t kMost = 5;
  const auto folded = [](std::string_view text) {
    return platform::Utf16ToUtf8(platform::FoldCase(platform::Utf8ToUtf16(text)));
  };
  const std::string wanted = folded(word);
  // A name that has it, or is in it, is as near as one with a letter wrong.
  const std::size_t farthest = std::max<std::size_t>(wanted.size() / 3, 1);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : known) {
    const std::string candidate = folded(name);
    const bool within = candidate.find(wanted) != candidate.npos ||
                        (!candidate.empty() && wanted.find(candidate) != wanted.npos);
    const bool comparable = candidate.size() <= wanted.size() + farthest &&
                            wanted.size() <= candidate.size() + farthest;
    if (!within && !comparable) continue;
    const std::size_t distance = within ? 1 : Distance(wanted, candidate);
    if (distance <= farthest) near.emplace_back(distance, name);
  }
  std::ranges::sort(near);
  std::vector<std::string> names;
  for (auto& [distance, name] : near) {
    if (names.size() < kMost && std::ranges::find(names, name) == names.end())
      names.push_back(std::move(name));
  }
  return names;
}

}  // namespace parvane::desk
