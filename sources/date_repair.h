// Repair of dates: a loose date's tokens are looked for in any order, and what was found is written
// as an RFC 822 date.
#pragma once

#include <string>
#include <string_view>

#include "platform/time.h"
#include "sources/field_changes.h"

namespace Tessary {
class MimeMessage2;
class TsMime;
class TsString;
}  // namespace Tessary

namespace parvane::sources {

struct DateFound {
  bool day = false;   // with its month and year
  bool time = false;  // or none is written
};

// DateTimeUtilities::TryFixTimeStr of UTF-8 text; `fixed` holds the new date when it succeeds, and
// `found` (may be null) what of it the text says.
bool RewriteDate(std::string_view dateText, std::string& fixed, DateFound* found = nullptr);

// The Date field as the message came with it.
struct DateBefore {
  platform::FileTime time;  // 0: it could not be read, or there is none
  bool usable = false;      // what repair made of it is a date that it says
  // As it stands, cut after 100 bytes; empty for a date that repair only writes anew.
  std::string text;
};

// FixDate; `before` may be null.
void RepairDate(const Tessary::MimeMessage2& entity, FieldChanges& changes, DateBefore* before);

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

// Rewrites the Date header; see DateTimeUtilities::TryFixTimeStr. Null is skipped.
void FixDate(Tessary::TsMime* mime);

namespace DateTimeUtilities {

// Rewrites a loose date as an RFC 822 date from what can be found in it, in any order: weekday, day
// of the month, month name, year, time, zone. A zone is put behind the time as it was written; a
// date without one is local time. Fields that are not there count as 0. False, with the text
// untouched, when that makes no date (no day of the month was found).
bool TryFixTimeStr(Tessary::TsString& dateText);

}  // namespace DateTimeUtilities

}  // namespace QuelmarMIMEEngineCommon
