#include "sources/stores/packed/label_places.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace parvane::sources {
namespace {

using engine::LabelUse;

// In the order in which they decide, for messages that have more than one of them.
constexpr std::pair<GmailLabel, std::u16string_view> kPlaces[] = {
    {GmailLabel::kTrash, u"Trash"},      {GmailLabel::kSpam, u"Spam"},
    {GmailLabel::kInbox, u"Inbox"},      {GmailLabel::kDrafts, u"Drafts"},
    {GmailLabel::kSent, u"Sent"},        {GmailLabel::kChat, u"Chat"},
    {GmailLabel::kArchived, u"Archive"},
};

std::ptrdiff_t DepthOf(std::u16string_view name) { return std::ranges::count(name, u'/'); }

}  // namespace

std::vector<LabelPlace> PlacesOf(const std::vector<std::u16string>& labels,
                                 GmailLanguages languages, LabelUse use) {
  std::vector<LabelPlace> systems, users;
  for (const std::u16string& label : labels) {
    const GmailLabel meaning = GmailLabelIn(languages, label);
    const LabelPlace place{meaning, meaning == GmailLabel::kOfUser ? label : u""};
    auto& places = meaning == GmailLabel::kOfUser ? users : systems;
    if (std::ranges::find(places, place) == places.end()) places.push_back(place);
  }
  std::vector<LabelPlace> found;
  for (const auto& [label, name] : kPlaces) {
    const LabelPlace place{label, {}};
    const bool has = std::ranges::find(systems, place) != systems.end();
    if (has && label != GmailLabel::kArchived) found.push_back(place);
  }
  const bool gone = !found.empty() && (found.front().label == GmailLabel::kTrash ||
                                       found.front().label == GmailLabel::kSpam);
  if (use == LabelUse::kCopies) {
    found.insert(found.end(), users.begin(), users.end());
  } else if (!gone && !users.empty()) {
    found = {*std::ranges::max_element(
        users, {}, [](const LabelPlace& place) { return DepthOf(place.name); })};
  }
  if (found.empty()) found.push_back({GmailLabel::kArchived, {}});
  if (use != LabelUse::kCopies) found.resize(1);
  return found;
}

std::vector<std::u16string> CategoriesOf(const std::vector<std::u16string>& labels,
                                         GmailLanguages languages, const LabelPlace& place) {
  std::vector<std::u16string> categories;
  for (const std::u16string& label : labels) {
    const GmailLabel meaning = GmailLabelIn(languages, label);
    if (LabelPlace{meaning, meaning == GmailLabel::kOfUser ? label : u""} == place) continue;
    const bool hasFolder =
        std::ranges::find(kPlaces, meaning, &std::pair<GmailLabel, std::u16string_view>::first) !=
        std::end(kPlaces);
    if (meaning == GmailLabel::kOfUser || (hasFolder && meaning != GmailLabel::kArchived))
      categories.push_back(label);
  }
  return categories;
}

std::u16string_view NameOfSystemPlace(GmailLabel label) {
  const auto* found =
      std::ranges::find(kPlaces, label, &std::pair<GmailLabel, std::u16string_view>::first);
  return found == std::end(kPlaces) ? kPlaces[std::size(kPlaces) - 1].second : found->second;
}

std::vector<std::u16string> LevelsOf(std::u16string_view name) {
  constexpr std::size_t kMostLevels = 50;
  std::vector<std::u16string> levels;
  while (!name.empty()) {
    const std::size_t end =
        levels.size() + 1 < kMostLevels ? std::min(name.find(u'/'), name.size()) : name.size();
    const std::u16string_view level = name.substr(0, end);
    if (!level.empty() && level != u"." && level != u"..") levels.emplace_back(level);
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return levels;
}

}  // namespace parvane::sources
