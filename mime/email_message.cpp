#include "mime/email_message.h"

#include <utility>

#include "mime/content_coding.h"
#include "mime/encoded_words.h"
#include "mime/html_charset.h"
#include "mime/text_decoding.h"
#include "platform/simd/ascii.h"
#include "platform/simd/scan.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::EqualsIgnoreAsciiCase;

std::string_view Trim(std::string_view text) {
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Their words are decoded only once a mailbox has been parsed: a decoded name may hold a comma.
bool IsAddressField(std::string_view name) {
  for (const std::string_view field :
       {"From", "Sender", "Reply-To", "To", "Cc", "Bcc", "Delivered-To", "Resent-From",
        "Resent-Sender", "Resent-To", "Resent-Cc", "Resent-Bcc", "Mail-Followup-To"}) {
    if (EqualsIgnoreAsciiCase(name, field)) return true;
  }
  return false;
}

// The first charset stated anywhere in the tree.
std::string_view FirstCharset(const Email2& node) {
  const std::string_view own = node.entity().contentType().Get("charset");
  if (!own.empty()) return own;
  for (const Email2& child : node.children()) {
    const std::string_view found = FirstCharset(child);
    if (!found.empty()) return found;
  }
  return {};
}

void Widen(std::string_view ascii, std::u16string& out) {
  out.resize(ascii.size());
  parvane::platform::simd::WidenAsciiPrefix(ascii.data(), ascii.size(), out.data());
}

// A header's text on one line: line ends, raw or decoded, become spaces and NUL goes.
std::string OneLine(std::string text) {
  std::erase(text, '\0');
  for (char& c : text) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  const std::string_view trimmed = Trim(text);
  text.erase(0, static_cast<std::size_t>(trimmed.data() - text.data()));
  text.resize(trimmed.size());
  return text;
}

std::string OneLineWithWords(std::string_view raw, std::string_view charset) {
  return OneLine(DecodeTextToUtf8(raw, {}, charset));
}

std::string OneLineDecoded(std::string raw, std::string_view charset) {
  return OneLine(DecodeHeaderText(std::move(raw), charset));
}

// True for text that would only be trimmed: ASCII without control characters, and so without escape
// sequences, and without encoded words.
bool IsPlainText(std::string_view value) {
  const auto find = [value](std::size_t from) {
    return from + parvane::platform::simd::FindNotPlain(value.data() + from, value.size() - from);
  };
  std::size_t at = find(0);
  if (at == value.size()) return true;
  while (at < value.size() && value[at] == '?') at = find(at + 1);
  return at == value.size() && !ContentCoding::HasEncodedWords(value);
}

}  // namespace

EmailMessage::EmailMessage(std::shared_ptr<const MimeMessage2> entity)
    : _entity(std::move(entity)),
      _root(*_entity),
      _structure(_root),
      _charset(FirstCharset(_root)) {}

// ---- Header ------------------------------------------------------------------------------------

bool EmailMessage::Field(std::string_view name, std::string& scratch, std::string_view& out) {
  const MimeField* field = _root.header().Find(name);
  if (field == nullptr) return false;
  if (_decodedField != field) {
    const std::string_view value = field->Value(scratch);
    out = Trim(value);
    if (IsPlainText(out)) return true;
    // A header may fill a large message: its text is decoded where it stands.
    if (value.data() != scratch.data()) scratch = value;
    _decodedText = IsAddressField(name) ? OneLineWithWords(scratch, _charset)
                                        : OneLineDecoded(std::move(scratch), _charset);
    _decodedField = field;
  }
  out = _decodedText;
  return true;
}

bool EmailMessage::AppendField(std::string_view name, std::u16string& out, std::size_t mostBytes) {
  std::string scratch;
  std::string_view text;
  if (!Field(name, scratch, text)) return false;
  constexpr std::size_t kLong = 64 << 10;
  text = text.substr(0, mostBytes);
  if (text.size() > kLong) out.reserve(out.size() + text.size() + 1);
  parvane::platform::AppendUtf8AsUtf16(text, out);
  return true;
}

bool EmailMessage::Date(DateValue& out) {
  const HeaderFacts* facts = _entity->facts();
  if (facts != nullptr && facts->date) {
    out = *facts->date;
    return true;
  }
  out.Clear();
  std::string scratch;
  std::string_view text;
  if (!Field("Date", scratch, text)) return false;
  out.SetFromRfc822(text);
  return true;
}

// Several fields of the name are one list. A view of the message where there is but one; folds are
// still in it.
std::string_view EmailMessage::ListText(AddressField list, std::string& joined) const {
  std::string_view text;
  _root.header().ForEach(NameOf(list), [&](const MimeField& field) {
    if (text.empty()) {
      text = field.RawValue();
      return;
    }
    if (joined.empty()) joined = text;
    text = joined.append(", ").append(field.RawValue());
  });
  return text;
}

