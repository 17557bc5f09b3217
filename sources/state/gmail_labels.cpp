#include "sources/state/gmail_labels.h"

#include <algorithm>

#include "mime/encoded_words.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

std::u16string Trimmed(std::u16string_view text) {
  while (!text.empty() && platform::IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsWhiteSpace(text.back())) text.remove_suffix(1);
  return std::u16string(text);
}

// Takes one off the front, with the comma behind it.
std::u16string TakeLabel(std::u16string_view& text) {
  while (!text.empty() && platform::IsWhiteSpace(text.front())) text.remove_prefix(1);
  const bool quoted = text.starts_with(u'"');
  std::u16string label;
  bool inside = quoted;
  std::size_t at = quoted ? 1 : 0;
  for (; at < text.size() && (inside || text[at] != u','); ++at) {
    if (!inside || text[at] != u'"') {
      label += text[at];
    } else if (text.substr(at + 1).starts_with(u'"')) {
      label += text[at++];
    } else {
      inside = false;
    }
  }
  text.remove_prefix(std::min(at + 1, text.size()));
  return Trimmed(label);
}

}  // namespace

std::vector<std::u16string> SplitGmailLabels(std::string_view field) {
  const std::u16string decoded =
      platform::Utf8ToUtf16(Tessary::DecodeHeaderText(std::string(field), "utf-8"));
  std::vector<std::u16string> labels;
  for (std::u16string_view rest = decoded; !rest.empty();) {
    std::u16string label = TakeLabel(rest);
    if (!label.empty()) labels.push_back(std::move(label));
  }
  return labels;
}

std::vector<std::u16string> LabelsIn(const std::vector<std::string>& fields) {
  std::vector<std::u16string> labels;
  for (const std::string& field : fields) {
    for (std::u16string& label : SplitGmailLabels(field)) labels.push_back(std::move(label));
  }
  return labels;
}

void ReadGmailLabels(const std::vector<std::string>& fields, engine::MessageState& state,
                     GmailLanguages languages) {
  constexpr auto kOrigin = engine::StateOrigin::kLabels;
  if (fields.empty()) return;
  std::uint32_t said = 0;
  const auto has = [&](GmailLabel label) {
    return (said >> static_cast<unsigned>(label) & 1) != 0;
  };
  for (const std::u16string& name : LabelsIn(fields))
    said |= 1U << static_cast<unsigned>(GmailLabelIn(languages, name));
  if (has(GmailLabel::kUnread)) {
    state.read.Learn(false, kOrigin);
  } else if (has(GmailLabel::kOpened) || has(GmailLabel::kSent) || has(GmailLabel::kDrafts)) {
    state.read.Learn(true, kOrigin);
  }
  state.flagged.Learn(has(GmailLabel::kStarred), kOrigin);
  state.draft.Learn(has(GmailLabel::kDrafts), kOrigin);
  state.junk.Learn(has(GmailLabel::kSpam), kOrigin);
  if (has(GmailLabel::kForwarded)) state.forwarded.Learn(true, kOrigin);
}

}  // namespace parvane::sources
