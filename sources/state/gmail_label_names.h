// The labels that Gmail itself gives, by the names they have in its languages. An export has them
// in the language of whoever asked for it; every other label is one that its user made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace parvane::sources {

enum class GmailLabel {
  kOfUser,
  kInbox,
  kSent,
  kDrafts,
  kTrash,
  kSpam,
  kChat,
  kStarred,
  kUnread,
  kOpened,
  kArchived,
  kImportant,  // Gmail's guess, not what the sender said
  kCategory,   // of the inbox's tabs
  kForwarded,
  kMarked,  // what mail programs and Gmail note for themselves
};

// A bit for each language.
using GmailLanguages = std::uint32_t;
inline constexpr GmailLanguages kEveryLanguage = ~GmailLanguages{0};

struct GmailLabelName {
  GmailLabel label = GmailLabel::kOfUser;
  GmailLanguages languages = 0;  // in which it is called so
};

// Without regard to case.
GmailLabelName LookUpGmailLabel(std::u16string_view name);
// What the label is in an export in one of these languages.
GmailLabel GmailLabelIn(GmailLanguages languages, std::u16string_view name);

// Finds an export's language from its labels.
class GmailLanguageVote {
 public:
  // A label that so many messages have.
  void Add(std::u16string_view name, std::uint64_t messages);
  // Those that most speak for; several where the labels are called the same in them, and every one
  // where nothing speaks for any.
  GmailLanguages Winners() const;

 private:
  std::uint64_t _votes[32] = {};
};

}  // namespace parvane::sources
