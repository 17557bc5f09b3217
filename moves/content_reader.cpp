#include "moves/content_reader.h"

#include <algorithm>
#include <functional>
#include <span>

#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "moves/property_reading.h"
#include "moves/text_digest.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::moves {
namespace {

using mapi::ComPointer;
using mapi::HRESULT;
using mapi::IMAPIProp;
using mapi::SPropValue;
using mapi::ULONG;
using platform::Sha256;
using platform::Sha256Digest;

constexpr mapi::LONG kRowsAtATime = 200;
// As deep as messages are written into each other.
constexpr int kMaximumDepth = 128;
constexpr ULONG kSmtpAddress = mapi::PR_SMTP_ADDRESS_W;

std::string Utf8(std::u16string_view text) { return platform::Utf16ToUtf8(Squeezed(text)); }

// A name and an address as one line that is the same however the name was quoted, and whether
// somebody without a name has none or the address for it. A placeholder for no address is none.
std::string Correspondent(std::u16string_view name, std::u16string_view address) {
  const auto folded = [](std::u16string_view text) {
    std::u16string squeezed = Squeezed(text);
    const auto isQuote = [](char16_t c) { return c == u'"' || c == u'\''; };
    while (squeezed.size() > 1 && isQuote(squeezed.front()) && squeezed.back() == squeezed.front())
      squeezed = squeezed.substr(1, squeezed.size() - 2);
    return platform::Utf16ToUtf8(platform::FoldCase(squeezed));
  };
  std::string person = folded(name), at = folded(address);
  if (at == "-@-") at.clear();
  if (person == at || person == "-") person.clear();
  return person + " <" + at + ">";
}

struct OriginatorTags {
  ULONG name, smtpAddress, address;
};
constexpr OriginatorTags kSentRepresenting = {mapi::PR_SENT_REPRESENTING_NAME_W,
                                              mapi::PR_SENT_REPRESENTING_SMTP_ADDRESS_W,
                                              mapi::PR_SENT_REPRESENTING_EMAIL_ADDRESS_W};
constexpr OriginatorTags kSender = {mapi::PR_SENDER_NAME_W, mapi::PR_SENDER_SMTP_ADDRESS_W,
                                    mapi::PR_SENDER_EMAIL_ADDRESS_W};

class Reader {
 public:
  Reader(mapi::IMessage& message, int depth) : _message(message), _depth(depth) {}

  MessageContent Run() {
    ReadValues();
    ReadBodies();
    ReadRecipients();
    ReadAttachments();
    return std::move(_content);
  }

  MessageName RunForName() {
    ReadValues();
    return {std::move(_content.messageId), std::move(_content.subject)};
  }

 private:
  void Lost(ContentField field) { _content.unreadable |= SetOf(field); }

  void ReadValues() {
    mapi::SizedSPropTagArray<12> tags = {
        12,
        {mapi::PR_SEARCH_KEY, mapi::PR_INTERNET_MESSAGE_ID_W, mapi::PR_SUBJECT_W,
         mapi::PR_CLIENT_SUBMIT_TIME, mapi::PR_MESSAGE_DELIVERY_TIME, mapi::PR_INTERNET_CPID,
         kSentRepresenting.name, kSentRepresenting.smtpAddress, kSentRepresenting.address,
         kSender.name, kSender.smtpAddress, kSender.address}};
    ULONG count = 0;
    mapi::MapiBuffer<SPropValue> buffer;
    if (mapi::Failed(_message.GetProps(tags.get(), mapi::MAPI_UNICODE, &count, buffer.Put())) ||
        !buffer) {
      _content.unreadable |= SetOf(ContentField::kSubject) | SetOf(ContentField::kOriginator) |
                             SetOf(ContentField::kDates);
      return;
    }
    const Values values(buffer.get(), count);
    if (const SPropValue* key = values.Find(mapi::PR_SEARCH_KEY);
        key && key->Value.bin.cb == sizeof(engine::MessageKey)) {
      const auto* bytes = reinterpret_cast<const std::byte*>(key->Value.bin.lpb);
      std::copy_n(bytes, key->Value.bin.cb, _content.key.emplace().begin());
    }
    _content.messageId = Utf8(TextOf(values, mapi::PR_INTERNET_MESSAGE_ID_W, std::nullopt));
    _content.subject = Utf8(TextOf(values, mapi::PR_SUBJECT_W, ContentField::kSubject));
    _content.sent = TimeOf(values, mapi::PR_CLIENT_SUBMIT_TIME);
    _content.delivered = TimeOf(values, mapi::PR_MESSAGE_DELIVERY_TIME);
    _codePage = values.Number(mapi::PR_INTERNET_CPID);
    ReadOriginator(values);
  }

