#include "sources/state/header_state.h"

#include <charconv>
#include <optional>

#include "mime/encoded_words.h"
#include "mime/mime_header.h"
#include "platform/text.h"
#include "sources/state/gmail_labels.h"
#include "sources/state/keywords.h"
#include "sources/state/mozilla_flags.h"
#include "sources/state/state_headers.h"

namespace parvane::sources {
namespace {

using engine::Importance;
using engine::MessageState;
using engine::StateOrigin;
using engine::StateWishes;
using platform::EqualsIgnoreAsciiCase;

// So many digits, neither more nor fewer.
std::optional<std::uint32_t> Hex(std::string_view text, std::size_t digits) {
  std::uint32_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  const bool whole = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return whole && text.size() == digits ? std::optional(value) : std::nullopt;
}

void LearnCategories(Categories& categories, StateOrigin origin, MessageState& state) {
  if (!state.categories.value) state.moreCategories = categories.more();
  state.categories.Learn(categories.Take(), origin);
}

void ReadMozilla(const StateHeaders& headers, const StateWishes& wishes, MessageState& state) {
  constexpr auto kOrigin = StateOrigin::kMozillaHeaders;
  const auto status = Hex(headers.Raw(StateField::kMozillaStatus), 4);
  const bool keys = headers.Has(StateField::kMozillaKeys);
  if (!status && !keys) return;
  Categories categories;
  if (keys) {
    ReadKeywords(headers.Raw(StateField::kMozillaKeys), KeywordKind::kThunderbird, wishes, kOrigin,
                 state, categories);
  }
  if (status) {
    constexpr std::uint32_t kUpperHalf = 0xFFFF0000;
    const auto status2 = Hex(headers.Raw(StateField::kMozillaStatus2), 8).value_or(0);
    const std::uint32_t flags = *status | (status2 & kUpperHalf);
    ReadKeywords(OldLabel(OldLabelIn(flags)), KeywordKind::kThunderbird, wishes, kOrigin, state,
                 categories);
    // No mail that went through a server has what the composer notes for itself.
    if (headers.Has(StateField::kMozillaDraftInfo) && !headers.Has(StateField::kReceived))
      state.draft.Learn(true, kOrigin);
    ReadMozillaFlags(flags, kOrigin, state);
  }
  LearnCategories(categories, kOrigin, state);
}

void ReadCopy(const StateHeaders& headers, MessageState& state) {
  const auto status = Hex(headers.Raw(StateField::kMozillaStatus), 4);
  MessageState told;
  if (status) ReadMozillaFlags(*status, StateOrigin::kMozillaHeaders, told);
  if (told.deleted.Is(true)) state.deleted.Learn(true, StateOrigin::kMozillaHeaders);
}

void ReadStatus(const StateHeaders& headers, MailboxWriter writer, MessageState& state) {
  constexpr auto kOrigin = StateOrigin::kStatusHeaders;
  const std::string_view status = headers.Raw(StateField::kStatus);
  const std::string_view more = headers.Raw(StateField::kXStatus);
  if (headers.Has(StateField::kStatus)) {
    state.read.Learn(
        status.find_first_of(writer == MailboxWriter::kThunderbird ? "RrO" : "Rr") != status.npos,
        kOrigin);
  }
  if (!headers.Has(StateField::kStatus) && !headers.Has(StateField::kXStatus)) return;
  const auto has = [&](char flag) { return more.find(flag) != more.npos; };
  state.replied.Learn(has('A'), kOrigin);
  state.flagged.Learn(has('F'), kOrigin);
  state.draft.Learn(has('T'), kOrigin);
  state.deleted.Learn(has('D'), kOrigin);
}

void ReadKeywordHeaders(const StateHeaders& headers, const StateWishes& wishes,
                        MessageState& state) {
  constexpr auto kOrigin = StateOrigin::kStatusHeaders;
  if (state.categories.value ||
      (!headers.Has(StateField::kXKeywords) && !headers.Has(StateField::kXLabel))) {
    return;
  }
  Categories categories;
  ReadKeywords(headers.Raw(StateField::kXKeywords), KeywordKind::kOther, wishes, kOrigin, state,
               categories);
  const std::u16string label = platform::Utf8ToUtf16(
      Tessary::DecodeHeaderText(headers.Unfolded(StateField::kXLabel), "utf-8"));
  for (std::size_t at = 0; at < label.size();) {
    const std::size_t end = std::min(label.find(u',', at), label.size());
    std::u16string_view one = std::u16string_view(label).substr(at, end - at);
    while (!one.empty() && platform::IsWhiteSpace(one.front())) one.remove_prefix(1);
    while (!one.empty() && platform::IsWhiteSpace(one.back())) one.remove_suffix(1);
    categories.Add(std::u16string(one));
    at = end + 1;
  }
  LearnCategories(categories, kOrigin, state);
}

// "high" and the like; anything else is not understood.
std::optional<Importance> InWord(std::string_view text) {
  if (EqualsIgnoreAsciiCase(text, "high")) return Importance::kHigh;
  if (EqualsIgnoreAsciiCase(text, "normal")) return Importance::kNormal;
  if (EqualsIgnoreAsciiCase(text, "low")) return Importance::kLow;
  return {};
}

// "1 (Highest)" to "5 (Lowest)".
std::optional<Importance> InNumber(std::string_view text) {
  const bool alone = text.size() == 1 || (text.size() > 1 && (text[1] < '0' || text[1] > '9'));
  if (!alone || text[0] < '1' || text[0] > '5') return {};
  return text[0] < '3' ? Importance::kHigh
                       : (text[0] == '3' ? Importance::kNormal : Importance::kLow);
}

std::optional<Importance> InUrgency(std::string_view text) {
  if (EqualsIgnoreAsciiCase(text, "urgent")) return Importance::kHigh;
  if (EqualsIgnoreAsciiCase(text, "normal")) return Importance::kNormal;
  if (EqualsIgnoreAsciiCase(text, "non-urgent")) return Importance::kLow;
  return {};
}

// In the order of [MS-OXCMAIL] 2.2.3.2.5.
void ReadImportance(const StateHeaders& headers, MessageState& state) {
  std::optional<Importance> said = InWord(headers.Raw(StateField::kImportance));
  if (!said) said = InNumber(headers.Raw(StateField::kXPriority));
  if (!said) said = InWord(headers.Raw(StateField::kXMsMailPriority));
  if (!said) said = InUrgency(headers.Raw(StateField::kPriority));
  if (said) state.importance.Learn(*said, StateOrigin::kSender);
}

}  // namespace

void ReadHeaderState(const StateHeaders& headers, MailboxWriter writer, const StateWishes& wishes,
                     MessageState& state) {
  state.statusInHeader = headers.HasStatusAnywhere();
  if (writer == MailboxWriter::kThunderbirdCopy) {
    ReadCopy(headers, state);
  } else {
    ReadMozilla(headers, wishes, state);
    ReadStatus(headers, writer, state);
    ReadKeywordHeaders(headers, wishes, state);
  }
  if (writer == MailboxWriter::kLetter && headers.Raw(StateField::kUnsent) == "1")
    state.draft.Learn(true, StateOrigin::kStatusHeaders);
  if (headers.Has(StateField::kGmailLabels)) ReadGmailLabels(headers.GmailLabels(), state);
  ReadImportance(headers, state);
}

bool IsFolderData(const Tessary::MimeHeader& header) {
  // RFC 3501's servers keep the folder's UIDVALIDITY in the first of these fields.
  if (header.Find("X-IMAP") == nullptr && header.Find("X-IMAPbase") == nullptr) return false;
  const Tessary::MimeField* subject = header.Find("Subject");
  return subject != nullptr &&
         subject->RawValue().find("DON'T DELETE THIS MESSAGE -- FOLDER INTERNAL DATA") !=
             std::string_view::npos;
}

}  // namespace parvane::sources
