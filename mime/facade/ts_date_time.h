// TsDateTime: a date as mail headers carry it.
//
// A new object, and one whose last setter failed, holds no date.
#pragma once

#include <ctime>
#include <memory>

#include "platform/time.h"

namespace Tessary {

class ClsDateTime;
class TsString;

class TsDateTime {
 public:
  TsDateTime();
  ~TsDateTime();
  TsDateTime(const TsDateTime& other);
  TsDateTime& operator=(const TsDateTime& other);
  TsDateTime(TsDateTime&& other) noexcept;
  TsDateTime& operator=(TsDateTime&& other) noexcept;

  // How narrow arguments are read: UTF-8 when set, the process's ANSI code page when clear. The
  // text of a date is ASCII, so this makes no difference to what is understood.
  bool get_Utf8() const;
  void put_Utf8(bool utf8);

  // Reads a header's date in any of the forms found in old mailboxes, and ISO 8601. On failure
  // (null included) the value is cleared.
  bool SetFromRfc822(const char* text);
  // Takes the fields of `time` as local time or as UTC; tm_wday, tm_yday and tm_isdst are ignored.
  // A day of the month of 0 is refused.
  bool SetFromTmStruct(bool local, const std::tm& time);

  // "Mon, 03 Jun 2013 10:00:00 GMT" for UTC, "Mon, 03 Jun 2013 12:00:00 +0200" for local time.
  // Fails, with an empty text, when there is no date.
  bool GetAsRfc822(bool local, TsString& out) const;
  // Fails and leaves `out` untouched when there is no date or it lies outside FILETIME's range.
  bool GetAsFileTime(bool local, parvane::platform::FileTime& out) const;
  bool GetAsFileTime(bool local, parvane::platform::FileTime* out) const;

 private:
  std::unique_ptr<ClsDateTime> _implP;
};

}  // namespace Tessary
