// Dates of mail headers: reading the many forms met there, and writing the standard one.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/time.h"

namespace Tessary {

struct StandardDate;

// A date and time with its offset from UTC, as read or set; or nothing (cleared).
//
// `local` in the conversions: true means local time of this machine, false means UTC.
class DateValue {
 public:
  bool valid() const { return _valid; }
  void Clear() { *this = DateValue(); }

  // False, and cleared, when the text holds no date.
  bool SetFromRfc822(std::string_view text);
  // What SetFromRfc822 makes of the text that the date was read from.
  static DateValue Of(const StandardDate& date);

  // "Sun, 06 Nov 1994 08:49:37 GMT" for UTC, "... 09:49:37 +0100" for local time. False, and `out`
  // empty, when cleared.
  bool GetAsRfc822(bool local, std::string& out) const;

  // The moment as FILETIME; for `local`, the local wall clock written as if it were UTC. False, and
  // `out` untouched, when cleared or before 1601.
  bool GetAsFileTime(bool local, parvane::platform::FileTime* out) const;

  // Years since 1900, months from 0; parts out of range carry over. A day of 0 is refused, and the
  // value then cleared. tm_isdst is not consulted: the zone decides.
  bool SetFromTmStruct(bool local, const std::tm& time);

  // Seconds since 1970-01-01 UTC. 0 when cleared.
  std::int64_t UnixSeconds() const { return _valid ? _seconds - _offset : 0; }
  // The offset stated by the text, in seconds east of UTC.
  std::int32_t OffsetSeconds() const { return _offset; }

 private:
  friend class DateParser;

  bool _valid = false;
  std::int64_t _seconds = 0;  // the wall clock as stated, in seconds since 1970-01-01 00:00
  std::int32_t _offset = 0;   // of that wall clock, in seconds east of UTC
};

// A date as the standard has it, "Thu, 22 Aug 2002 18:26:25 +0700", the day in one digit or two.
struct StandardDate {
  int year = 0;   // from 1900 on
  int month = 0;  // from 0
  int day = 0;    // 1 to 31, whatever the month
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::string_view zone;  // sign and four digits
  int weekday = 0;        // from Sunday, as it is named there
  std::string_view text;  // all of it, as it was read
};
// Reads one at the start of the text, which ends there or goes on with a space. False for all other
// forms, and for numbers that no clock shows.
bool ReadStandardDate(std::string_view text, StandardDate& date);

class DateParser {
 public:
  // The tolerant reader of RFC 822 dates; hands over to ParseIso8601 for YYYY-MM-DDT... Text behind
  // the first 199 characters is not looked at.
  static bool ParseRfc822(std::string_view text, DateValue* out);

  // All of ISO 8601's complete dates: calendar, ordinal and week dates in basic and extended form,
  // alone or with a time; decimal fractions of the last unit; "Z" or an offset (UTC without one).
  static bool ParseIso8601(std::string_view text, DateValue* out);

 private:
  friend class DateValue;
  static void Set(const StandardDate& date, std::int32_t offset, DateValue* out);
};

}  // namespace Tessary