template <typename Take>
bool EmailMessage::ForEachKnown(AddressField list, Take take) {
  const HeaderFacts* facts = _entity->facts();
  if (facts == nullptr || !facts->Knows(list)) return false;
  const MimeField* field = _root.header().Find(NameOf(list));
  std::string scratch;
  return field != nullptr &&
         facts->ForEachMailBox(list, field->Value(scratch),
                               [&](std::string_view name, std::string_view address) {
                                 Widen(name, _known.name);
                                 Widen(address, _known.address);
                                 return take(std::as_const(_known));
                               });
}

const std::vector<MailBox>& EmailMessage::Mailboxes(AddressField list) {
  auto& mailboxes = _lists[static_cast<std::size_t>(list)];
  if (mailboxes) return *mailboxes;
  mailboxes.emplace();
  const auto keep = [&](auto& mailbox) {
    mailboxes->push_back(std::move(mailbox));
    return true;
  };
  if (!ForEachKnown(list, keep)) ForEachRead(list, keep);
  return *mailboxes;
}

template <typename Take>
void EmailMessage::ForEachRead(AddressField list, Take take) {
  std::string joined;
  std::string scratch;
  std::string clean;
  for (std::string_view text = ListText(list, joined); !text.empty();) {
    clean = Unfold(TakePiece(text), scratch);
    std::erase(clean, '\0');
    for (MailBox& mailbox : ParseAddressList(DecodeText(clean, {}, _charset))) {
      if (!take(mailbox)) return;
    }
  }
}

template <typename Take>
void EmailMessage::ForEach(AddressField list, Take take) {
  if (!MayHave(list) || ForEachKnown(list, take)) return;
  // A list that fills a large message is read again rather than kept.
  constexpr std::size_t kLong = 128 * 1024;
  const MimeField* field = _root.header().Find(NameOf(list));
  if (field != nullptr && field->Raw().size() > kLong) {
    ForEachRead(list, [&](MailBox& mailbox) { return take(std::as_const(mailbox)); });
    return;
  }
  for (const MailBox& mailbox : Mailboxes(list)) {
    if (!take(mailbox)) return;
  }
}

void EmailMessage::AppendFrom(std::u16string& out) {
  bool first = true;
  ForEach(AddressField::kFrom, [&](const MailBox& mailbox) {
    if (!first) out.append(u", ");
    first = false;
    AppendMailBox(mailbox, out);
    return true;
  });
}

void EmailMessage::ForEachMailbox(AddressField list, const TakeMailBox& take) {
  ForEach(list, std::ref(take));
}

bool EmailMessage::ForEachKnownMailbox(AddressField list, const TakeMailBox& take) {
  return ForEachKnown(list, std::ref(take));
}

// ---- Bodies ------------------------------------------------------------------------------------

bool EmailMessage::ReadBody(const Email2* node, bool html, Body& out) const {
  if (node == nullptr) return false;
  out.bytes = node->entity().DecodedBody();
  out.declaredCharset = node->entity().charsetName();
  out.fallbackCharset = _charset;
  if (out.declaredCharset.empty()) {
    GuessCharset(out.bytes.view(), html, out.declaredCharset, out.fallbackCharset);
  }
  return true;
}

bool EmailMessage::PlainTextBody(ParseLog& log, Body& out) const {
  return ReadBody(_structure.FindPlainTextBody(log), false, out);
}

bool EmailMessage::HtmlBody(ParseLog& log, Body& out) const {
  return ReadBody(_structure.FindHtmlBody(log), true, out);
}

// ---- Parts -------------------------------------------------------------------------------------

std::string EmailMessage::ContentType(const Email2& part) const {
  return OneLineWithWords(part.contentType(), _charset);
}

std::optional<std::string> EmailMessage::PartField(const Email2& part,
                                                   std::string_view name) const {
  const MimeField* field = part.header().Find(name);
  if (field == nullptr) return std::nullopt;
  std::string scratch;
  std::string_view value = Trim(field->Value(scratch));
  if (value.starts_with('<')) value.remove_prefix(1);
  if (value.ends_with('>')) value.remove_suffix(1);
  return OneLineDecoded(std::string(value), _charset);
}

std::string EmailMessage::ContentType(const LeftoverPart& part) const {
  return part.node == nullptr ? std::string()
                              : OneLineDecoded(std::string(part.node->contentType()), _charset);
}

std::string EmailMessage::FileName(const LeftoverPart& part) const {
  const Email2* node = part.node;
  const bool named = node != nullptr && (!node->filename().empty() || !node->name().empty());
  return named ? FileName(*node) : std::string();
}

std::vector<RemovedAttachment> EmailMessage::RemovedAttachments() const {
  std::vector<RemovedAttachment> removed;
  CollectRemovedAttachments(_root, _charset, removed);
  for (RemovedAttachment& attachment : removed)
    attachment.url = OneLineWithWords(attachment.url, _charset);
  return removed;
}

}  // namespace Tessary
