// Where a message of an export of Gmail goes by its labels.
#pragma once

#include <compare>
#include <string>
#include <string_view>
#include <vector>

#include "engine/label_use.h"
#include "sources/state/gmail_label_names.h"

namespace parvane::sources {

// The folder of one of Gmail's own labels, or of one that its user made.
struct LabelPlace {
  GmailLabel label = GmailLabel::kOfUser;  // kArchived: of what has no folder otherwise
  std::u16string name;                     // of the user's; "/" nests

  friend auto operator<=>(const LabelPlace&, const LabelPlace&) = default;
};

// At least one. What is deleted or spam is found there alone, as in Gmail; of several labels of the
// user the one that is nested deepest is the most specific, of these the first.
std::vector<LabelPlace> PlacesOf(const std::vector<std::u16string>& labels,
                                 GmailLanguages languages, engine::LabelUse use);

// The labels that are categories of a message in that place.
std::vector<std::u16string> CategoriesOf(const std::vector<std::u16string>& labels,
                                         GmailLanguages languages, const LabelPlace& place);

// What the folder is called.
std::u16string_view NameOfSystemPlace(GmailLabel label);
// "A/B/C": A, B, C; empty pieces are left out, and what is nested beyond reason stays in one piece.
std::vector<std::u16string> LevelsOf(std::u16string_view name);

}  // namespace parvane::sources
