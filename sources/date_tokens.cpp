#include "sources/date_tokens.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>

#include "platform/text.h"

namespace parvane::sources {
namespace {

using platform::EqualsIgnoreAsciiCase;

constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<std::string_view, 7> kWeekdays = {"sun", "mon", "tue", "wed",
                                                       "thu", "fri", "sat"};
constexpr std::array<std::string_view, 50> kTimeZones = {
    "ADT",  "AST",   "BDT", "BST", "CDT",  "CEDT", "CET",  "CST",   "EDT",  "EST",
    "GDT",  "GMT",   "HDT", "HST", "MDT",  "MST",  "NDT",  "NST",   "PDT",  "PST",
    "UT",   "YDT",   "YST", "YW1", "YW2",  "YW3",  "ZE10", "ZE10B", "ZE11", "ZE11B",
    "ZE12", "ZE12C", "ZE2", "ZE3", "ZE3B", "ZE4",  "ZE4B", "ZE5",   "ZE5B", "ZE5C",
    "ZE6",  "ZE6B",  "ZE7", "ZE8", "ZE9",  "ZE9B", "ZW1",  "ZW12",  "ZW3",  "ZW9B"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool FindName(std::span<const std::string_view> names, std::string_view text, int* index) {
  // All names are short, and nothing but letters begins one.
  if (text.empty() || text.size() > 5 || !IsLetter(text.front())) return false;
  const auto found = std::find_if(names.begin(), names.end(), [&](std::string_view name) {
    return name.size() == text.size() && ((name.front() ^ text.front()) & 0xDF) == 0 &&
           EqualsIgnoreAsciiCase(name, text);
  });
  if (found == names.end()) return false;
  if (index) *index = static_cast<int>(found - names.begin());
  return true;
}

// The number at the front, with its sign, taken off `text`. False when there is none.
bool TakeInteger(std::string_view& text, int& value) {
  std::string_view rest = text;
  const bool negative = rest.starts_with('-');
  if (negative || rest.starts_with('+')) rest.remove_prefix(1);
  if (rest.empty() || !IsDigit(rest.front())) return false;
  int number = 0;
  for (; !rest.empty() && IsDigit(rest.front()); rest.remove_prefix(1))
    if (number < 100'000'000) number = number * 10 + (rest.front() - '0');
  value = negative ? -number : number;
  text = rest;
  return true;
}

// Reads numbers separated by colons until one is missing.
void ReadClock(std::string_view text, std::initializer_list<int*> fields) {
  bool first = true;
  for (int* field : fields) {
    if (!first) {
      if (!text.starts_with(':')) return;
      text.remove_prefix(1);
    }
    first = false;
    int value = 0;
    if (!TakeInteger(text, value)) return;
    if (field) *field = value;
  }
}

}  // namespace

bool AllDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }

int LeadingInteger(std::string_view text) {
  int value = 0;
  TakeInteger(text, value);
  return value;
}

bool ReadMonth(std::string_view text, int* month) { return FindName(kMonths, text, month); }

bool ReadWeekday(std::string_view text, int* weekday) { return FindName(kWeekdays, text, weekday); }

bool ReadYear(std::string_view text, int* year) {
  int value = LeadingInteger(text);
  if (text.size() == 2) {
    if (value == 50 || value >= 100) return false;
    value += value < 50 ? 2000 : 1900;
  } else if (text.size() != 4) {
    return false;
  }
  if (year) *year = value;
  return true;
}

bool ReadTime(std::string_view text, int* hour, int* minute, int* second) {
  if (text.size() == 8 && text[2] == ':' && text[5] == ':') {
    ReadClock(text, {hour, minute, second});
    return true;
  }
  if (text.size() == 5 && text[2] == ':') {
    ReadClock(text, {hour, minute});
    if (second) *second = 0;
    return true;
  }
  return false;
}

bool NamesTimeZone(std::string_view text) {
  if (text.size() == 1) return IsLetter(text[0]);
  if (text.size() == 5) return (text[0] == '+' || text[0] == '-') && AllDigits(text.substr(1));
  return FindName(kTimeZones, text, nullptr);
}

int DayOfWeek(int day, int month, int year) {
  const int a = (14 - month) / 12;
  const int y = year - a;
  const int m = month + 12 * a - 2;
  return (day + y + y / 4 - y / 100 + y / 400 + 31 * m / 12) % 7;
}

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

namespace sources = parvane::sources;

namespace {

std::string_view View(const char* s) { return s ? std::string_view(s) : std::string_view(); }

}  // namespace

bool IsNumber(const char* s) { return sources::AllDigits(View(s)); }

bool IsMonth(const char* s, int* month) { return sources::ReadMonth(View(s), month); }

bool IsWeekday(const char* s, int* weekday) { return sources::ReadWeekday(View(s), weekday); }

bool IsMonthDay(const char* s, int* day) {
  const int value = sources::LeadingInteger(View(s));
  if (day) *day = value;
  return value <= 31;
}

bool IsYear(const char* s, int* year) { return sources::ReadYear(View(s), year); }

bool IsTime(const char* s, int* hour, int* minute, int* second) {
  return sources::ReadTime(View(s), hour, minute, second);
}

bool IsTimeZone(const char* s) { return sources::NamesTimeZone(View(s)); }

int GetDayOfWeek(int day, int month, int year) { return sources::DayOfWeek(day, month, year); }

}  // namespace QuelmarMIMEEngineCommon
