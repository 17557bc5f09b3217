#include "mime/facade/ts_mime.h"

#include <utility>

#include "mime/facade/cls_byte_data.h"
#include "mime/facade/cls_mime.h"
#include "mime/facade/cls_string.h"
#include "mime/facade/implementation.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_string.h"

namespace Tessary {
namespace {

std::string_view View(const char* text) { return text == nullptr ? std::string_view() : text; }

// Message bytes of no stated charset, for an output that is empty so far.
bool GiveBytes(ByteSlice bytes, std::string_view charset, TsString& out) {
  ImplementationOf(out).SetBytes(std::move(bytes), {}, charset);
  return true;
}

ClsString& Cleared(TsString& out) {
  out.clear();
  return ImplementationOf(out);
}

}  // namespace

TsMime::TsMime() : _implP(std::make_unique<ClsMime>()) {}
TsMime::TsMime(std::unique_ptr<ClsMime> implP) : _implP(std::move(implP)) {}
TsMime::~TsMime() = default;
TsMime::TsMime(TsMime&& other) noexcept : TsMime() { _implP.swap(other._implP); }
TsMime& TsMime::operator=(TsMime&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

bool TsMime::get_Utf8() const { return _implP->utf8Flag; }
void TsMime::put_Utf8(bool utf8) { _implP->utf8Flag = utf8; }

bool TsMime::LoadMime(const char* text) {
  return _implP->Load("LoadMime", ByteSlice::Copy(View(text))) && text != nullptr;
}
bool TsMime::LoadMime(const TsString& text) {
  return _implP->Load("LoadMime", ImplementationOf(text).RawSlice());
}
bool TsMime::LoadMimeBytes(const TsByteData& bytes) {
  return _implP->Load("LoadMimeBytes", ImplementationOf(bytes).Slice());
}

int TsMime::get_NumParts() { return _implP->NumParts(); }
TsMime* TsMime::GetPart(int index) {
  std::unique_ptr<ClsMime> part = _implP->Part(index);
  return part == nullptr ? nullptr : new TsMime(std::move(part));
}
bool TsMime::get_ContentType(TsString& out) { return _implP->ContentType(Cleared(out)); }
bool TsMime::IsAttachment() { return _implP->IsAttachment(); }
bool TsMime::IsMultipartRelated() { return _implP->IsMultipartRelated(); }
bool TsMime::encoding(TsString& out) { return _implP->Encoding(Cleared(out)); }

int TsMime::get_NumHeaderFields() { return _implP->NumHeaderFields(); }
bool TsMime::GetHeaderField(const char* name, TsString& out) {
  return _implP->HeaderField(View(name), Cleared(out));
}
bool TsMime::GetHeaderFieldName(int index, TsString& out) {
  return _implP->HeaderFieldName(index, Cleared(out));
}
bool TsMime::GetHeaderFieldValue(int index, TsString& out) {
  return _implP->HeaderFieldValue(index, Cleared(out));
}
bool TsMime::SetHeaderField(const char* name, const char* value) {
  return _implP->SetHeaderField(View(name), NarrowToUtf8(View(value), get_Utf8()));
}
bool TsMime::SetHeaderField(const char* name, const TsString& value) {
  return _implP->SetHeaderField(View(name), value.viewUtf8());
}
bool TsMime::RemoveHeaderField(const char* name) { return _implP->RemoveHeaderField(View(name)); }

bool TsMime::SetBody(const char* text) {
  return _implP->SetBody("SetBody", {}, ByteSlice::Copy(View(text)));
}
bool TsMime::SetBody(const TsString& text) {
  return _implP->SetBody("SetBody", {}, ImplementationOf(text).RawSlice());
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const char* text) {
  return _implP->SetBody("SetBodyFromEncoded", View(encoding), ByteSlice::Copy(View(text)));
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const TsString& text) {
  return _implP->SetBody("SetBodyFromEncoded", View(encoding), ImplementationOf(text).RawSlice());
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const TsByteData& text) {
  return _implP->SetBody("SetBodyFromEncoded", View(encoding), ByteSlice::Copy(text.view()));
}
bool TsMime::getEntireBody(TsString& out) {
  return GiveBytes(_implP->EntireBody(), _implP->Charset(), out);
}
bool TsMime::GetDecodedBody(TsByteData& out) {
  ImplementationOf(out).Set(_implP->DecodedBody());
  return true;
}
bool TsMime::getMime(TsString& out) { return GiveBytes(_implP->Mime(), _implP->Charset(), out); }

void TsMime::get_LastErrorText(TsString& out) { Cleared(out).SetUtf8(_implP->LastErrorText()); }

}  // namespace Tessary
