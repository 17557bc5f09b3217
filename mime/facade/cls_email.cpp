#include "mime/facade/cls_email.h"

#include <utility>

#include "mime/content_coding.h"
#include "mime/encoded_words.h"
#include "mime/facade/cls_byte_data.h"
#include "mime/facade/cls_string.h"
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

bool InRange(int index, std::size_t count) {
  return index >= 0 && static_cast<std::size_t>(index) < count;
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

// A field's text as it is shown.
std::string FieldText(std::string_view name, std::string value, std::string_view charset) {
  return OneLine(IsAddressField(name) ? DecodeTextToUtf8(value, {}, charset)
                                      : DecodeHeaderText(std::move(value), charset));
}

// True for text that FieldText would only trim: ASCII without control characters, and so without
// escape sequences, and without encoded words.
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

template <typename Work>
bool ClsEmail::Run(const char* operation, Work work) {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(operation);
  bool success = false;
  if (!_message) {
    _log.Say("No internal email object");
  } else {
    success = work();
  }
  _log.End(success);
  return success;
}

bool ClsEmail::SetFromMime(const char* operation, const ByteSlice& text) {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(operation);
  _message.reset();
  const bool fits = !text.empty() && text.size() <= MimeLimits::kMessageBytes;
  if (text.empty()) {
    _log.Say("The MIME text is empty.");
  } else if (!fits) {
    _log.Say("The MIME text is too large.");
  } else {
    auto entity = std::make_shared<MimeMessage2>();
    entity->Load(text, _log, _depth);
    SetMessage(std::move(entity));
  }
  _log.End(fits);
  return fits;
}

bool ClsEmail::SetFromEntity(std::shared_ptr<MimeMessage2> entity) {
  constexpr const char* kOperation = "SetFromEntity";
  if (entity->IsEmpty() || entity->depth() != _depth || !entity->Settle()) {
    return SetFromMime(kOperation, entity->Serialise());
  }
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(kOperation);
  SetMessage(std::move(entity));
  _log.End(true);
  return true;
}

void ClsEmail::SetMessage(std::shared_ptr<const MimeMessage2> entity) {
  _message.emplace(std::move(entity));
  _message->charset = FirstCharset(_message->root);
}

// ---- Header ------------------------------------------------------------------------------------

void ClsEmail::GiveHeaderText(std::string_view raw, ClsString& out) const {
  out.SetUtf8(OneLine(DecodeHeaderText(std::string(raw), _message->charset)));
}

// Several fields of the name are one list. A view of the message where there is but one.
std::string_view ClsEmail::ListText(List list, std::string& joined, std::string& scratch) const {
  std::string_view text;
  _message->root.header().ForEach(NameOf(list), [&](const MimeField& field) {
    const std::string_view value = field.Value(scratch);
    if (text.empty() && value.data() != scratch.data()) {
      text = value;
      return;
    }
    if (joined.empty()) joined = text;
    if (!joined.empty()) joined.append(", ");
    text = joined.append(value);
  });
  return text;
}

template <typename Take>
bool ClsEmail::ForEachKnown(List list, Take take) {
  const HeaderFacts* facts = _message->root.entity().facts();
  if (facts == nullptr || !facts->Knows(list)) return false;
  const MimeField* field = _message->root.header().Find(NameOf(list));
  std::string scratch;
  return field != nullptr &&
         facts->ForEachMailBox(list, field->Value(scratch),
                               [&](std::string_view name, std::string_view address) {
                                 Widen(name, _known.name);
                                 Widen(address, _known.address);
                                 return take(std::as_const(_known));
                               });
}

const std::vector<MailBox>& ClsEmail::Mailboxes(List list) {
  auto& mailboxes = _message->lists[static_cast<std::size_t>(list)];
  if (mailboxes) return *mailboxes;
  mailboxes.emplace();
  const auto keep = [&](const MailBox& mailbox) {
    mailboxes->push_back(mailbox);
    return true;
  };
  if (ForEachKnown(list, keep)) return *mailboxes;
  std::string joined;
  std::string scratch;
  const std::string_view text = ListText(list, joined, scratch);
  if (text.empty()) return *mailboxes;
  joined = std::string(text);
  std::erase(joined, '\0');
  auto read = Tessary::ParseAddressList(DecodeText(joined, {}, _message->charset));
  mailboxes->swap(read);
  return *mailboxes;
}

template <typename Take>
void ClsEmail::ForEach(List list, Take take) {
  if (!MayHave(list) || ForEachKnown(list, take)) return;
  for (const MailBox& mailbox : Mailboxes(list)) {
    if (!take(mailbox)) return;
  }
}

bool ClsEmail::From(ClsString& out) {
  return Run("get_From", [&] {
    std::u16string text;
    AppendFromTo(text);
    out.SetUtf16(std::move(text));
    return true;
  });
}

void ClsEmail::AppendFromTo(std::u16string& out) {
  bool first = true;
  ForEach(List::kFrom, [&](const MailBox& mailbox) {
    if (!first) out.append(u", ");
    first = false;
    AppendMailBox(mailbox, out);
    return true;
  });
}

bool ClsEmail::FromPart(const char* operation, MailBoxPart part, ClsString& out) {
  return Run(operation, [&] {
    const std::vector<MailBox>& from = Mailboxes(List::kFrom);
    if (from.empty()) return true;
    out.SetUtf16(part == MailBoxPart::kName ? from.front().name : from.front().address);
    return true;
  });
}

bool ClsEmail::Subject(ClsString& out) {
  return Run("get_Subject", [&] {
    std::string scratch;
    const MimeField* field = _message->root.header().Find("Subject");
    if (field != nullptr) GiveHeaderText(field->Value(scratch), out);
    return true;
  });
}

bool ClsEmail::DateText(ClsString& out) {
  return Run("get_EmailDateStr", [&] {
    std::string scratch;
    const MimeField* field = _message->root.header().Find("Date");
    if (field != nullptr) GiveHeaderText(field->Value(scratch), out);
    return true;
  });
}

bool ClsEmail::Header(ClsString& out) {
  return Run("get_Header", [&] {
    const MimeMessage2& entity = _message->root.entity();
    out.SetBytes(entity.headerSlice(), {}, _message->charset);
    return true;
  });
}

const MimeField* ClsEmail::FindField(std::string_view name) {
  if (name.empty()) {
    _log.Say("Field name is missing");
    return nullptr;
  }
  const MimeField* field = _message->root.header().Find(name);
  if (field == nullptr) _log.Say("Header field does not exist");
  return field;
}

ClsEmail::Fields::Fields(ClsEmail& email) : _email(email), _lock(email._criticalSection) {
  email._log.Begin("GetHeaderField");
  if (email._message) return;
  email._log.Say("No internal email object");
  _success = false;
}

ClsEmail::Fields::~Fields() { _email._log.End(_success); }

bool ClsEmail::Fields::View(std::string_view name, std::string& scratch, std::string_view& out) {
  if (!_email._message) return false;
  name = Trim(name);
  const MimeField* field = _email.FindField(name);
  if (field == nullptr) return _success = false;
  Message& message = *_email._message;
  if (message.decodedField != field) {
    const std::string_view value = field->Value(scratch);
    out = Trim(value);
    if (IsPlainText(out)) return true;
    // A header may fill a large message: its text is decoded where it stands.
    if (value.data() != scratch.data()) scratch = value;
    message.decodedText = FieldText(name, std::move(scratch), message.charset);
    message.decodedField = field;
  }
  out = message.decodedText;
  return true;
}

bool ClsEmail::Fields::Append(std::string_view name, std::u16string& out, std::size_t mostBytes) {
  std::string scratch;
  std::string_view text;
  if (!View(name, scratch, text)) return false;
  constexpr std::size_t kLong = 64 << 10;
  text = text.substr(0, mostBytes);
  if (text.size() > kLong) out.reserve(out.size() + text.size() + 1);
  parvane::platform::AppendUtf8AsUtf16(text, out);
  return true;
}

void ClsEmail::Fields::AppendFrom(std::u16string& out) {
  if (_email._message) _email.AppendFromTo(out);
}

bool ClsEmail::Fields::Date(DateValue& out) {
  const HeaderFacts* facts = _email._message ? _email._message->root.entity().facts() : nullptr;
  if (facts != nullptr && facts->date) {
    out = *facts->date;
    return true;
  }
  out.Clear();
  std::string scratch;
  std::string_view text;
  if (!View("Date", scratch, text)) return false;
  out.SetFromRfc822(text);
  return true;
}

bool ClsEmail::HeaderField(std::string_view name, ClsString& out) {
  Fields fields(*this);
  std::string scratch;
  std::string_view text;
  const bool success = fields.View(name, scratch, text);
  if (success) out.SetUtf8(std::string(text));
  return success;
}

void ClsEmail::ForEachMailbox(List list, const TakeMailBox& take) {
  Run("get_Recipients", [&] {
    ForEach(list, take);
    return true;
  });
}

bool ClsEmail::ForEachKnownMailbox(List list, const TakeMailBox& take) {
  return Run("get_Recipients", [&] { return ForEachKnown(list, take); });
}

int ClsEmail::RecipientCount(const char* operation, List list) {
  std::size_t count = 0;
  Run(operation, [&] {
    count = Mailboxes(list).size();
    return true;
  });
  return static_cast<int>(count);
}

bool ClsEmail::Recipient(const char* operation, List list, MailBoxPart part, int index,
                         ClsString& out) {
  return Run(operation, [&] {
    const std::vector<MailBox>& mailboxes = Mailboxes(list);
    if (!InRange(index, mailboxes.size())) {
      _log.Say("Index out of range: no recipient at index = %d.", index);
      return false;
    }
    const MailBox& mailbox = mailboxes[static_cast<std::size_t>(index)];
    out.SetUtf16(part == MailBoxPart::kName ? mailbox.name : mailbox.address);
    return true;
  });
}

// ---- Bodies ------------------------------------------------------------------------------------

bool ClsEmail::GiveBody(const Email2* node, bool html, Body& out) {
  if (node == nullptr) return false;
  out.bytes = node->entity().DecodedBody();
  out.declaredCharset = node->entity().charsetName();
  out.fallbackCharset = _message->charset;
  if (out.declaredCharset.empty()) {
    GuessCharset(out.bytes.view(), html, out.declaredCharset, out.fallbackCharset);
  }
  return true;
}

bool ClsEmail::PlainTextBody(Body& out) {
  return Run("GetPlainTextBody",
             [&] { return GiveBody(_message->structure.FindPlainTextBody(_log), false, out); });
}

bool ClsEmail::HtmlBody(Body& out) {
  return Run("GetHtmlBody",
             [&] { return GiveBody(_message->structure.FindHtmlBody(_log), true, out); });
}

bool ClsEmail::PlainTextBody(ClsString& out) {
  Body body;
  if (!PlainTextBody(body)) return false;
  out.SetBytes(std::move(body.bytes), body.declaredCharset, body.fallbackCharset);
  return true;
}

bool ClsEmail::HtmlBody(ClsString& out) {
  Body body;
  if (!HtmlBody(body)) return false;
  out.SetBytes(std::move(body.bytes), body.declaredCharset, body.fallbackCharset);
  return true;
}

// ---- Parts -------------------------------------------------------------------------------------

const std::vector<const Email2*>& ClsEmail::Parts(PartList list) const {
  const EmailStructure& structure = _message->structure;
  return list == PartList::kAttachments ? structure.attachments() : structure.relatedItems();
}

const Email2* ClsEmail::PartAt(PartList list, int index) {
  if (InRange(index, Parts(list).size())) return Parts(list)[static_cast<std::size_t>(index)];
  _log.Say(list == PartList::kAttachments ? "Index out of range: no attachment at index = %d."
                                          : "Index out of range: no related item at index = %d.",
           index);
  return nullptr;
}

int ClsEmail::PartCount(const char* operation, PartList list) {
  std::size_t count = 0;
  Run(operation, [&] {
    count = Parts(list).size();
    return true;
  });
  return static_cast<int>(count);
}

bool ClsEmail::PartData(const char* operation, PartList list, int index, ClsByteData& out) {
  return Run(operation, [&] {
    const Email2* part = PartAt(list, index);
    if (part != nullptr) out.Set(part->entity().DecodedBody());
    return part != nullptr;
  });
}

bool ClsEmail::DecodePart(PartList list, int index, ByteSink& sink) {
  return Run("DecodePart", [&] {
    const Email2* part = PartAt(list, index);
    if (part != nullptr) part->entity().DecodeBodyTo(sink);
    return part != nullptr;
  });
}

bool ClsEmail::PartFileName(const char* operation, PartList list, int index, ClsString& out) {
  return Run(operation, [&] {
    const Email2* part = PartAt(list, index);
    if (part == nullptr) return false;
    std::string name = part->FileName(_message->charset);
    if (name.empty()) {
      _log.Say("The file name is empty.");
      return false;
    }
    out.SetUtf8(std::move(name));
    return true;
  });
}

bool ClsEmail::PartContentType(const char* operation, PartList list, int index, ClsString& out) {
  return Run(operation, [&] {
    const Email2* part = PartAt(list, index);
    if (part != nullptr)
      out.SetUtf8(OneLine(DecodeTextToUtf8(part->contentType(), {}, _message->charset)));
    return part != nullptr;
  });
}

bool ClsEmail::PartField(const char* operation, PartList list, int index, std::string_view name,
                         ClsString& out) {
  return Run(operation, [&] {
    const Email2* part = PartAt(list, index);
    if (part == nullptr) return false;
    const MimeField* field = part->header().Find(name);
    if (field == nullptr) {
      _log.Say("Header field does not exist");
      return false;
    }
    std::string scratch;
    std::string_view value = Trim(field->Value(scratch));
    if (value.starts_with('<')) value.remove_prefix(1);
    if (value.ends_with('>')) value.remove_suffix(1);
    GiveHeaderText(value, out);
    return true;
  });
}

const LeftoverPart* ClsEmail::LeftoverAt(int index) {
  const auto& leftovers = _message->structure.leftovers();
  if (InRange(index, leftovers.size())) return &leftovers[static_cast<std::size_t>(index)];
  _log.Say("Index out of range: no left-over part at index = %d.", index);
  return nullptr;
}

int ClsEmail::LeftoverCount() {
  std::size_t count = 0;
  Run("get_NumLeftoverParts", [&] {
    count = _message->structure.leftovers().size();
    return true;
  });
  return static_cast<int>(count);
}

bool ClsEmail::LeftoverContentType(int index, ClsString& out) {
  return Run("GetLeftoverPartContentType", [&] {
    const LeftoverPart* part = LeftoverAt(index);
    if (part == nullptr) return false;
    if (part->node != nullptr) GiveHeaderText(part->node->contentType(), out);
    return true;
  });
}

bool ClsEmail::LeftoverName(int index, ClsString& out) {
  return Run("GetLeftoverPartName", [&] {
    const LeftoverPart* part = LeftoverAt(index);
    if (part == nullptr) return false;
    const Email2* node = part->node;
    const bool named = node != nullptr && (!node->filename().empty() || !node->name().empty());
    if (named) out.SetUtf8(node->FileName(_message->charset));
    return true;
  });
}

std::uint64_t ClsEmail::LeftoverSize(int index) {
  std::uint64_t size = 0;
  Run("GetLeftoverPartSize", [&] {
    const LeftoverPart* part = LeftoverAt(index);
    if (part != nullptr) size = part->size;
    return part != nullptr;
  });
  return size;
}

std::vector<RemovedAttachment> ClsEmail::RemovedAttachments() {
  std::vector<RemovedAttachment> removed;
  Run("get_RemovedAttachments", [&] {
    CollectRemovedAttachments(_message->root, _message->charset, removed);
    for (RemovedAttachment& attachment : removed)
      attachment.url = OneLine(DecodeTextToUtf8(attachment.url, {}, _message->charset));
    return true;
  });
  return removed;
}

int ClsEmail::AttachedMessageCount() {
  std::size_t count = 0;
  Run("get_NumAttachedMessages", [&] {
    count = _message->structure.attachedMessages().size();
    return true;
  });
  return static_cast<int>(count);
}

std::unique_ptr<ClsEmail> ClsEmail::AttachedMessage(int index) {
  std::unique_ptr<ClsEmail> inner;
  Run("GetAttachedMessage", [&] {
    const auto& messages = _message->structure.attachedMessages();
    if (!InRange(index, messages.size())) {
      _log.Say("Index out of range: no attached message at index = %d.", index);
      return false;
    }
    const Email2& node = *messages[static_cast<std::size_t>(index)];
    inner = std::make_unique<ClsEmail>(node.entity().depth() + 1);
    inner->utf8Flag = utf8Flag;
    if (inner->SetFromMime("SetFromMimeText", node.entity().DecodedBody())) return true;
    _log.Say("The attached message is empty.");
    inner.reset();
    return false;
  });
  return inner;
}

std::string ClsEmail::LastErrorText() {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  return _log.Text();
}

}  // namespace Tessary
