#include "mime/facade/ts_mime.h"

#include <algorithm>
#include <utility>

#include "mime/facade/arguments.h"
#include "mime/facade/cls_mime.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_string.h"
#include "mime/text_decoding.h"

namespace Tessary {
namespace {

// The charset that raw 8-bit text of the entity may be in.
std::string_view CharsetOf(const MimeMessage2& entity) {
  return entity.contentType().Get("charset");
}

void GiveText(const MimeMessage2& entity, std::string_view text, ClsString& out) {
  if (ReadsAsAscii(text, {})) {
    out.SetUtf8(std::string(text));
  } else {
    out.SetBytes(ByteSlice::Copy(text), {}, CharsetOf(entity));
  }
}

// A line end or control character in a name would break the header.
bool IsFieldName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) > ' ' && c != ':' && c != 0x7f;
  });
}

// Runs an operation on the field of that index.
template <typename Work>
bool WithField(ClsMime& mime, const char* operation, int index, Work work) {
  return mime.Run(operation, [&](MimeMessage2& entity, ParseLog& log) {
    const MimeHeader& header = entity.header();
    const bool there = index >= 0 && index < static_cast<int>(header.FieldCount());
    if (there) {
      work(entity, header.Field(static_cast<std::size_t>(index)));
    } else {
      log.Say("Index out of range: no header field at index = %d.", index);
    }
    return there;
  });
}

bool SetField(ClsMime& mime, std::string_view name, std::string_view value) {
  return mime.Run("SetHeaderField", [&](MimeMessage2& entity, ParseLog& log) {
    name = Trim(name);
    const bool valid = IsFieldName(name);
    if (valid) {
      entity.SetField(name, value);
    } else {
      log.Say(kFieldNameMissing);
    }
    return valid;
  });
}

