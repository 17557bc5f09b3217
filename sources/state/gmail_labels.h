// The labels with which an export of Gmail's mail says what it was: X-Gmail-Labels. They are in the
// language of whoever asked for the export.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/message_state.h"
#include "sources/state/gmail_label_names.h"

namespace parvane::sources {

// The labels of one field, its lines joined: encoded words are decoded, labels separated by commas.
// A label that begins with a double quote may hold commas, and "" for a quote; elsewhere in a label
// a quote is a quote.
std::vector<std::u16string> SplitGmailLabels(std::string_view field);

// Those of all a message's fields.
std::vector<std::u16string> LabelsIn(const std::vector<std::string>& fields);

// What Gmail's own labels tell. Those that its user made are left: they are folders in their own
// right.
void ReadGmailLabels(const std::vector<std::string>& fields, engine::MessageState& state,
                     GmailLanguages languages = kEveryLanguage);

}  // namespace parvane::sources
