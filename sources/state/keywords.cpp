#include "sources/state/keywords.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace parvane::sources {
namespace {

// Thunderbird's own tags, as long as their user gave them no other name.
constexpr std::pair<std::string_view, std::u16string_view> kFirstTags[] = {
    {"$label1", u"Important"}, {"$label2", u"Work"},  {"$label3", u"Personal"},
    {"$label4", u"To Do"},     {"$label5", u"Later"},
};

// True for a keyword that is no tag; what it tells goes to `state`.
bool ReadSystemKeyword(std::string_view key, engine::StateOrigin origin,
                       engine::MessageState& state) {
  if (key == "junk" || key == "$junk") return state.junk.Learn(true, origin), true;
  if (key == "nonjunk" || key == "notjunk" || key == "$notjunk")
    return state.junk.Learn(false, origin), true;
  if (key == "$forwarded") return state.forwarded.Learn(true, origin), true;
  return key == "$mdnsent";
}

// Empty: nobody knows it.
std::u16string NameOf(const std::string& key, const engine::StateWishes& wishes) {
  const auto named = wishes.tagNames.find(key);
  if (named != wishes.tagNames.end() && !named->second.empty()) return named->second;
  for (const auto& [first, name] : kFirstTags) {
    if (first == key) return std::u16string(name);
  }
  return {};
}

}  // namespace

void Categories::Add(std::u16string name) {
  const auto isSame = [&](const std::u16string& known) {
    return platform::EqualsIgnoreCase(known, name);
  };
  if (name.empty() || std::ranges::any_of(_names, isSame)) return;
  if (_names.size() < kMost) {
    _names.push_back(std::move(name));
  } else {
    ++_more;
  }
}

void ReadKeywords(std::string_view keywords, KeywordKind kind, const engine::StateWishes& wishes,
                  engine::StateOrigin origin, engine::MessageState& state, Categories& categories) {
  for (std::size_t at = 0; at < keywords.size();) {
    const auto begin = std::find_if_not(keywords.begin() + static_cast<std::ptrdiff_t>(at),
                                        keywords.end(), platform::IsAsciiWhiteSpace);
    const auto end = std::find_if(begin, keywords.end(), platform::IsAsciiWhiteSpace);
    at = static_cast<std::size_t>(end - keywords.begin());
    const std::string_view word(begin, end);
    const std::string key = platform::ToLowerAscii(word);
    if (word.empty() || ReadSystemKeyword(key, origin, state)) continue;
    std::u16string name = NameOf(key, wishes);
    const bool named = !name.empty() || (kind == KeywordKind::kOther && word.front() != '$');
    if (!named && state.namelessKeywords.size() < Categories::kMost)
      state.namelessKeywords.emplace_back(word);
    categories.Add(name.empty() ? platform::Utf8ToUtf16(word) : std::move(name));
  }
}

}  // namespace parvane::sources
