// The whole of one message: its metadata and its bodies. Originators, recipients and attachments
// have files of their own.

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>

#include "convert/conversion_report.h"
#include "convert/header_readings.h"
#include "convert/message_streams.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/date_parser.h"
#include "mime/email_message.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_string.h"
#include "mime/text_decoding.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using parvane::convert::ConversionReport;
using parvane::convert::MailInHand;
using Tessary::DateValue;
using Tessary::EmailMessage;
using Tessary::TsEmail;
using Tessary::TsString;

namespace {

// Holds the Return-Path here; published as PidTagOriginalMessageId.
constexpr ULONG kReturnPathTag = PropTag(PT_UNICODE, 0x1046);
constexpr LONG kCodePageUtf8 = 65001;

// Header fields that are handed on as text.
struct TextField {
  std::string_view name;
  ULONG tag;
};
constexpr std::array<TextField, 5> kTextFields = {{{"Return-Path", kReturnPathTag},
                                                   {"Subject", PR_SUBJECT_W},
                                                   {"Message-ID", PR_INTERNET_MESSAGE_ID_W},
                                                   {"In-Reply-To", PR_IN_REPLY_TO_W},
                                                   {"References", PR_INTERNET_REFERENCES_W}}};
constexpr std::size_t kUsualText = 250;

bool HasNul(std::string_view bytes) { return bytes.find('\0') != bytes.npos; }

bool HasNul(std::u16string_view text) {
  // Without a way out of the loop, which then takes many characters at a time.
  char16_t found = 0;
  for (const char16_t c : text) found = static_cast<char16_t>(found | (c == 0 ? 1 : 0));
  return found != 0;
}

// Readers take a NUL for the end of a text, and crashed mail programs left runs of them in their
// files: what stands behind one must not be lost.
std::string_view WithoutNuls(std::string_view text, std::string& scratch) {
  if (!HasNul(text)) return text;
  scratch.reserve(text.size() -
                  static_cast<std::size_t>(std::count(text.begin(), text.end(), '\0')));
  std::copy_if(text.begin(), text.end(), std::back_inserter(scratch),
               [](char c) { return c != '\0'; });
  return scratch;
}

// The header as it stands, when it can be handed on without a copy; else null.
const char* PlainHeader(const Tessary::MimeMessage2& entity) {
  const char* header = entity.terminatedHeader();
  if (header == nullptr) return nullptr;
  const std::string_view bytes = entity.headerSlice().view();
  const bool plain = parvane::platform::AnsiCodePage() == parvane::platform::kCodePageUtf8 &&
                     Tessary::ReadsAsAscii(bytes, {}) && !HasNul(bytes);
  return plain ? header : nullptr;
}

}  // namespace

MIMEToMAPIMessageConverter::MIMEToMAPIMessageConverter(IMAPISession* session) : _sessionP(session) {
  if (_sessionP) _addressBookOpened = _sessionP->OpenAddressBook(0, nullptr, 0, &_addressBookP);
}

MIMEToMAPIMessageConverter::~MIMEToMAPIMessageConverter() {
  if (_addressBookP) _addressBookP->Release();
  _addressBookP = nullptr;
}

int MIMEToMAPIMessageConverter::WriteMail(TsEmail* email, IMessage* message, bool) {
  if (!email || !message) return -1;
  if (!_reportP || _depth > 0) {
    WriteAll(email, message);
    return 0;
  }
  RefusalLog refusals;
  if (Failed(_addressBookOpened)) NoteRefusal(_addressBookOpened, PR_ENTRYID);
  WriteAll(email, message);
  _reportP->refusals = refusals.Take();
  return 0;
}

void MIMEToMAPIMessageConverter::WriteAll(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = MessageOf(*email);
  if (parsed) _stepP->MailBegins({*parsed, _depth}, *message);
  SetPropString(message, PR_MESSAGE_CLASS_W, u"IPM.Note");
  WriteMetaData(email, message);
  WriteContent(email, message);
  WriteAttachment(email, message);
  if (!parsed) return;
  NoteLeftovers({*parsed, _depth}, *message);
  if (_reportP) NoteRemovedAttachments(*parsed);
  _stepP->MailWritten({*parsed, _depth}, *message);
}

bool MIMEToMAPIMessageConverter::WriteMetaData(TsEmail* email, IMessage* message) {
  if (!email || !message) return true;
  WriteHeaderTexts(email, message);
  WriteTimes(email, message);
  WriteFlags(email, message);
  WriteSender(email, message);
  WriteReplyTo(email, message);
  WriteRecipients(email, message);
  return true;
}

void MIMEToMAPIMessageConverter::WriteHeaderTexts(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = MessageOf(*email);
  if (!parsed) return;
  if (_stepP->TakeHeader({*parsed, _depth}, *message)) {
    // It is as the step wants it.
  } else if (const char* header = PlainHeader(parsed->entity())) {
    SetPropString(message, PR_TRANSPORT_MESSAGE_HEADERS_A, header);
  } else {
    TsString text;
    email->get_Header(text);
    if (text.getSizeAnsi() > 0) {
      std::string clean;
      const bool hasNuls = WithoutNuls(text.viewAnsi(), clean).size() != text.getSizeAnsi();
      SetPropString(message, PR_TRANSPORT_MESSAGE_HEADERS_A,
                    hasNuls ? clean.c_str() : text.getAnsi());
    }
  }

  std::u16string text;
  text.reserve(kUsualText);
  std::string scratch;
  for (const TextField& field : kTextFields) {
    std::string_view utf8;
    if (!parsed->Field(field.name, scratch, utf8)) continue;
    // A field may fill a large message, and in UTF-16 takes twice its size.
    constexpr std::size_t kLong = 4 << 20;
    if (utf8.size() > kLong) {
      parvane::convert::WriteUtf8AsUtf16Stream(*message, field.tag, utf8);
      continue;
    }
    text.clear();
    parvane::platform::AppendUtf8AsUtf16(utf8, text);
    SetPropString(message, field.tag, text.c_str());  // empty text sets nothing
  }
}