  // What is too long for a row of values is read for itself.
  std::u16string TextOf(const Values& values, ULONG tag, std::optional<ContentField> field) {
    if (!values.Failed(tag)) return std::u16string(values.Text(tag));
    std::u16string text;
    const bool read = ReadText(_message, tag, [&](std::u16string_view piece) {
      text.append(piece);
      return true;
    });
    if (!read && field) Lost(*field);
    return text;
  }

  std::uint64_t TimeOf(const Values& values, ULONG tag) {
    constexpr std::uint64_t kTicksASecond = 10'000'000;
    if (values.Failed(tag)) Lost(ContentField::kDates);
    const SPropValue* value = values.Find(tag);
    return value ? platform::FileTimeTicks(value->Value.ft) / kTicksASecond : 0;
  }

  std::string OriginatorOf(const Values& values, const OriginatorTags& tags) {
    const std::u16string name = TextOf(values, tags.name, ContentField::kOriginator);
    std::u16string address = TextOf(values, tags.smtpAddress, ContentField::kOriginator);
    if (address.empty()) address = TextOf(values, tags.address, ContentField::kOriginator);
    return Correspondent(name, address);
  }

  // Who sent it for himself may be told once or twice.
  void ReadOriginator(const Values& values) {
    const std::string nobody = Correspondent({}, {});
    std::string sender = OriginatorOf(values, kSender);
    std::string author = OriginatorOf(values, kSentRepresenting);
    if (author == nobody) author = sender;
    if (sender == nobody) sender = author;
    Sha256 hash;
    hash.Update(author);
    if (sender != author) hash.Update("; " + sender);
    _content.originator = hash.Finish();
  }

  void ReadBodies() {
    TextDigest text;
    if (!ReadText(_message, mapi::PR_BODY_W, [&](std::u16string_view piece) {
          text.Take(piece);
          return true;
        }))
      Lost(ContentField::kText);
    _content.text = text.Finish();
    std::string html;
    if (!ReadProperty(_message, mapi::PR_HTML, [&](std::string_view piece) {
          html.append(piece);
          return true;
        }))
      Lost(ContentField::kHtml);
    if (!html.empty())
      _content.html = DigestOfHtml(html, _codePage ? _codePage : platform::kCodePageWindows1252);
  }

  // False when not all rows could be read.
  static bool ForEachRow(mapi::IMAPITable* table, mapi::SPropTagArray* columns,
                         const std::function<void(const Values&)>& visit) {
    if (!table || mapi::Failed(table->SetColumns(columns, 0))) return false;
    for (;;) {
      mapi::RowSet rows;
      if (mapi::Failed(table->QueryRows(kRowsAtATime, 0, rows.Put()))) return false;
      if (rows.size() == 0) return true;
      for (const mapi::SRow& row : rows) visit(Values(row.lpProps, row.cValues));
    }
  }

