#include "desk/viewed_message.h"

#include <span>

#include "carry/html_references.h"
#include "desk/property_text.h"
#include "desk/pst_rows.h"
#include "desk/pst_session.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/tags.h"
#include "moves/property_reading.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using mapi::SPropValue;
using mapi::ULONG;
using moves::Values;

constexpr std::size_t kLongestHeaders = 1 << 18;  // characters
constexpr std::size_t kLongestText = 1 << 16;     // of a name or a subject
constexpr std::size_t kMostRecipients = 10'000;

struct PersonTags {
  ULONG name, smtpAddress, address;
};
constexpr PersonTags kAuthor = {mapi::PR_SENT_REPRESENTING_NAME_W,
                                mapi::PR_SENT_REPRESENTING_SMTP_ADDRESS_W,
                                mapi::PR_SENT_REPRESENTING_EMAIL_ADDRESS_W};
constexpr PersonTags kSender = {mapi::PR_SENDER_NAME_W, mapi::PR_SENDER_SMTP_ADDRESS_W,
                                mapi::PR_SENDER_EMAIL_ADDRESS_W};
constexpr PersonTags kRecipient = {mapi::PR_DISPLAY_NAME_W, mapi::PR_SMTP_ADDRESS_W,
                                   mapi::PR_EMAIL_ADDRESS_W};

ViewedPerson PersonOf(const Values& values, const PersonTags& tags) {
  ViewedPerson person{std::u16string(values.Text(tags.name)),
                      std::u16string(values.Text(tags.smtpAddress))};
  if (person.address.empty()) person.address = values.Text(tags.address);
  return person;
}

std::u16string BeginningOf(mapi::IMAPIProp& object, ULONG tag, std::size_t longest, bool& read) {
  std::u16string text;
  read = moves::ReadText(object, tag, [&](std::u16string_view piece) {
    text += piece.substr(0, longest - text.size());
    return text.size() < longest;
  });
  return text;
}

class Viewer {
 public:
  Viewer(mapi::IMessage& message, ULONG keywords) : _message(message), _keywords(keywords) {}

  ViewedMessage Run() {
    ReadValues();
    bool read = true;
    _view.headers = platform::Utf16ToUtf8(
        BeginningOf(_message, mapi::PR_TRANSPORT_MESSAGE_HEADERS_W, kLongestHeaders, read));
    Note(read, "headers");
    Note(ReadRecipients(), "recipients");
    bool complete = true;
    _view.attachments = ViewAttachments(_message, complete);
    Note(complete, "attachments");
    Note(ListProperties(_message, _view.properties), "properties");
    FindBody();
    return std::move(_view);
  }

 private:
  void Note(bool read, const char* what) {
    if (!read) _view.unreadable.emplace_back(what);
  }

  void ReadValues() {
    constexpr ULONG kOwn = 10;
    mapi::SizedSPropTagArray<kOwn + kMarkTags> tags = {
        kOwn,
        {kAuthor.name, kAuthor.smtpAddress, kAuthor.address, kSender.name, kSender.smtpAddress,
         kSender.address, mapi::PR_SUBJECT_W, mapi::PR_CLIENT_SUBMIT_TIME,
         mapi::PR_MESSAGE_DELIVERY_TIME, mapi::PR_MESSAGE_SIZE}};
    AddMarkTags(tags.get(), _keywords);
    ULONG count = 0;
    mapi::MapiBuffer<SPropValue> buffer;
    if (mapi::Failed(_message.GetProps(tags.get(), mapi::MAPI_UNICODE, &count, buffer.Put())) ||
        !buffer) {
      return Note(false, "message");
    }
    const Values values(buffer.get(), count);
    _view.marks = MarksOf({0, count, buffer.get()}, _keywords);
    _view.from = PersonOf(values, kAuthor);
    const ViewedPerson sender = PersonOf(values, kSender);
    if (_view.from.name.empty() && _view.from.address.empty()) {
      _view.from = sender;
    } else if (!platform::EqualsIgnoreCase(_view.from.address, sender.address) &&
               !sender.address.empty()) {
      _view.sender = sender;
    }
    _view.subject = values.Text(mapi::PR_SUBJECT_W);
    if (values.Failed(mapi::PR_SUBJECT_W)) {
      bool read = true;
      _view.subject = BeginningOf(_message, mapi::PR_SUBJECT_W, kLongestText, read);
      Note(read, "subject");
    }
    if (const SPropValue* time = values.Find(mapi::PR_CLIENT_SUBMIT_TIME))
      _view.submitted = time->Value.ft;
    if (const SPropValue* time = values.Find(mapi::PR_MESSAGE_DELIVERY_TIME))
      _view.delivered = time->Value.ft;
    _view.bytes = values.Number(mapi::PR_MESSAGE_SIZE);
  }

