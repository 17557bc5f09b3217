// The whole of one message: its metadata and its bodies. Originators, recipients and attachments
// have files of their own.

#include <cstdlib>
#include <string>
#include <string_view>

#include "convert/conversion_report.h"
#include "convert/message_streams.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/tags.h"
#include "mime/ts_date_time.h"
#include "mime/ts_email.h"
#include "mime/ts_string.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::TsDateTime;
using Tessary::TsEmail;
using Tessary::TsString;

namespace {

// Holds the Return-Path here; published as PidTagOriginalMessageId.
constexpr ULONG kReturnPathTag = PropTag(PT_UNICODE, 0x1046);
constexpr LONG kCodePageUtf8 = 65001;

// Readers take a NUL for the end of a text, and crashed mail programs left runs of them in their
// files: what stands behind one must not be lost.
template <typename Char>
std::basic_string_view<Char> WithoutNuls(std::basic_string_view<Char> text,
                                         std::basic_string<Char>& scratch) {
  if (text.find(Char{}) == text.npos) return text;
  scratch = text;
  std::erase(scratch, Char{});
  return scratch;
}

}  // namespace

MIMEToMAPIMessageConverter::MIMEToMAPIMessageConverter(IMAPISession* session) : _sessionP(session) {
  if (_sessionP) _sessionP->OpenAddressBook(0, nullptr, 0, &_addressBookP);
}

MIMEToMAPIMessageConverter::~MIMEToMAPIMessageConverter() {
  if (_addressBookP) _addressBookP->Release();
  _addressBookP = nullptr;
}

int MIMEToMAPIMessageConverter::WriteMail(TsEmail* email, IMessage* message, bool) {
  if (!email || !message) return -1;
  SetPropString(message, PR_MESSAGE_CLASS_W, u"IPM.Note");
  WriteMetaData(email, message);
  WriteContent(email, message);
  WriteAttachment(email, message);
  if (_reportP) NoteLeftovers(email);
  return 0;
}

bool MIMEToMAPIMessageConverter::WriteMetaData(TsEmail* email, IMessage* message) {
  WriteHeaderTexts(email, message);
  WriteTimes(email, message);
  WriteFlags(email, message);
  WriteSender(email, message);
  WriteReplyTo(email, message);
  WriteRecipients(email, message);
  return true;
}

void MIMEToMAPIMessageConverter::WriteHeaderTexts(TsEmail* email, IMessage* message) {
  TsString text;
  email->get_Header(text);
  if (text.getSizeAnsi() > 0) {
    std::string clean;
    const bool hasNuls = WithoutNuls(text.viewAnsi(), clean).size() != text.getSizeAnsi();
    SetPropString(message, PR_TRANSPORT_MESSAGE_HEADERS_A,
                  hasNuls ? clean.c_str() : text.getAnsi());
  }

  const auto writeField = [&](const char* field, ULONG tag) {
    text.clear();
    if (email->GetHeaderField(field, text)) SetPropString(message, tag, text.getUnicode());
  };
  writeField("Return-Path", kReturnPathTag);
  text.clear();
  email->get_Subject(text);
  SetPropString(message, PR_SUBJECT_W, text.getUnicode());
  writeField("Message-ID", PR_INTERNET_MESSAGE_ID_W);
  writeField("In-Reply-To", PR_IN_REPLY_TO_W);
  writeField("References", PR_INTERNET_REFERENCES_W);
}

void MIMEToMAPIMessageConverter::WriteTimes(TsEmail* email, IMessage* message) {
  // The Delivery-Date reads into the same place as the Date, which it therefore keeps when it
  // cannot be read. An unreadable Date is written as 0.
  FILETIME time{};
  TsString text;
  const bool hasDate = email->GetHeaderField("Date", text);
  if (hasDate) {
    TsDateTime date;
    date.SetFromRfc822(text.getAnsi());
    date.GetAsFileTime(false, &time);
    SetPropTime(message, PR_CLIENT_SUBMIT_TIME, time);
    SetPropTime(message, PR_LAST_MODIFICATION_TIME, time);
    SetPropTime(message, PR_MESSAGE_DELIVERY_TIME, time);
  }
  if (_reportP && _depth == 0) {
    _reportP->dateMissing = !hasDate;
    _reportP->dateUnreadable = hasDate && time == FILETIME{};
    _reportP->date = time;
  }

  text.clear();
  if (email->GetHeaderField("Delivery-Date", text)) {
    TsDateTime date;
    date.put_Utf8(true);
    date.SetFromRfc822(text.getUtf8());
    date.GetAsFileTime(false, &time);
    SetPropTime(message, PR_MESSAGE_DELIVERY_TIME, time);
  }
}

void MIMEToMAPIMessageConverter::WriteFlags(TsEmail* email, IMessage* message) {
  TsString text;
  // Every message is of normal priority, whatever its Priority field says; and of normal
  // importance, unless it says "low".
  SetPropLong(message, PR_PRIORITY, 0);
  email->GetHeaderField("Importance", text);
  SetPropLong(message, PR_IMPORTANCE, text.equalsIgnoreCase("low") ? 0 : 1);

  text.clear();
  email->GetHeaderField("X-Mozilla-Status", text);
  const long status = std::strtol(text.getAnsi(), nullptr, 16);
  SetPropLong(message, PR_MESSAGE_FLAGS, (status & 1) != 0 ? 1 : 0);
}

void MIMEToMAPIMessageConverter::WriteContent(TsEmail* email, IMessage* message) {
  SetPropLong(message, PR_INTERNET_CPID, kCodePageUtf8);
  TsString body;
  if (email->GetPlainTextBody(body)) {
    std::u16string clean;
    const std::u16string_view text = WithoutNuls(body.viewUnicode(), clean);
    parvane::convert::WritePropertyStream(
        *message, PR_BODY_W,
        {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)});
  }
  body.clear();
  if (email->GetHtmlBody(body)) {
    std::string clean;
    parvane::convert::WritePropertyStream(*message, PR_BODY_HTML_A,
                                          WithoutNuls(body.viewUtf8(), clean));
  }
}

void MIMEToMAPIMessageConverter::NoteLeftovers(TsEmail* email) {
  const int parts = email->get_NumLeftoverParts();
  TsString type;
  TsString name;
  for (int i = 0; i < parts; ++i) {
    email->GetLeftoverPartContentType(i, type);
    email->GetLeftoverPartName(i, name);
    _reportP->unconvertedParts.push_back({std::string(type.viewUtf8()),
                                          std::u16string(name.viewUnicode()),
                                          email->GetLeftoverPartSize(i)});
  }
}

}  // namespace QuelmarMIMEEngineCommon
