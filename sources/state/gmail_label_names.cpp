#include "sources/state/gmail_label_names.h"

#include <algorithm>
#include <iterator>

#include "platform/text.h"

namespace parvane::sources {
namespace {

constexpr char16_t kNoBreakSpace = 0x00A0;

constexpr GmailLanguages kEn = 1, kDe = 2, kFr = 4, kEs = 8, kCa = 16, kCs = 32, kNl = 64,
                         kIt = 128, kPt = 256, kJa = 512, kKo = 1024;

struct Row {
  std::u16string_view folded;
  GmailLabel label;
  GmailLanguages languages;
};

constexpr Row kRows[] = {
    {u"inbox", GmailLabel::kInbox, kEn},
    {u"posteingang", GmailLabel::kInbox, kDe},
    {u"boîte de réception", GmailLabel::kInbox, kFr},
    {u"recibidos", GmailLabel::kInbox, kEs},
    {u"safata d'entrada", GmailLabel::kInbox, kCa},
    {u"doručené", GmailLabel::kInbox, kCs},
    {u"postvak in", GmailLabel::kInbox, kNl},
    {u"posta in arrivo", GmailLabel::kInbox, kIt},
    {u"caixa de entrada", GmailLabel::kInbox, kPt},
    {u"受信トレイ", GmailLabel::kInbox, kJa},
    {u"받은편지함", GmailLabel::kInbox, kKo},
    {u"sent", GmailLabel::kSent, kEn},
    {u"gesendet", GmailLabel::kSent, kDe},
    {u"messages envoyés", GmailLabel::kSent, kFr},
    {u"envoyé", GmailLabel::kSent, kFr},
    {u"envoyés", GmailLabel::kSent, kFr},
    {u"enviados", GmailLabel::kSent, kEs | kPt},
    {u"enviats", GmailLabel::kSent, kCa},
    {u"odesláno", GmailLabel::kSent, kCs},
    {u"verzonden", GmailLabel::kSent, kNl},
    {u"inviata", GmailLabel::kSent, kIt},
    {u"送信済み", GmailLabel::kSent, kJa},
    {u"보낸편지함", GmailLabel::kSent, kKo},
    {u"drafts", GmailLabel::kDrafts, kEn},
    {u"draft", GmailLabel::kDrafts, kEn},
    {u"entwürfe", GmailLabel::kDrafts, kDe},
    {u"brouillons", GmailLabel::kDrafts, kFr},
    {u"borradores", GmailLabel::kDrafts, kEs},
    {u"esborranys", GmailLabel::kDrafts, kCa},
    {u"concepten", GmailLabel::kDrafts, kNl},
    {u"bozze", GmailLabel::kDrafts, kIt},
    {u"rascunhos", GmailLabel::kDrafts, kPt},
    {u"下書き", GmailLabel::kDrafts, kJa},
    {u"임시보관함", GmailLabel::kDrafts, kKo},
    {u"trash", GmailLabel::kTrash, kEn},
    {u"papierkorb", GmailLabel::kTrash, kDe},
    {u"corbeille", GmailLabel::kTrash, kFr},
    {u"papelera", GmailLabel::kTrash, kEs},
    {u"paperera", GmailLabel::kTrash, kCa},
    {u"prullenbak", GmailLabel::kTrash, kNl},
    {u"cestino", GmailLabel::kTrash, kIt},
    {u"lixeira", GmailLabel::kTrash, kPt},
    {u"ゴミ箱", GmailLabel::kTrash, kJa},
    {u"휴지통", GmailLabel::kTrash, kKo},
    {u"spam", GmailLabel::kSpam, kEn | kDe | kFr | kEs | kCa | kCs | kNl | kIt | kPt},
    {u"迷惑メール", GmailLabel::kSpam, kJa},
    {u"스팸", GmailLabel::kSpam, kKo},
    {u"스팸함", GmailLabel::kSpam, kKo},
    {u"chat", GmailLabel::kChat, kEn | kDe | kIt},
    {u"チャット", GmailLabel::kChat, kJa},
    {u"채팅", GmailLabel::kChat, kKo},
    {u"starred", GmailLabel::kStarred, kEn},
    {u"markiert", GmailLabel::kStarred, kDe},
    {u"suivis", GmailLabel::kStarred, kFr},
    {u"favoris", GmailLabel::kStarred, kFr},
    {u"destacados", GmailLabel::kStarred, kEs},
    {u"met ster", GmailLabel::kStarred, kNl},
    {u"speciali", GmailLabel::kStarred, kIt},
    {u"com estrela", GmailLabel::kStarred, kPt},
    {u"スター付き", GmailLabel::kStarred, kJa},
    {u"별표", GmailLabel::kStarred, kKo},
    {u"별표편지함", GmailLabel::kStarred, kKo},
    {u"unread", GmailLabel::kUnread, kEn},
    {u"ungelesen", GmailLabel::kUnread, kDe},
    {u"non lus", GmailLabel::kUnread, kFr},
    {u"no leídos", GmailLabel::kUnread, kEs},
    {u"no llegits", GmailLabel::kUnread, kCa},
    {u"nepřečtené", GmailLabel::kUnread, kCs},
    {u"ongelezen", GmailLabel::kUnread, kNl},
    {u"da leggere", GmailLabel::kUnread, kIt},
    {u"não lida", GmailLabel::kUnread, kPt},
    {u"未読", GmailLabel::kUnread, kJa},
    {u"읽지 않음", GmailLabel::kUnread, kKo},
    {u"읽지않음", GmailLabel::kUnread, kKo},
    {u"opened", GmailLabel::kOpened, kEn},
    {u"geöffnet", GmailLabel::kOpened, kDe},
    {u"ouvert", GmailLabel::kOpened, kFr},
    {u"abierto", GmailLabel::kOpened, kEs},
    {u"oberts", GmailLabel::kOpened, kCa},
    {u"geopend", GmailLabel::kOpened, kNl},
    {u"aperto", GmailLabel::kOpened, kIt},
    {u"aberto", GmailLabel::kOpened, kPt},
    {u"開封済み", GmailLabel::kOpened, kJa},
    {u"열림", GmailLabel::kOpened, kKo},
    {u"열어봄", GmailLabel::kOpened, kKo},
    {u"읽음", GmailLabel::kOpened, kKo},
    {u"마지막으로 연 시간", GmailLabel::kOpened, kKo},
    {u"archived", GmailLabel::kArchived, kEn},
    {u"archiviert", GmailLabel::kArchived, kDe},
    {u"messages archivés", GmailLabel::kArchived, kFr},
    {u"archivés", GmailLabel::kArchived, kFr},
    {u"archivados", GmailLabel::kArchived, kEs},
    {u"archivováno", GmailLabel::kArchived, kCs},
    {u"gearchiveerd", GmailLabel::kArchived, kNl},
    {u"보관됨", GmailLabel::kArchived, kKo},
    {u"보관처리됨", GmailLabel::kArchived, kKo},
    {u"important", GmailLabel::kImportant, kEn | kFr},
    {u"wichtig", GmailLabel::kImportant, kDe},
    {u"importante", GmailLabel::kImportant, kEs | kPt},
    {u"importants", GmailLabel::kImportant, kCa},
    {u"důležité", GmailLabel::kImportant, kCs},
    {u"belangrijk", GmailLabel::kImportant, kNl},
    {u"importanti", GmailLabel::kImportant, kIt},
    {u"重要", GmailLabel::kImportant, kJa},
    {u"중요", GmailLabel::kImportant, kKo},
    {u"중요편지함", GmailLabel::kImportant, kKo},
    {u"muted", GmailLabel::kMarked, kEn},
    {u"read receipt sent", GmailLabel::kMarked, kEveryLanguage},
    {u"imap_$forwarded", GmailLabel::kForwarded, kEveryLanguage},
    {u"imap_forwarded", GmailLabel::kForwarded, kEveryLanguage},
};

// "Kategorie: Foren". What follows is left unread, but for English, where anybody may have a label
// that begins so.
constexpr Row kCategories[] = {
    {u"kategorie: ", GmailLabel::kCategory, kDe | kCs},
    {u"catégorie : ", GmailLabel::kCategory, kFr},
    {u"categoría: ", GmailLabel::kCategory, kEs},
    {u"categorie: ", GmailLabel::kCategory, kNl},
    {u"categoria: ", GmailLabel::kCategory, kIt | kPt},
    {u"カテゴリ: ", GmailLabel::kCategory, kJa},
    {u"카테고리 ", GmailLabel::kCategory, kKo},
};
constexpr std::u16string_view kKoreanCategory = u" 카테고리";
constexpr std::u16string_view kEnglishCategory = u"category ";
constexpr std::u16string_view kEnglishCategories[] = {u"personal", u"social",       u"promotions",
                                                      u"updates",  u"forums",       u"purchases",
                                                      u"travel",   u"reservations", u"primary"};
// Never localised.
constexpr std::u16string_view kKeyword = u"imap_";

bool IsCategory(std::u16string_view folded, GmailLanguages& languages) {
  const auto* found = std::ranges::find_if(
      kCategories, [&](const Row& row) { return folded.starts_with(row.folded); });
  if (found != std::end(kCategories)) return languages = found->languages, true;
  if (folded.ends_with(kKoreanCategory)) return languages = kKo, true;
  languages = kEn;
  return folded.starts_with(kEnglishCategory) &&
         std::ranges::find(kEnglishCategories, folded.substr(kEnglishCategory.size())) !=
             std::end(kEnglishCategories);
}

}  // namespace

GmailLabelName LookUpGmailLabel(std::u16string_view name) {
  std::u16string plain(name);
  std::ranges::replace(plain, kNoBreakSpace, u' ');
  const std::u16string folded = platform::FoldCase(plain);
  const auto* found = std::ranges::find(kRows, std::u16string_view(folded), &Row::folded);
  if (found != std::end(kRows)) return {found->label, found->languages};
  if (folded.starts_with(kKeyword)) return {GmailLabel::kMarked, kEveryLanguage};
  GmailLanguages languages = 0;
  if (IsCategory(folded, languages)) return {GmailLabel::kCategory, languages};
  return {};
}

GmailLabel GmailLabelIn(GmailLanguages languages, std::u16string_view name) {
  const GmailLabelName found = LookUpGmailLabel(name);
  return (found.languages & languages) != 0 ? found.label : GmailLabel::kOfUser;
}

void GmailLanguageVote::Add(std::u16string_view name, std::uint64_t messages) {
  const GmailLabelName found = LookUpGmailLabel(name);
  if (found.languages == kEveryLanguage) return;
  for (std::size_t i = 0; i < std::size(_votes); ++i) {
    if (found.languages >> i & 1) _votes[i] += messages;
  }
}

GmailLanguages GmailLanguageVote::Winners() const {
  const std::uint64_t most = *std::ranges::max_element(_votes);
  if (most == 0) return kEveryLanguage;
  GmailLanguages winners = 0;
  for (std::size_t i = 0; i < std::size(_votes); ++i) {
    if (_votes[i] == most) winners |= GmailLanguages{1} << i;
  }
  return winners;
}

}  // namespace parvane::sources