// An empty encoding leaves the field of that name alone.
bool ReplaceBody(ClsMime& mime, const char* operation, std::string_view encoding,
                 const ByteSlice& text) {
  return mime.Run(operation, [&](MimeMessage2& entity, ParseLog&) {
    entity.ReplaceBody(text);
    if (!encoding.empty()) entity.SetField("Content-Transfer-Encoding", encoding);
    return true;
  });
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

int TsMime::get_NumParts() {
  std::size_t count = 0;
  _implP->Run("get_NumParts", [&](MimeMessage2& entity, ParseLog&) {
    count = entity.children().size();
    return true;
  });
  return static_cast<int>(count);
}
TsMime* TsMime::GetPart(int index) {
  std::unique_ptr<ClsMime> part;
  _implP->Run("GetPart", [&](MimeMessage2& entity, ParseLog& log) {
    const auto* child =
        At(entity.children(), index, "Index out of range: no part at index = %d.", log);
    if (child == nullptr) return false;
    part = std::make_unique<ClsMime>(*child);
    part->utf8Flag = _implP->utf8Flag;
    return true;
  });
  return part == nullptr ? nullptr : new TsMime(std::move(part));
}
bool TsMime::get_ContentType(TsString& out) {
  return _implP->Run("get_ContentType", [&text = Cleared(out)](MimeMessage2& entity, ParseLog&) {
    text.SetUtf8(entity.contentType().value());
    return true;
  });
}
bool TsMime::IsAttachment() {
  bool is = false;
  _implP->Run("IsAttachment", [&](MimeMessage2& entity, ParseLog&) {
    is = parvane::platform::EqualsIgnoreAsciiCase(entity.disposition().value(), "attachment");
    return true;
  });
  return is;
}
bool TsMime::IsMultipartRelated() {
  bool is = false;
  _implP->Run("IsMultipartRelated", [&](MimeMessage2& entity, ParseLog&) {
    is = entity.ContentTypeIs("multipart/related");
    return true;
  });
  return is;
}
bool TsMime::encoding(TsString& out) {
  return _implP->Run("encoding", [&text = Cleared(out)](MimeMessage2& entity, ParseLog&) {
    text.SetUtf8(entity.transferEncoding());
    return true;
  });
}

int TsMime::get_NumHeaderFields() {
  int count = 0;
  _implP->Run("get_NumHeaderFields", [&](MimeMessage2& entity, ParseLog&) {
    count = static_cast<int>(entity.header().FieldCount());
    return true;
  });
  return count;
}
bool TsMime::GetHeaderField(const char* name, TsString& out) {
  ClsString& text = Cleared(out);
  return _implP->Run("GetHeaderField", [&](MimeMessage2& entity, ParseLog& log) {
    const std::string_view trimmed = Trim(View(name));
    const MimeField* field = trimmed.empty() ? nullptr : entity.header().Find(trimmed);
    std::string scratch;
    if (field != nullptr) {
      GiveText(entity, field->Value(scratch), text);
    } else {
      log.Say(trimmed.empty() ? kFieldNameMissing : kNoSuchField);
    }
    return field != nullptr;
  });
}
bool TsMime::GetHeaderFieldName(int index, TsString& out) {
  ClsString& text = Cleared(out);
  return WithField(*_implP, "GetHeaderFieldName", index,
                   [&](const MimeMessage2& entity, const MimeField& field) {
                     GiveText(entity, field.Name(), text);
                   });
}
bool TsMime::GetHeaderFieldValue(int index, TsString& out) {
  ClsString& text = Cleared(out);
  return WithField(*_implP, "GetHeaderFieldValue", index,
                   [&](const MimeMessage2& entity, const MimeField& field) {
                     std::string scratch;
                     GiveText(entity, field.Value(scratch), text);
                   });
}
bool TsMime::SetHeaderField(const char* name, const char* value) {
  return SetField(*_implP, View(name), NarrowToUtf8(View(value), get_Utf8()));
}
bool TsMime::SetHeaderField(const char* name, const TsString& value) {
  return SetField(*_implP, View(name), value.viewUtf8());
}
bool TsMime::RemoveHeaderField(const char* name) {
  return _implP->Run("RemoveHeaderField", [&](MimeMessage2& entity, ParseLog& log) {
    const std::string_view trimmed = Trim(View(name));
    if (!trimmed.empty() && entity.RemoveField(trimmed) > 0) return true;
    log.Say(trimmed.empty() ? kFieldNameMissing : kNoSuchField);
    return false;
  });
}

bool TsMime::SetBody(const char* text) {
  return ReplaceBody(*_implP, "SetBody", {}, ByteSlice::Copy(View(text)));
}
bool TsMime::SetBody(const TsString& text) {
  return ReplaceBody(*_implP, "SetBody", {}, ImplementationOf(text).RawSlice());
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const char* text) {
  return ReplaceBody(*_implP, "SetBodyFromEncoded", View(encoding), ByteSlice::Copy(View(text)));
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const TsString& text) {
  return ReplaceBody(*_implP, "SetBodyFromEncoded", View(encoding),
                     ImplementationOf(text).RawSlice());
}
bool TsMime::SetBodyFromEncoded(const char* encoding, const TsByteData& text) {
  return ReplaceBody(*_implP, "SetBodyFromEncoded", View(encoding), ByteSlice::Copy(text.view()));
}
bool TsMime::getEntireBody(TsString& out) {
  return _implP->Run("getEntireBody", [&out](MimeMessage2& entity, ParseLog&) {
    ImplementationOf(out).SetBytes(entity.SerialiseBody(), {}, CharsetOf(entity));
    return true;
  });
}
bool TsMime::GetDecodedBody(TsByteData& out) {
  return _implP->Run("GetDecodedBody", [&out](MimeMessage2& entity, ParseLog&) {
    ImplementationOf(out).Set(entity.DecodedBody());
    return true;
  });
}
bool TsMime::getMime(TsString& out) {
  return _implP->Run("getMime", [&out](MimeMessage2& entity, ParseLog&) {
    ImplementationOf(out).SetBytes(entity.Serialise(), {}, CharsetOf(entity));
    return true;
  });
}

void TsMime::get_LastErrorText(TsString& out) { Cleared(out).SetUtf8(_implP->LastErrorText()); }

}  // namespace Tessary