  bool ReadRecipients() {
    mapi::ComPointer<mapi::IMAPITable> table;
    _message.GetRecipientTable(mapi::MAPI_UNICODE, table.Put());
    mapi::SizedSPropTagArray<4> columns = {
        4, {mapi::PR_RECIPIENT_TYPE, kRecipient.name, kRecipient.smtpAddress, kRecipient.address}};
    bool complete = true;
    std::size_t seen = 0;
    const auto add = [&](const mapi::SRow& row, std::uint64_t) {
      constexpr ULONG kKinds = 0xF;  // without what servers note of them
      const Values values(row.lpProps, row.cValues);
      const ULONG kind = values.Number(mapi::PR_RECIPIENT_TYPE) & kKinds;
      if (++seen > kMostRecipients) return complete = false, void();
      (kind == mapi::MAPI_CC    ? _view.cc
       : kind == mapi::MAPI_BCC ? _view.bcc
                                : _view.to)
          .push_back(PersonOf(values, kRecipient));
    };
    const auto lost = [&](std::uint64_t, std::uint64_t) { complete = false; };
    return table && ForEachRow(*table, columns.get(), {add, lost}) && complete;
  }

  void FindBody() {
    for (const ViewedProperty& property : _view.properties) {
      switch (mapi::PropId(property.tag)) {
        case mapi::PropId(mapi::PR_HTML):
          _view.body = ViewedBody::kHtml;
          return;
        case mapi::PropId(mapi::PR_BODY_W):
        case mapi::PropId(mapi::PR_RTF_COMPRESSED):
          _view.body = ViewedBody::kText;
          break;
        default:
          break;
      }
    }
  }

  mapi::IMessage& _message;
  ULONG _keywords;
  ViewedMessage _view;
};

ViewedAttachment Describe(const Values& row) {
  ViewedAttachment attachment;
  attachment.number = row.Number(mapi::PR_ATTACH_NUM);
  attachment.bytes = row.Number(mapi::PR_ATTACH_SIZE);
  const ULONG method = row.Number(mapi::PR_ATTACH_METHOD);
  attachment.isMessage = method == mapi::ATTACH_EMBEDDED_MSG;
  attachment.elsewhere =
      !attachment.isMessage && method != mapi::ATTACH_BY_VALUE && method != mapi::ATTACH_OLE;
  for (const ULONG tag : {mapi::PR_ATTACH_LONG_FILENAME_W, mapi::PR_ATTACH_FILENAME_W,
                          mapi::PR_DISPLAY_NAME_W, mapi::PR_ATTACH_LONG_PATHNAME_W}) {
    if (attachment.name.empty()) attachment.name = row.Text(tag);
  }
  attachment.type = platform::Utf16ToUtf8(row.Text(mapi::PR_ATTACH_MIME_TAG_W));
  const std::string id = platform::Utf16ToUtf8(row.Text(mapi::PR_ATTACH_CONTENT_ID_W));
  const std::string place = platform::Utf16ToUtf8(row.Text(mapi::PR_ATTACH_CONTENT_LOCATION_W));
  if (!id.empty()) {
    attachment.reference = carry::ReferenceToContentId(id);
  } else if (!place.empty()) {
    attachment.reference = carry::ComparableReference(place);
  }
  const SPropValue* hidden = row.Find(mapi::PR_ATTACHMENT_HIDDEN);
  attachment.inPlace = hidden && hidden->Value.b != 0;
  return attachment;
}

}  // namespace

std::vector<ViewedAttachment> ViewAttachments(mapi::IMessage& message, bool& complete) {
  std::vector<ViewedAttachment> attachments;
  mapi::ComPointer<mapi::IMAPITable> table;
  message.GetAttachmentTable(mapi::MAPI_UNICODE, table.Put());
  mapi::SizedSPropTagArray<11> columns = {
      11,
      {mapi::PR_ATTACH_NUM, mapi::PR_ATTACH_METHOD, mapi::PR_ATTACH_SIZE,
       mapi::PR_ATTACH_LONG_FILENAME_W, mapi::PR_ATTACH_FILENAME_W, mapi::PR_DISPLAY_NAME_W,
       mapi::PR_ATTACH_LONG_PATHNAME_W, mapi::PR_ATTACH_MIME_TAG_W, mapi::PR_ATTACH_CONTENT_ID_W,
       mapi::PR_ATTACH_CONTENT_LOCATION_W, mapi::PR_ATTACHMENT_HIDDEN}};
  const auto add = [&](const mapi::SRow& row, std::uint64_t) {
    attachments.push_back(Describe(Values(row.lpProps, row.cValues)));
  };
  const auto lost = [&](std::uint64_t, std::uint64_t) { complete = false; };
  complete = table && ForEachRow(*table, columns.get(), {add, lost}) && complete;
  return attachments;
}

ViewedMessage ViewMessage(mapi::IMessage& message, ULONG keywords) {
  return Viewer(message, keywords).Run();
}

}  // namespace parvane::desk
