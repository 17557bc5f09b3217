#include "mime/facade/ts_email.h"

#include <utility>

#include "mime/facade/cls_byte_data.h"
#include "mime/facade/cls_email.h"
#include "mime/facade/cls_string.h"
#include "mime/facade/implementation.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_string.h"

namespace Tessary {
namespace {

using List = ClsEmail::List;
using Part = ClsEmail::MailBoxPart;
using PartList = ClsEmail::PartList;

static_assert(TsEmail::kMaxMessageBytes == MimeLimits::kMessageBytes);

ClsString& Cleared(TsString& out) {
  out.clear();
  return ImplementationOf(out);
}

ClsByteData& Cleared(TsByteData& out) {
  out.clear();
  return ImplementationOf(out);
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

bool TsEmail::get_From(TsString& out) { return _implP->From(Cleared(out)); }
bool TsEmail::get_FromAddress(TsString& out) {
  return _implP->FromPart("get_FromAddress", Part::kAddress, Cleared(out));
}
bool TsEmail::get_FromName(TsString& out) {
  return _implP->FromPart("get_FromName", Part::kName, Cleared(out));
}
bool TsEmail::get_Subject(TsString& out) { return _implP->Subject(Cleared(out)); }
bool TsEmail::get_EmailDateStr(TsString& out) { return _implP->DateText(Cleared(out)); }
bool TsEmail::get_Header(TsString& out) { return _implP->Header(Cleared(out)); }
bool TsEmail::GetHeaderField(const char* name, TsString& out) {
  return _implP->HeaderField(name == nullptr ? "" : name, Cleared(out));
}

int TsEmail::get_NumTo() { return _implP->RecipientCount("get_NumTo", List::kTo); }
int TsEmail::get_NumCC() { return _implP->RecipientCount("get_NumCC", List::kCc); }
int TsEmail::get_NumBcc() { return _implP->RecipientCount("get_NumBcc", List::kBcc); }
bool TsEmail::GetToAddr(int index, TsString& out) {
  return _implP->Recipient("GetToAddr", List::kTo, Part::kAddress, index, Cleared(out));
}
bool TsEmail::GetToName(int index, TsString& out) {
  return _implP->Recipient("GetToName", List::kTo, Part::kName, index, Cleared(out));
}
bool TsEmail::GetCcAddr(int index, TsString& out) {
  return _implP->Recipient("GetCcAddr", List::kCc, Part::kAddress, index, Cleared(out));
}
bool TsEmail::GetCcName(int index, TsString& out) {
  return _implP->Recipient("GetCcName", List::kCc, Part::kName, index, Cleared(out));
}
bool TsEmail::GetBccAddr(int index, TsString& out) {
  return _implP->Recipient("GetBccAddr", List::kBcc, Part::kAddress, index, Cleared(out));
}
bool TsEmail::GetBccName(int index, TsString& out) {
  return _implP->Recipient("GetBccName", List::kBcc, Part::kName, index, Cleared(out));
}

bool TsEmail::GetPlainTextBody(TsString& out) { return _implP->PlainTextBody(Cleared(out)); }
bool TsEmail::GetHtmlBody(TsString& out) { return _implP->HtmlBody(Cleared(out)); }

int TsEmail::get_NumAttachments() {
  return _implP->PartCount("get_NumAttachments", PartList::kAttachments);
}
bool TsEmail::GetAttachmentData(int index, TsByteData& out) {
  return _implP->PartData("GetAttachmentData", PartList::kAttachments, index, Cleared(out));
}
bool TsEmail::GetAttachmentFilename(int index, TsString& out) {
  return _implP->PartFileName("GetAttachmentFilename", PartList::kAttachments, index, Cleared(out));
}
bool TsEmail::GetAttachmentContentType(int index, TsString& out) {
  return _implP->PartContentType("GetAttachmentContentType", PartList::kAttachments, index,
                                 Cleared(out));
}
bool TsEmail::GetAttachmentContentID(int index, TsString& out) {
  return _implP->PartField("GetAttachmentContentID", PartList::kAttachments, index, "Content-ID",
                           Cleared(out));
}

int TsEmail::get_NumRelatedItems() {
  return _implP->PartCount("get_NumRelatedItems", PartList::kRelatedItems);
}
bool TsEmail::GetRelatedData(int index, TsByteData& out) {
  return _implP->PartData("GetRelatedData", PartList::kRelatedItems, index, Cleared(out));
}
bool TsEmail::GetRelatedFilename(int index, TsString& out) {
  return _implP->PartFileName("GetRelatedFilename", PartList::kRelatedItems, index, Cleared(out));
}
bool TsEmail::GetRelatedContentType(int index, TsString& out) {
  return _implP->PartContentType("GetRelatedContentType", PartList::kRelatedItems, index,
                                 Cleared(out));
}
bool TsEmail::GetRelatedContentID(int index, TsString& out) {
  return _implP->PartField("GetRelatedContentID", PartList::kRelatedItems, index, "Content-ID",
                           Cleared(out));
}
bool TsEmail::GetRelatedContentLocation(int index, TsString& out) {
  return _implP->PartField("GetRelatedContentLocation", PartList::kRelatedItems, index,
                           "Content-Location", Cleared(out));
}

int TsEmail::get_NumAttachedMessages() { return _implP->AttachedMessageCount(); }
TsEmail* TsEmail::GetAttachedMessage(int index) {
  std::unique_ptr<ClsEmail> inner = _implP->AttachedMessage(index);
  return inner == nullptr ? nullptr : new TsEmail(std::move(inner));
}

int TsEmail::get_NumLeftoverParts() { return _implP->LeftoverCount(); }
bool TsEmail::GetLeftoverPartContentType(int index, TsString& out) {
  return _implP->LeftoverContentType(index, Cleared(out));
}
bool TsEmail::GetLeftoverPartName(int index, TsString& out) {
  return _implP->LeftoverName(index, Cleared(out));
}
std::uint64_t TsEmail::GetLeftoverPartSize(int index) { return _implP->LeftoverSize(index); }

void TsEmail::get_LastErrorText(TsString& out) { Cleared(out).SetUtf8(_implP->LastErrorText()); }

}  // namespace Tessary
