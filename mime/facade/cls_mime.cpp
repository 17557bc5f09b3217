#include "mime/facade/cls_mime.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>

#include "mime/facade/cls_string.h"
#include "mime/text_decoding.h"
#include "platform/text.h"

namespace Tessary {
namespace {

constexpr const char* kNameMissing = "Field name is missing";
constexpr const char* kNoField = "Header field does not exist";
constexpr const char* kBadFieldIndex = "Index out of range: no header field at index = %d.";

// Names and values with a line end or control character in a name would break the header.
bool IsFieldName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) > ' ' && c != ':' && c != 0x7f;
  });
}

bool InRange(int index, std::size_t count) {
  return index >= 0 && static_cast<std::size_t>(index) < count;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

template <typename Work>
auto ClsMime::Run(const char* operation, Work work) {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(operation);
  auto result = work();
  if constexpr (std::is_same_v<decltype(result), bool>) {
    _log.End(result);
  } else {
    _log.End(true);
  }
  return result;
}

bool ClsMime::Load(const char* operation, const ByteSlice& text) {
  return Run(operation, [&] {
    // Views of the tree that was here keep it.
    _entity = std::make_shared<MimeMessage2>();
    if (text.size() > MimeLimits::kMessageBytes) {
      _log.Say("The MIME text is too large.");
      return false;
    }
    _entity->Load(text, _log);
    return true;
  });
}

int ClsMime::NumParts() {
  return Run("get_NumParts", [&] { return static_cast<int>(_entity->children().size()); });
}

std::unique_ptr<ClsMime> ClsMime::Part(int index) {
  std::unique_ptr<ClsMime> part;
  Run("GetPart", [&] {
    if (!InRange(index, _entity->children().size())) {
      _log.Say("Index out of range: no part at index = %d.", index);
      return false;
    }
    part = std::make_unique<ClsMime>();
    part->_entity = _entity->children()[static_cast<std::size_t>(index)];
    part->utf8Flag = utf8Flag;
    return true;
  });
  return part;
}

bool ClsMime::ContentType(ClsString& out) {
  return Run("get_ContentType", [&] {
    out.SetUtf8(_entity->contentType().value());
    return true;
  });
}

bool ClsMime::IsAttachment() {
  return Run("IsAttachment", [&] {
           return static_cast<int>(parvane::platform::EqualsIgnoreAsciiCase(
               _entity->disposition().value(), "attachment"));
         }) != 0;
}

bool ClsMime::IsMultipartRelated() {
  return Run("IsMultipartRelated",
             [&] { return static_cast<int>(_entity->ContentTypeIs("multipart/related")); }) != 0;
}

bool ClsMime::Encoding(ClsString& out) {
  return Run("encoding", [&] {
    out.SetUtf8(_entity->transferEncoding());
    return true;
  });
}

int ClsMime::NumHeaderFields() {
  return Run("get_NumHeaderFields",
             [&] { return static_cast<int>(_entity->header().FieldCount()); });
}

void ClsMime::GiveValue(const MimeField& field, ClsString& out) const {
  std::string scratch;
  GiveText(field.Value(scratch), out);
}

void ClsMime::GiveText(std::string_view text, ClsString& out) const {
  if (ReadsAsAscii(text, {})) {
    out.SetUtf8(std::string(text));
  } else {
    out.SetBytes(ByteSlice::Copy(text), {}, Charset());
  }
}

const MimeField* ClsMime::FieldAt(int index) {
  const MimeHeader& header = _entity->header();
  if (InRange(index, header.FieldCount())) return &header.Field(static_cast<std::size_t>(index));
  _log.Say(kBadFieldIndex, index);
  return nullptr;
}

bool ClsMime::HeaderField(std::string_view name, ClsString& out) {
  return Run("GetHeaderField", [&] {
    name = Trim(name);
    if (name.empty()) {
      _log.Say(kNameMissing);
      return false;
    }
    const MimeField* field = _entity->header().Find(name);
    if (field == nullptr) {
      _log.Say(kNoField);
      return false;
    }
    GiveValue(*field, out);
    return true;
  });
}

bool ClsMime::HeaderFieldName(int index, ClsString& out) {
  return Run("GetHeaderFieldName", [&] {
    const MimeField* field = FieldAt(index);
    if (field != nullptr) GiveText(field->Name(), out);
    return field != nullptr;
  });
}

bool ClsMime::HeaderFieldValue(int index, ClsString& out) {
  return Run("GetHeaderFieldValue", [&] {
    const MimeField* field = FieldAt(index);
    if (field != nullptr) GiveValue(*field, out);
    return field != nullptr;
  });
}

bool ClsMime::SetHeaderField(std::string_view name, std::string_view value) {
  return Run("SetHeaderField", [&] {
    name = Trim(name);
    if (!IsFieldName(name)) {
      _log.Say(kNameMissing);
      return false;
    }
    _entity->SetField(name, value);
    return true;
  });
}

bool ClsMime::RemoveHeaderField(std::string_view name) {
  return Run("RemoveHeaderField", [&] {
    name = Trim(name);
    if (name.empty()) {
      _log.Say(kNameMissing);
      return false;
    }
    if (_entity->RemoveField(name) > 0) return true;
    _log.Say(kNoField);
    return false;
  });
}

bool ClsMime::SetBody(const char* operation, std::string_view encoding, const ByteSlice& text) {
  return Run(operation, [&] {
    _entity->ReplaceBody(text);
    if (!encoding.empty()) _entity->SetField("Content-Transfer-Encoding", encoding);
    return true;
  });
}

ByteSlice ClsMime::EntireBody() {
  return Run("getEntireBody", [&] { return _entity->SerialiseBody(); });
}

ByteSlice ClsMime::DecodedBody() {
  return Run("GetDecodedBody", [&] { return _entity->DecodedBody(); });
}

ByteSlice ClsMime::Mime() {
  return Run("getMime", [&] { return _entity->Serialise(); });
}

std::string ClsMime::LastErrorText() {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  return _log.Text();
}

}  // namespace Tessary
