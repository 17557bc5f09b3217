// Conversions between representations of time. None reports a failure.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "mapi/types.h"
#include "platform/time.h"

namespace QuelmarMIMEEngineCommon::DateTimeUtilities {

using parvane::mapi::FILETIME;
using parvane::mapi::LONG;
using SYSTEMTIME = parvane::platform::SystemTime;
using TIME_ZONE_INFORMATION = parvane::platform::TimeZoneInformation;

// Not implemented: throws std::runtime_error("NotImplemented").
[[noreturn]] std::time_t ConvertStringToTime(const std::string& text);

// Reads year, month, day, hour, minute and second, in this order, from `text`. `format` is a scan
// format: white space matches any white space, "%d", "%u" and "%i" (with a width, "h", or "*" for
// a number that is passed over) a decimal number, everything else itself. Reading ends where text
// and format part; the other fields keep what they hold.
void ConvertStringToSysTime(const std::string& text, const std::string& format, SYSTEMTIME& time);
// The same, as a FILETIME (zero when the parts are no time).
void ConvertStringToFileTime(const std::string& text, const std::string& format, FILETIME& time);

// Minutes since 1601-01-01.
LONG SystemTimeToRTime(const SYSTEMTIME& time);
bool RTimeToFileTime(LONG minutes, FILETIME* time);

// first - second, in whole seconds, rounded toward zero.
std::int64_t SubtractFILETIME(const FILETIME& first, const FILETIME& second);

// "Tue, 5 Mar 2013 10:20:30 CET": weekday, date, 24-hour time and zone name in the user's locale.
// With a zone the time is taken as UTC and converted to it. Null `time` or `out`: nothing.
void SystemTimeToStringLOCALE(const SYSTEMTIME* time, const std::u16string& zoneName,
                              std::u16string* out, const TIME_ZONE_INFORMATION* zone);

}  // namespace QuelmarMIMEEngineCommon::DateTimeUtilities
