#include "mime/facade/ts_email.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mime/facade/arguments.h"
#include "mime/facade/cls_email.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_string.h"

namespace Tessary {
namespace {

static_assert(TsEmail::kMaxMessageBytes == MimeLimits::kMessageBytes);

using MailBoxText = std::u16string MailBox::*;

// ---- Header ------------------------------------------------------------------------------------

bool GiveField(EmailMessage& email, std::string_view name, ClsString& out) {
  std::string scratch;
  std::string_view text;
  const bool found = email.Field(name, scratch, text);
  if (found) out.SetUtf8(std::string(text));
  return found;
}

bool GiveFieldIfAny(ClsEmail& email, const char* operation, std::string_view name, TsString& out) {
  return email.Run(operation, [name, &text = Cleared(out)](EmailMessage& message, ParseLog&) {
    GiveField(message, name, text);
    return true;
  });
}

bool GiveFromPart(ClsEmail& email, const char* operation, MailBoxText part, TsString& out) {
  return email.Run(operation, [part, &text = Cleared(out)](EmailMessage& message, ParseLog&) {
    const std::vector<MailBox>& from = message.Mailboxes(AddressField::kFrom);
    if (!from.empty()) text.SetUtf16(from.front().*part);
    return true;
  });
}

// ---- Recipients --------------------------------------------------------------------------------

int CountRecipients(ClsEmail& email, const char* operation, AddressField list) {
  std::size_t count = 0;
  email.Run(operation, [&](EmailMessage& message, ParseLog&) {
    count = message.Mailboxes(list).size();
    return true;
  });
  return static_cast<int>(count);
}

bool GiveRecipient(ClsEmail& email, const char* operation, AddressField list, MailBoxText part,
                   int index, TsString& out) {
  ClsString& text = Cleared(out);
  return email.Run(operation, [&](EmailMessage& message, ParseLog& log) {
    const MailBox* mailbox =
        At(message.Mailboxes(list), index, "Index out of range: no recipient at index = %d.", log);
    if (mailbox != nullptr) text.SetUtf16(mailbox->*part);
    return mailbox != nullptr;
  });
}

// ---- Bodies ------------------------------------------------------------------------------------

using BodyGetter = bool (EmailMessage::*)(ParseLog&, EmailMessage::Body&) const;

bool GiveBody(ClsEmail& email, const char* operation, BodyGetter get, TsString& out) {
  ClsString& text = Cleared(out);
  return email.Run(operation, [&](EmailMessage& message, ParseLog& log) {
    EmailMessage::Body body;
    if (!(message.*get)(log, body)) return false;
    text.SetBytes(std::move(body.bytes), body.declaredCharset, body.fallbackCharset);
    return true;
  });
}

// ---- Parts -------------------------------------------------------------------------------------

// One of the lists of parts, and what is said of an index that it has not.
struct PartList {
  const std::vector<const Email2*>& (EmailStructure::*parts)() const;
  const char* outOfRange;
};
constexpr PartList kAttachments = {&EmailStructure::attachments,
                                   "Index out of range: no attachment at index = %d."};
constexpr PartList kRelatedItems = {&EmailStructure::relatedItems,
                                    "Index out of range: no related item at index = %d."};

template <typename GetList>
int Count(ClsEmail& email, const char* operation, GetList list) {
  std::size_t count = 0;
  email.Run(operation, [&](EmailMessage& message, ParseLog&) {
    count = (message.structure().*list)().size();
    return true;
  });
  return static_cast<int>(count);
}

// Runs an operation on the part of that index; `work` takes message, part and log.
template <typename Work>
bool WithPart(ClsEmail& email, const char* operation, const PartList& list, int index, Work work) {
  return email.Run(operation, [&](EmailMessage& message, ParseLog& log) {
    const Email2* const* part =
        At((message.structure().*list.parts)(), index, list.outOfRange, log);
    return part != nullptr && work(message, **part, log);
  });
}

bool GiveData(ClsEmail& email, const char* operation, const PartList& list, int index,
              TsByteData& out) {
  ClsByteData& data = Cleared(out);
  return WithPart(email, operation, list, index, [&](EmailMessage&, const Email2& part, ParseLog&) {
    data.Set(part.entity().DecodedBody());
    return true;
  });
}

bool GiveFileName(ClsEmail& email, const char* operation, const PartList& list, int index,
                  TsString& out) {
  ClsString& text = Cleared(out);
  return WithPart(email, operation, list, index,
                  [&](EmailMessage& message, const Email2& part, ParseLog& log) {
                    std::string name = message.FileName(part);
                    if (name.empty()) {
                      log.Say("The file name is empty.");
                      return false;
                    }
                    text.SetUtf8(std::move(name));
                    return true;
                  });
}

bool GiveContentType(ClsEmail& email, const char* operation, const PartList& list, int index,
                     TsString& out) {
  ClsString& text = Cleared(out);
  return WithPart(email, operation, list, index,
                  [&](EmailMessage& message, const Email2& part, ParseLog&) {
                    text.SetUtf8(message.ContentType(part));
                    return true;
                  });
}

bool GivePartField(ClsEmail& email, const char* operation, const PartList& list, int index,
                   std::string_view name, TsString& out) {
  ClsString& text = Cleared(out);
  return WithPart(email, operation, list, index,
                  [&](EmailMessage& message, const Email2& part, ParseLog& log) {
                    auto value = message.PartField(part, name);
                    if (value) {
                      text.SetUtf8(std::move(*value));
                    } else {
                      log.Say(kNoSuchField);
                    }
                    return value.has_value();
                  });
}

template <typename Work>
bool WithLeftover(ClsEmail& email, const char* operation, int index, Work work) {
  return email.Run(operation, [&](EmailMessage& message, ParseLog& log) {
    const LeftoverPart* part = At(message.structure().leftovers(), index,
                                  "Index out of range: no left-over part at index = %d.", log);
    if (part != nullptr) work(message, *part);
    return part != nullptr;
  });
}

}  // namespace

TsEmail::TsEmail() : _implP(std::make_unique<ClsEmail>()) {}
TsEmail::TsEmail(std::unique_ptr<ClsEmail> implP) : _implP(std::move(implP)) {}
TsEmail::~TsEmail() = default;
TsEmail::TsEmail(TsEmail&& other) noexcept : TsEmail() { _implP.swap(other._implP); }
TsEmail& TsEmail::operator=(TsEmail&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

bool TsEmail::get_Utf8() const { return _implP->utf8Flag; }
void TsEmail::put_Utf8(bool utf8) { _implP->utf8Flag = utf8; }

bool TsEmail::SetFromMimeText(const char* text) {
  return _implP->SetFromMime("SetFromMimeText",
                             text == nullptr ? ByteSlice() : ByteSlice::Copy(text));
}
bool TsEmail::SetFromMimeText(const TsString& text) {
  return _implP->SetFromMime("SetFromMimeText", ImplementationOf(text).RawSlice());
}
bool TsEmail::SetFromMimeBytes(const TsByteData& bytes) {
  return _implP->SetFromMime("SetFromMimeBytes", ImplementationOf(bytes).Slice());
}

bool TsEmail::get_From(TsString& out) {
  return _implP->Run("get_From", [&text = Cleared(out)](EmailMessage& message, ParseLog&) {
    std::u16string from;
    message.AppendFrom(from);
    text.SetUtf16(std::move(from));
    return true;
  });
}
bool TsEmail::get_FromAddress(TsString& out) {
  return GiveFromPart(*_implP, "get_FromAddress", &MailBox::address, out);
}
bool TsEmail::get_FromName(TsString& out) {
  return GiveFromPart(*_implP, "get_FromName", &MailBox::name, out);
}
bool TsEmail::get_Subject(TsString& out) {
  return GiveFieldIfAny(*_implP, "get_Subject", "Subject", out);
}
bool TsEmail::get_EmailDateStr(TsString& out) {
  return GiveFieldIfAny(*_implP, "get_EmailDateStr", "Date", out);
}
bool TsEmail::get_Header(TsString& out) {
  return _implP->Run("get_Header", [&text = Cleared(out)](EmailMessage& message, ParseLog&) {
    text.SetBytes(message.entity().headerSlice(), {}, message.charset());
    return true;
  });
}
bool TsEmail::GetHeaderField(const char* name, TsString& out) {
  ClsString& text = Cleared(out);
  return _implP->Run("GetHeaderField", [&](EmailMessage& message, ParseLog& log) {
    const std::string_view trimmed = Trim(View(name));
    if (!trimmed.empty() && GiveField(message, trimmed, text)) return true;
    log.Say(trimmed.empty() ? kFieldNameMissing : kNoSuchField);
    return false;
  });
}

int TsEmail::get_NumTo() { return CountRecipients(*_implP, "get_NumTo", AddressField::kTo); }
int TsEmail::get_NumCC() { return CountRecipients(*_implP, "get_NumCC", AddressField::kCc); }
int TsEmail::get_NumBcc() { return CountRecipients(*_implP, "get_NumBcc", AddressField::kBcc); }
bool TsEmail::GetToAddr(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetToAddr", AddressField::kTo, &MailBox::address, index, out);
}
bool TsEmail::GetToName(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetToName", AddressField::kTo, &MailBox::name, index, out);
}
bool TsEmail::GetCcAddr(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetCcAddr", AddressField::kCc, &MailBox::address, index, out);
}
bool TsEmail::GetCcName(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetCcName", AddressField::kCc, &MailBox::name, index, out);
}
bool TsEmail::GetBccAddr(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetBccAddr", AddressField::kBcc, &MailBox::address, index, out);
}
bool TsEmail::GetBccName(int index, TsString& out) {
  return GiveRecipient(*_implP, "GetBccName", AddressField::kBcc, &MailBox::name, index, out);
}

bool TsEmail::GetPlainTextBody(TsString& out) {
  return GiveBody(*_implP, "GetPlainTextBody", &EmailMessage::PlainTextBody, out);
}
bool TsEmail::GetHtmlBody(TsString& out) {
  return GiveBody(*_implP, "GetHtmlBody", &EmailMessage::HtmlBody, out);
}

int TsEmail::get_NumAttachments() {
  return Count(*_implP, "get_NumAttachments", &EmailStructure::attachments);
}
bool TsEmail::GetAttachmentData(int index, TsByteData& out) {
  return GiveData(*_implP, "GetAttachmentData", kAttachments, index, out);
}
bool TsEmail::GetAttachmentFilename(int index, TsString& out) {
  return GiveFileName(*_implP, "GetAttachmentFilename", kAttachments, index, out);
}
bool TsEmail::GetAttachmentContentType(int index, TsString& out) {
  return GiveContentType(*_implP, "GetAttachmentContentType", kAttachments, index, out);
}
bool TsEmail::GetAttachmentContentID(int index, TsString& out) {
  return GivePartField(*_implP, "GetAttachmentContentID", kAttachments, index, "Content-ID", out);
}

int TsEmail::get_NumRelatedItems() {
  return Count(*_implP, "get_NumRelatedItems", &EmailStructure::relatedItems);
}
bool TsEmail::GetRelatedData(int index, TsByteData& out) {
  return GiveData(*_implP, "GetRelatedData", kRelatedItems, index, out);
}
bool TsEmail::GetRelatedFilename(int index, TsString& out) {
  return GiveFileName(*_implP, "GetRelatedFilename", kRelatedItems, index, out);
}
bool TsEmail::GetRelatedContentType(int index, TsString& out) {
  return GiveContentType(*_implP, "GetRelatedContentType", kRelatedItems, index, out);
}
bool TsEmail::GetRelatedContentID(int index, TsString& out) {
  return GivePartField(*_implP, "GetRelatedContentID", kRelatedItems, index, "Content-ID", out);
}
bool TsEmail::GetRelatedContentLocation(int index, TsString& out) {
  return GivePartField(*_implP, "GetRelatedContentLocation", kRelatedItems, index,
                       "Content-Location", out);
}

int TsEmail::get_NumAttachedMessages() {
  return Count(*_implP, "get_NumAttachedMessages", &EmailStructure::attachedMessages);
}
TsEmail* TsEmail::GetAttachedMessage(int index) {
  std::unique_ptr<ClsEmail> inner = _implP->AttachedMessage(index);
  return inner == nullptr ? nullptr : new TsEmail(std::move(inner));
}

int TsEmail::get_NumLeftoverParts() {
  return Count(*_implP, "get_NumLeftoverParts", &EmailStructure::leftovers);
}
bool TsEmail::GetLeftoverPartContentType(int index, TsString& out) {
  ClsString& text = Cleared(out);
  return WithLeftover(*_implP, "GetLeftoverPartContentType", index,
                      [&](EmailMessage& message, const LeftoverPart& part) {
                        text.SetUtf8(message.ContentType(part));
                      });
}
bool TsEmail::GetLeftoverPartName(int index, TsString& out) {
  ClsString& text = Cleared(out);
  return WithLeftover(*_implP, "GetLeftoverPartName", index,
                      [&](EmailMessage& message, const LeftoverPart& part) {
                        text.SetUtf8(message.FileName(part));
                      });
}
std::uint64_t TsEmail::GetLeftoverPartSize(int index) {
  std::uint64_t size = 0;
  WithLeftover(*_implP, "GetLeftoverPartSize", index,
               [&](EmailMessage&, const LeftoverPart& part) { size = part.size; });
  return size;
}

void TsEmail::get_LastErrorText(TsString& out) { Cleared(out).SetUtf8(_implP->LastErrorText()); }

}  // namespace Tessary
