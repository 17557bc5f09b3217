// The tokens of a loose date: what is a month, a year, a time, a zone.
//
// The int arguments receive values only when the answer is true, except where stated; null is
// allowed.
#pragma once

#include <string_view>

namespace parvane::sources {

// All digits; also the empty string.
bool AllDigits(std::string_view text);
// The number at the front, with its sign; 0 when there is none.
int LeadingInteger(std::string_view text);
// "Jan" to "Dec" in any case: 0 to 11.
bool ReadMonth(std::string_view text, int* month);
// "sun" to "sat" in any case: 0 to 6. Only the three-letter forms.
bool ReadWeekday(std::string_view text, int* weekday);
// Four characters, or two: below 50 is 20xx, above is 19xx, 50 itself is none.
bool ReadYear(std::string_view text, int* year);
// "hh:mm:ss" or "hh:mm", by the places of the colons; the values are not checked.
bool ReadTime(std::string_view text, int* hour, int* minute, int* second);
// A letter, a sign with four digits, or one of fifty names, none of which counts when it has five
// characters.
bool NamesTimeZone(std::string_view text);
// 0 is Sunday; month 1 to 12.
int DayOfWeek(int day, int month, int year);

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

// The same of NUL-terminated strings; null counts as empty.
bool IsNumber(const char* s);
bool IsMonth(const char* s, int* month);
bool IsWeekday(const char* s, int* weekday);
// Stores the leading digits' value in any case; true up to 31, without a lower bound.
bool IsMonthDay(const char* s, int* day);
bool IsYear(const char* s, int* year);
bool IsTime(const char* s, int* hour, int* minute, int* second);
bool IsTimeZone(const char* s);
int GetDayOfWeek(int day, int month, int year);

}  // namespace QuelmarMIMEEngineCommon
