// Turns one parsed e-mail into the properties, bodies, recipients and attachments of one MAPI
// message.
//
// The caller creates the message, hands it in and saves it; the converter neither creates, saves
// nor releases it. MAPI's results are not examined: a property that fails is missing.
#pragma once

#include <string>
#include <vector>

#include "convert/conversion_step.h"
#include "convert/properties/one_off.h"
#include "mapi/session.h"

namespace Tessary {
class TsEmail;
class TsString;
}  // namespace Tessary
namespace parvane::convert {
struct ConversionReport;
}

namespace QuelmarMIMEEngineCommon {

// Short-lived: one is built for each message, and serves the messages inside it too.
class MIMEToMAPIMessageConverter {
 public:
  // Opens the session's address book, which makes the one-off entries. The session is borrowed.
  explicit MIMEToMAPIMessageConverter(parvane::mapi::IMAPISession* session);
  ~MIMEToMAPIMessageConverter();
  MIMEToMAPIMessageConverter(const MIMEToMAPIMessageConverter&) = delete;
  MIMEToMAPIMessageConverter& operator=(const MIMEToMAPIMessageConverter&) = delete;

  // Writes everything: class, metadata, bodies, attachments. -1, with nothing written, when
  // `email` or `message` is null; otherwise 0. The last argument is ignored.
  virtual int WriteMail(Tessary::TsEmail* email, parvane::mapi::IMessage* message, bool);

  // Header properties, then originators and recipients. Always true.
  bool WriteMetaData(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  // The plain body as UTF-16, the HTML body as UTF-8, whichever exist.
  void WriteContent(Tessary::TsEmail* email, parvane::mapi::IMessage* message);

  // From and Sender.
  void WriteSender(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  // Reply-To, as lists of names and addresses and as a list of entry identifiers.
  void WriteReplyTo(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  // The first mailbox of Delivered-To as who received the message. Not part of WriteMail.
  void WriteDeliveredTo(Tessary::TsEmail* email, parvane::mapi::IMessage* message);

  // To, Cc and Bcc, in this order, one row at a time.
  void WriteRecipients(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void AddRecipient(Tessary::TsString* name, Tessary::TsString* address,
                    parvane::mapi::IMessage* message, int recipientType);

  // Related items, attachments and attached messages, in this order.
  void WriteAttachment(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void WriteAttachment_File(parvane::mapi::IAttach* attachment, Tessary::TsEmail* email, int index);
  void WriteAttachment_Related(parvane::mapi::IAttach* attachment, Tessary::TsEmail* email,
                               int index);
  void WriteAttachment_EmbededMessage(parvane::mapi::IAttach* attachment, Tessary::TsEmail* email,
                                      int index);

  // Where to note what the conversion leaves behind; null: nowhere. Must outlive the conversion.
  void SetReport(parvane::convert::ConversionReport* report) { _reportP = report; }
  // A step that is taken along; null: none. Must outlive the conversion.
  void SetStep(parvane::convert::ConversionStep* step) { _stepP = step ? step : &_noStep; }

 private:
  using AttachmentWriter = void (MIMEToMAPIMessageConverter::*)(parvane::mapi::IAttach*,
                                                                Tessary::TsEmail*, int);

  void AddRecipient(const std::u16string& name, const std::u16string& address,
                    parvane::mapi::IMessage& message, parvane::mapi::ULONG recipientType);
  void WriteAll(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void WriteHeaderTexts(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void WriteTimes(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void WriteFlags(Tessary::TsEmail* email, parvane::mapi::IMessage* message);
  void WriteAttachments(Tessary::TsEmail* email, parvane::mapi::IMessage* message,
                        parvane::convert::PartKind kind,
                        const std::vector<const Tessary::Email2*>& parts, AttachmentWriter writer);
  void NoteLeftovers(const parvane::convert::MailInHand& mail, parvane::mapi::IMessage& message);
  void NoteRemovedAttachments(const Tessary::EmailMessage& mail);

  parvane::mapi::IMAPISession* _sessionP;             // borrowed
  parvane::mapi::IAddrBook* _addressBookP = nullptr;  // owned
  parvane::mapi::HRESULT _addressBookOpened = 0;
  parvane::convert::ConversionReport* _reportP = nullptr;
  parvane::convert::ConversionStep _noStep;
  parvane::convert::ConversionStep* _stepP = &_noStep;
  int _depth = 0;                  // messages around the one being written
  bool _attachmentFailed = false;  // something of the attachment in hand was refused
};

}  // namespace QuelmarMIMEEngineCommon
