#include "mime/facade/ts_date_time.h"

#include <string>
#include <utility>

#include "mime/date_parser.h"
#include "mime/facade/ts_string.h"

namespace Tessary {

class ClsDateTime {
 public:
  DateValue value;
  bool utf8Flag = false;
};

TsDateTime::TsDateTime() : _implP(std::make_unique<ClsDateTime>()) {}
TsDateTime::~TsDateTime() = default;
TsDateTime::TsDateTime(const TsDateTime& other)
    : _implP(std::make_unique<ClsDateTime>(*other._implP)) {}
TsDateTime& TsDateTime::operator=(const TsDateTime& other) {
  if (this != &other) *_implP = *other._implP;
  return *this;
}
TsDateTime::TsDateTime(TsDateTime&& other) noexcept : TsDateTime() { _implP.swap(other._implP); }
TsDateTime& TsDateTime::operator=(TsDateTime&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

bool TsDateTime::get_Utf8() const { return _implP->utf8Flag; }
void TsDateTime::put_Utf8(bool utf8) { _implP->utf8Flag = utf8; }

bool TsDateTime::SetFromRfc822(const char* text) {
  if (text == nullptr) {
    _implP->value.Clear();
    return false;
  }
  return _implP->value.SetFromRfc822(text);
}

bool TsDateTime::SetFromTmStruct(bool local, const std::tm& time) {
  return _implP->value.SetFromTmStruct(local, time);
}

bool TsDateTime::GetAsRfc822(bool local, TsString& out) const {
  out.clear();
  std::string text;
  if (!_implP->value.GetAsRfc822(local, text)) return false;
  // ASCII, so the Utf8 flag of `out` makes no difference.
  out.append(std::string_view(text));
  return true;
}

bool TsDateTime::GetAsFileTime(bool local, parvane::platform::FileTime& out) const {
  return _implP->value.GetAsFileTime(local, &out);
}

bool TsDateTime::GetAsFileTime(bool local, parvane::platform::FileTime* out) const {
  return out != nullptr && _implP->value.GetAsFileTime(local, out);
}

}  // namespace Tessary
