// Related items, files and messages in messages.

#include <memory>
#include <string_view>
#include <vector>

#include "convert/conversion_report.h"
#include "convert/message_streams.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_string.h"
#include "mime/transfer_encoding.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using parvane::convert::MailInHand;
using parvane::convert::PartKind;
using Tessary::Email2;
using Tessary::EmailMessage;
using Tessary::EmailStructure;
using Tessary::TsEmail;
using Tessary::TsString;

namespace {

// Messages within messages, each parsed anew: no real mail nests so deep. What lies deeper stays
// in the raw text of none of them and is reported.
constexpr int kMaximumDepth = 100;

// Passes on whether MAPI did it.
bool Note(HRESULT result, ULONG tag) {
  if (Failed(result)) NoteRefusal(result, tag);
  return Succeeded(result);
}

using Getter = bool (TsEmail::*)(int, TsString&);

void WriteText(IAttach& attachment, TsEmail& email, int index, Getter get, ULONG tag) {
  TsString text;
  if ((email.*get)(index, text)) SetPropString(&attachment, tag, text.getUnicode());
}

void WriteFileName(IAttach& attachment, TsEmail& email, int index, Getter get) {
  TsString name;
  if (!(email.*get)(index, name)) return;
  RefusalsConcern(name.viewUnicode());
  SetPropString(&attachment, PR_ATTACH_LONG_FILENAME_W, name.getUnicode());
  SetPropString(&attachment, PR_DISPLAY_NAME_W, name.getUnicode());
}

// Decodes a part straight into the attachment's stream.
class PropertySink : public Tessary::ByteSink {
 public:
  explicit PropertySink(parvane::convert::PropertyWriter& writer) : _writer(writer) {}
  bool Take(std::string_view bytes) override { return _writer.Write(bytes); }

 private:
  parvane::convert::PropertyWriter& _writer;
};

using PartList = const std::vector<const Email2*>& (EmailStructure::*)() const;

// Null for a bad index.
const Email2* PartAt(const TsEmail& email, PartList list, int index) {
  const EmailMessage* parsed = MessageOf(email);
  if (parsed == nullptr || index < 0) return nullptr;
  const std::vector<const Email2*>& parts = (parsed->structure().*list)();
  const auto at = static_cast<std::size_t>(index);
  return at < parts.size() ? parts[at] : nullptr;
}

bool WriteData(IAttach& attachment, const Email2* part) {
  parvane::convert::PropertyWriter writer(attachment, PR_ATTACH_DATA_BIN);
  PropertySink sink(writer);
  if (part != nullptr) part->entity().DecodeBodyTo(sink);
  return writer.Commit() && part != nullptr;
}

}  // namespace

void MIMEToMAPIMessageConverter::WriteAttachment(TsEmail* email, IMessage* message) {
  const EmailMessage* parsed = email && message ? MessageOf(*email) : nullptr;
  if (!parsed) return;
  using Converter = MIMEToMAPIMessageConverter;
  const EmailStructure& parts = parsed->structure();
  WriteAttachments(email, message, PartKind::kRelatedItem, parts.relatedItems(),
                   &Converter::WriteAttachment_Related);
  WriteAttachments(email, message, PartKind::kAttachment, parts.attachments(),
                   &Converter::WriteAttachment_File);
  WriteAttachments(email, message, PartKind::kAttachedMessage, parts.attachedMessages(),
                   &Converter::WriteAttachment_EmbededMessage);
}

void MIMEToMAPIMessageConverter::WriteAttachments(TsEmail* email, IMessage* message, PartKind kind,
                                                  const std::vector<const Email2*>& parts,
                                                  AttachmentWriter writer) {
  const MailInHand mail = {*MessageOf(*email), _depth};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (_stepP->TakePart(mail, kind, *parts[i], *message)) continue;
    ULONG number = 0;
    ComPointer<IAttach> attachment;
    Note(message->CreateAttach(nullptr, 0, &number, attachment.Put()), PR_MESSAGE_ATTACHMENTS);
    bool written = false;
    if (attachment) {
      _attachmentFailed = false;
      (this->*writer)(attachment.get(), email, static_cast<int>(i));
      _stepP->AttachmentWritten(mail, *parts[i], *attachment);
      written =
          Note(attachment->SaveChanges(FORCE_SAVE), PR_MESSAGE_ATTACHMENTS) && !_attachmentFailed;
    }
    RefusalsConcern({});
    if (_reportP) ++(written ? _reportP->attachmentsWritten : _reportP->attachmentsFailed);
  }
}

void MIMEToMAPIMessageConverter::WriteAttachment_File(IAttach* attachment, TsEmail* email,
                                                      int index) {
  if (!attachment || !email) return;
  SetPropLong(attachment, PR_ATTACH_METHOD, ATTACH_BY_VALUE);
  WriteText(*attachment, *email, index, &TsEmail::GetAttachmentContentID, PR_ATTACH_CONTENT_ID_W);
  WriteFileName(*attachment, *email, index, &TsEmail::GetAttachmentFilename);
  WriteText(*attachment, *email, index, &TsEmail::GetAttachmentContentType, PR_ATTACH_MIME_TAG_W);
  if (!WriteData(*attachment, PartAt(*email, &EmailStructure::attachments, index)))
    _attachmentFailed = true;
}

void MIMEToMAPIMessageConverter::WriteAttachment_Related(IAttach* attachment, TsEmail* email,
                                                         int index) {
  if (!attachment || !email) return;
  SetPropLong(attachment, PR_ATTACH_METHOD, ATTACH_BY_VALUE);
  WriteText(*attachment, *email, index, &TsEmail::GetRelatedContentID, PR_ATTACH_CONTENT_ID_W);
  WriteText(*attachment, *email, index, &TsEmail::GetRelatedContentLocation,
            PR_ATTACH_CONTENT_LOCATION_W);
  WriteText(*attachment, *email, index, &TsEmail::GetRelatedContentType, PR_ATTACH_MIME_TAG_W);
  WriteFileName(*attachment, *email, index, &TsEmail::GetRelatedFilename);
  if (!WriteData(*attachment, PartAt(*email, &EmailStructure::relatedItems, index)))
    _attachmentFailed = true;
}

void MIMEToMAPIMessageConverter::WriteAttachment_EmbededMessage(IAttach* attachment, TsEmail* email,
                                                                int index) {
  if (!attachment || !email) return;
  SetPropLong(attachment, PR_ATTACH_METHOD, ATTACH_EMBEDDED_MSG);
  ComPointer<IMessage> inner;
  Note(attachment->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                inner.PutUnknown()),
       PR_ATTACH_DATA_OBJ);
  if (!inner) {
    _attachmentFailed = true;
    return;
  }
  SetPropLong(inner.get(), PR_MESSAGE_FLAGS, 0);
  {
    const std::unique_ptr<TsEmail> innerEmail(
        _depth < kMaximumDepth ? email->GetAttachedMessage(index) : nullptr);
    ++_depth;
    const bool parsed = WriteMail(innerEmail.get(), inner.get(), false) == 0;
    --_depth;
    // Of the attachments inside, each has been counted by itself.
    _attachmentFailed = !parsed;
  }
  if (!Note(inner->SaveChanges(FORCE_SAVE), PR_ATTACH_DATA_OBJ)) _attachmentFailed = true;
}

}  // namespace QuelmarMIMEEngineCommon