void MIMEToMAPIMessageConverter::WriteTimes(TsEmail* email, IMessage* message) {
  // The Delivery-Date reads into the same place as the Date, which it therefore keeps when it
  // cannot be read. An unreadable Date is written as 0.
  FILETIME time{};
  DateValue deliveryDate;
  EmailMessage* parsed = MessageOf(*email);
  std::string scratch;
  std::string_view text;
  parvane::convert::DateRead date;
  if (parsed) date = parvane::convert::ReadDate(*parsed);
  const bool hasDeliveryDate = parsed && parsed->Field("Delivery-Date", scratch, text);
  if (hasDeliveryDate) deliveryDate.SetFromRfc822(text);
  if (date.present) {
    time = date.time;
    SetPropTime(message, PR_CLIENT_SUBMIT_TIME, time);
    SetPropTime(message, PR_LAST_MODIFICATION_TIME, time);
    SetPropTime(message, PR_MESSAGE_DELIVERY_TIME, time);
  }
  if (_reportP && _depth == 0) {
    _reportP->dateMissing = !date.present;
    _reportP->dateUnreadable = date.present && time == FILETIME{};
    _reportP->date = time;
  }

  if (hasDeliveryDate) {
    deliveryDate.GetAsFileTime(false, &time);
    SetPropTime(message, PR_MESSAGE_DELIVERY_TIME, time);
  }
  if (_reportP && _depth == 0) _reportP->delivered = time;
}

void MIMEToMAPIMessageConverter::WriteFlags(TsEmail* email, IMessage* message) {
  // Every message is of normal priority, whatever its Priority field says; and of normal
  // importance, unless it says "low".
  EmailMessage* parsed = MessageOf(*email);
  std::string scratch;
  std::string_view text;
  const bool low = parsed && parsed->Field("Importance", scratch, text) &&
                   parvane::platform::EqualsIgnoreAsciiCase(text, "low");
  const long status = parsed ? parvane::convert::ReadMozillaStatus(*parsed) : 0;
  if (_reportP && _depth == 0)
    _reportP->markedDeleted = (status & parvane::convert::kMozillaDeleted) != 0;
  SetPropLong(message, PR_PRIORITY, 0);
  SetPropLong(message, PR_IMPORTANCE, low ? 0 : 1);
  SetPropLong(message, PR_MESSAGE_FLAGS, (status & parvane::convert::kMozillaRead) != 0 ? 1 : 0);
}

void MIMEToMAPIMessageConverter::WriteContent(TsEmail* email, IMessage* message) {
  if (!email || !message) return;
  SetPropLong(message, PR_INTERNET_CPID, kCodePageUtf8);
  const EmailMessage* parsed = MessageOf(*email);
  if (!parsed) return;
  Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
  EmailMessage::Body body;
  if (parsed->PlainTextBody(unread, body)) {
    const std::string_view bytes = body.bytes.view();
    if (Tessary::ReadsAsAscii(bytes, body.declaredCharset) && !HasNul(bytes)) {
      parvane::convert::WriteAsciiAsUtf16Stream(*message, PR_BODY_W, bytes);
    } else {
      std::u16string text = Tessary::DecodeText(bytes, body.declaredCharset, body.fallbackCharset);
      if (HasNul(text)) std::erase(text, u'\0');
      parvane::convert::WritePropertyStream(
          *message, PR_BODY_W,
          {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)});
    }
  }
  if (parsed->HtmlBody(unread, body)) {
    std::string_view text = body.bytes.view();
    std::string decoded;
    if (!Tessary::ReadsAsAscii(text, body.declaredCharset)) {
      decoded = Tessary::DecodeTextToUtf8(text, body.declaredCharset, body.fallbackCharset);
      text = decoded;
    }
    std::string clean;
    parvane::convert::WritePropertyStream(*message, PR_BODY_HTML_A, WithoutNuls(text, clean));
  }
}

void MIMEToMAPIMessageConverter::NoteRemovedAttachments(const EmailMessage& mail) {
  for (const Tessary::RemovedAttachment& removed : mail.RemovedAttachments()) {
    if (_reportP->removedAttachments.size() < ConversionReport::kMostNamed) {
      _reportP->removedAttachments.push_back(
          {parvane::platform::Utf8ToUtf16(removed.name), removed.url});
    } else {
      ++_reportP->moreRemovedAttachments;
    }
  }
}

void MIMEToMAPIMessageConverter::NoteLeftovers(const MailInHand& mail, IMessage& message) {
  for (const Tessary::LeftoverPart& part : mail.email.structure().leftovers()) {
    if (_stepP->TakeLeftover(mail, part, message) || !_reportP) continue;
    if (_reportP->unconvertedParts.size() < ConversionReport::kMostNamed) {
      _reportP->unconvertedParts.push_back(
          {mail.email.ContentType(part), parvane::platform::Utf8ToUtf16(mail.email.FileName(part)),
           part.size});
    } else {
      ++_reportP->moreUnconvertedParts;
    }
  }
}

}  // namespace QuelmarMIMEEngineCommon
