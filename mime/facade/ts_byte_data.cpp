#include "mime/facade/ts_byte_data.h"

#include <utility>

#include "mime/facade/cls_byte_data.h"
#include "mime/facade/cls_string.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace Tessary {

TsByteData::TsByteData() : _implP(std::make_unique<ClsByteData>()) {}
TsByteData::~TsByteData() = default;
TsByteData::TsByteData(const TsByteData& other)
    : _implP(std::make_unique<ClsByteData>(*other._implP)) {}
TsByteData& TsByteData::operator=(const TsByteData& other) {
  if (this != &other) *_implP = *other._implP;
  return *this;
}
TsByteData::TsByteData(TsByteData&& other) noexcept : TsByteData() { _implP.swap(other._implP); }
TsByteData& TsByteData::operator=(TsByteData&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

bool TsByteData::get_Utf8() const { return _implP->utf8Flag; }
void TsByteData::put_Utf8(bool utf8) { _implP->utf8Flag = utf8; }

void TsByteData::append2(const void* bytes, std::size_t count) {
  if (bytes != nullptr && count > 0) {
    _implP->Append(std::string_view(static_cast<const char*>(bytes), count));
  }
}

void TsByteData::appendStr(const char* text) {
  if (text != nullptr) _implP->Append(text);
}

bool TsByteData::appendFileW(const char16_t* path) {
  if (path == nullptr) return false;
  auto file = parvane::platform::ReadWholeFile(parvane::platform::FileSystem::Default(), path);
  if (!file.ok()) return false;
  if (getSize() == 0) {
    _implP->Set(ByteSlice::Adopt(std::move(*file)));
  } else {
    _implP->Append(*file);
  }
  return true;
}

bool TsByteData::loadFile(const char* path) {
  clear();
  if (path == nullptr) return false;
  // Off Windows a narrow path is the file's own bytes whatever the flag says.
  const std::string utf8 = NarrowToUtf8(path, get_Utf8());
  return appendFileW(parvane::platform::PathFromNative(utf8).c_str());
}

void TsByteData::adopt(std::string&& bytes) { _implP->Set(ByteSlice::Adopt(std::move(bytes))); }
void TsByteData::adopt(std::vector<char>&& bytes) {
  _implP->Set(ByteSlice::Adopt(std::move(bytes)));
}
void TsByteData::adopt(std::vector<std::uint8_t>&& bytes) {
  _implP->Set(ByteSlice::Adopt(std::move(bytes)));
}
void TsByteData::clear() { _implP->Set({}); }

const unsigned char* TsByteData::getBytes() const {
  const std::string_view bytes = _implP->View();
  return bytes.empty() ? nullptr : reinterpret_cast<const unsigned char*>(bytes.data());
}
std::size_t TsByteData::getSize() const { return _implP->View().size(); }
std::string_view TsByteData::view() const { return _implP->View(); }

}  // namespace Tessary