  void ReadRecipients() {
    ComPointer<mapi::IMAPITable> table;
    _message.GetRecipientTable(mapi::MAPI_UNICODE, table.Put());
    mapi::SizedSPropTagArray<4> columns = {
        4,
        {mapi::PR_RECIPIENT_TYPE, mapi::PR_DISPLAY_NAME_W, kSmtpAddress, mapi::PR_EMAIL_ADDRESS_W}};
    std::vector<std::string> recipients;
    const bool read = ForEachRow(table.get(), columns.get(), [&](const Values& row) {
      constexpr ULONG kKinds = 0xF;  // without what servers note of them
      std::u16string_view address = row.Text(kSmtpAddress);
      if (address.empty()) address = row.Text(mapi::PR_EMAIL_ADDRESS_W);
      const ULONG kind = row.Number(mapi::PR_RECIPIENT_TYPE) & kKinds;
      recipients.push_back(std::to_string(kind) + " " +
                           Correspondent(row.Text(mapi::PR_DISPLAY_NAME_W), address) + "\n");
    });
    if (!read) Lost(ContentField::kRecipients);
    std::ranges::sort(recipients);
    Sha256 hash;
    for (const std::string& recipient : recipients) hash.Update(recipient);
    _content.recipients = hash.Finish();
  }

  void ReadAttachments() {
    ComPointer<mapi::IMAPITable> table;
    _message.GetAttachmentTable(mapi::MAPI_UNICODE, table.Put());
    mapi::SizedSPropTagArray<1> columns = {1, {mapi::PR_ATTACH_NUM}};
    std::vector<ULONG> numbers;
    bool read = ForEachRow(table.get(), columns.get(), [&](const Values& row) {
      numbers.push_back(row.Number(mapi::PR_ATTACH_NUM));
    });
    for (const ULONG number : numbers) {
      ComPointer<mapi::IAttach> attachment;
      _message.OpenAttach(number, nullptr, 0, attachment.Put());
      read = attachment && ReadAttachment(*attachment) && read;
    }
    if (!read) Lost(ContentField::kAttachments);
    std::ranges::sort(_content.attachments);
  }

  bool ReadAttachment(mapi::IAttach& attachment) {
    mapi::SizedSPropTagArray<5> tags = {
        5,
        {mapi::PR_ATTACH_METHOD, mapi::PR_ATTACH_LONG_FILENAME_W, mapi::PR_ATTACH_FILENAME_W,
         mapi::PR_DISPLAY_NAME_W, mapi::PR_ATTACH_LONG_PATHNAME_W}};
    ULONG count = 0;
    mapi::MapiBuffer<SPropValue> buffer;
    if (mapi::Failed(attachment.GetProps(tags.get(), mapi::MAPI_UNICODE, &count, buffer.Put())) ||
        !buffer) {
      return false;
    }
    const Values values(buffer.get(), count);
    AttachmentContent& content = _content.attachments.emplace_back();
    const ULONG method = values.Number(mapi::PR_ATTACH_METHOD);
    if (method == mapi::ATTACH_EMBEDDED_MSG) return ReadEmbedded(attachment, content);
    for (const ULONG tag : std::span(tags.aulPropTag).subspan<1, 3>()) {
      if (content.name.empty()) content.name = Utf8(values.Text(tag));
    }
    Sha256 hash;
    // One that lies elsewhere is no more than its place.
    if (method != mapi::ATTACH_BY_VALUE && method != mapi::ATTACH_OLE)
      hash.Update(Utf8(values.Text(mapi::PR_ATTACH_LONG_PATHNAME_W)));
    const bool read =
        ReadProperty(attachment, mapi::PR_ATTACH_DATA_BIN, [&](std::string_view piece) {
          hash.Update(piece);
          return true;
        });
    content.digest = hash.Finish();
    return read;
  }

  bool ReadEmbedded(mapi::IAttach& attachment, AttachmentContent& content) {
    ComPointer<mapi::IMessage> message;
    if (_depth >= kMaximumDepth) return false;
    attachment.OpenProperty(mapi::PR_ATTACH_DATA_OBJ, &mapi::IID_IMessage, 0, 0,
                            message.PutUnknown());
    if (!message) return false;
    const MessageContent inner = Reader(*message, _depth + 1).Run();
    content.digest = DigestOf(inner);
    return inner.unreadable == 0;
  }

  mapi::IMessage& _message;
  int _depth;
  unsigned _codePage = 0;
  MessageContent _content;
};

}  // namespace

MessageContent ReadContent(mapi::IMessage& message) { return Reader(message, 0).Run(); }

MessageName ReadName(mapi::IMessage& message) { return Reader(message, 0).RunForName(); }

}  // namespace parvane::moves
