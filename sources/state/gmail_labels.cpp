#include "sources/state/gmail_labels.h"

#include <algorithm>

#include "mime/encoded_words.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

constexpr char16_t kNoBreakSpace = 0x00A0;

enum Meaning : unsigned {
  kOpened = 1,
  kUnread = 2,
  kStarred = 4,
  kSent = 8,
  kDrafts = 16,
  kSpam = 32,
  kForwarded = 64,
};

struct Label {
  std::u16string_view folded;
  Meaning meaning;
};

// English, German, French, Spanish, Catalan, Czech, Dutch, Italian, Portuguese, Japanese, Korean.
constexpr Label kLabels[] = {
    {u"opened", kOpened},
    {u"geöffnet", kOpened},
    {u"ouvert", kOpened},
    {u"abierto", kOpened},
    {u"oberts", kOpened},
    {u"geopend", kOpened},
    {u"aperto", kOpened},
    {u"aberto", kOpened},
    {u"開封済み", kOpened},
    {u"열림", kOpened},
    {u"열어봄", kOpened},
    {u"읽음", kOpened},
    {u"마지막으로 연 시간", kOpened},

    {u"unread", kUnread},
    {u"ungelesen", kUnread},
    {u"non lus", kUnread},
    {u"no leídos", kUnread},
    {u"no llegits", kUnread},
    {u"nepřečtené", kUnread},
    {u"ongelezen", kUnread},
    {u"da leggere", kUnread},
    {u"não lida", kUnread},
    {u"未読", kUnread},
    {u"읽지 않음", kUnread},
    {u"읽지않음", kUnread},

    {u"starred", kStarred},
    {u"markiert", kStarred},
    {u"suivis", kStarred},
    {u"favoris", kStarred},
    {u"destacados", kStarred},
    {u"met ster", kStarred},
    {u"speciali", kStarred},
    {u"com estrela", kStarred},
    {u"スター付き", kStarred},
    {u"별표", kStarred},
    {u"별표편지함", kStarred},

    {u"sent", kSent},
    {u"gesendet", kSent},
    {u"messages envoyés", kSent},
    {u"envoyé", kSent},
    {u"envoyés", kSent},
    {u"enviados", kSent},
    {u"enviats", kSent},
    {u"odesláno", kSent},
    {u"verzonden", kSent},
    {u"inviata", kSent},
    {u"送信済み", kSent},
    {u"보낸편지함", kSent},

    {u"drafts", kDrafts},
    {u"draft", kDrafts},
    {u"entwürfe", kDrafts},
    {u"brouillons", kDrafts},
    {u"borradores", kDrafts},
    {u"esborranys", kDrafts},
    {u"concepten", kDrafts},
    {u"bozze", kDrafts},
    {u"rascunhos", kDrafts},
    {u"下書き", kDrafts},
    {u"임시보관함", kDrafts},

    {u"spam", kSpam},
    {u"迷惑メール", kSpam},
    {u"스팸", kSpam},
    {u"스팸함", kSpam},

    {u"imap_$forwarded", kForwarded},
    {u"imap_forwarded", kForwarded},
};

unsigned MeaningOf(std::u16string label) {
  std::ranges::replace(label, kNoBreakSpace, u' ');
  const std::u16string folded = platform::FoldCase(label);
  const auto* found = std::ranges::find(kLabels, std::u16string_view(folded), &Label::folded);
  return found == std::end(kLabels) ? 0u : found->meaning;
}

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

void ReadGmailLabels(const std::vector<std::string>& fields, engine::MessageState& state) {
  constexpr auto kOrigin = engine::StateOrigin::kLabels;
  if (fields.empty()) return;
  unsigned said = 0;
  for (const std::string& field : fields) {
    for (std::u16string& label : SplitGmailLabels(field)) said |= MeaningOf(std::move(label));
  }
  if (said & kUnread) {
    state.read.Learn(false, kOrigin);
  } else if (said & (kOpened | kSent | kDrafts)) {
    state.read.Learn(true, kOrigin);
  }
  state.flagged.Learn((said & kStarred) != 0, kOrigin);
  state.draft.Learn((said & kDrafts) != 0, kOrigin);
  state.junk.Learn((said & kSpam) != 0, kOrigin);
  if (said & kForwarded) state.forwarded.Learn(true, kOrigin);
}

}  // namespace parvane::sources
