// The date half of message repair: loose dates, token by token.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>
#include <string>
#include <string_view>

#include "mime/date_parser.h"
#include "mime/facade/ts_string.h"
#include "platform/text.h"
#include "sources/header_repair.h"
#include "sources/message_repair.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using parvane::platform::EqualsIgnoreAsciiCase;

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
constexpr std::size_t kMaximumZoneLength = 7;

// A header's date is short; what stands behind this much of it is no date.
constexpr std::size_t kMaximumDateLength = 1000;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string_view View(const char* s) { return s ? std::string_view(s) : std::string_view(); }

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

int LeadingInteger(std::string_view text) {
  int value = 0;
  TakeInteger(text, value);
  return value;
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

bool AllDigits(std::string_view text) { return std::all_of(text.begin(), text.end(), IsDigit); }

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

// The date as far as it has been found.
struct LooseDate {
  std::tm time{};
  std::string_view zone;
  bool hasWeekday = false;
  bool hasMonth = false;
  bool hasDay = false;
  bool hasYear = false;
  bool hasTime = false;
  bool hasZone = false;

  bool IsComplete() const { return hasMonth && hasDay && hasYear; }

  // A token ends at a NUL, too.
  void Take(std::string_view token) {
    token = token.substr(0, token.find('\0'));
    int year = 0;
    if (AllDigits(token)) {
      const int day = LeadingInteger(token);
      if (!hasDay && day <= 31) {
        time.tm_mday = day;
        hasDay = true;
      } else if (!hasYear && ReadYear(token, &year)) {
        time.tm_year = year - 1900;
        hasYear = true;
      }
    } else if (!hasWeekday && FindName(kWeekdays, token, &time.tm_wday)) {
      hasWeekday = true;
    } else if (!hasMonth && FindName(kMonths, token, &time.tm_mon)) {
      hasMonth = true;
    } else if (!hasTime && ReadTime(token, &time.tm_hour, &time.tm_min, &time.tm_sec)) {
      hasTime = true;
    } else if (!hasZone && NamesTimeZone(token)) {
      zone = token.substr(0, kMaximumZoneLength);
      hasZone = true;
    }
  }

  // What TakeAll finds in a date of that form; whatever stands behind it adds nothing.
  void TakeStandard(const Tessary::StandardDate& date) {
    time.tm_year = date.year - 1900;
    time.tm_mon = date.month;
    time.tm_mday = date.day;
    time.tm_hour = date.hour;
    time.tm_min = date.minute;
    time.tm_sec = date.second;
    zone = date.zone;
    hasWeekday = hasMonth = hasDay = hasYear = hasTime = hasZone = true;
  }

  void TakeAll(std::string_view text) {
    // Folded headers may bring tabs, which separate like spaces.
    const auto separates = [](char c) { return c == ' ' || c == ',' || c == '\t'; };
    for (std::size_t at = 0; at < text.size();) {
      if (separates(text[at])) {
        ++at;
        continue;
      }
      std::size_t end = at + 1;
      while (end < text.size() && !separates(text[end])) ++end;
      Take(text.substr(at, end - at));
      at = end;
    }
    if (!hasWeekday)
      time.tm_wday = GetDayOfWeek(time.tm_mday, time.tm_mon + 1, time.tm_year + 1900);
  }
};

}  // namespace

bool IsNumber(const char* s) { return AllDigits(View(s)); }

bool IsMonth(const char* s, int* month) { return FindName(kMonths, View(s), month); }

bool IsWeekday(const char* s, int* weekday) { return FindName(kWeekdays, View(s), weekday); }

bool IsMonthDay(const char* s, int* day) {
  const int value = LeadingInteger(View(s));
  if (day) *day = value;
  return value <= 31;
}

bool IsYear(const char* s, int* year) { return ReadYear(View(s), year); }

bool IsTime(const char* s, int* hour, int* minute, int* second) {
  return ReadTime(View(s), hour, minute, second);
}

bool IsTimeZone(const char* s) { return NamesTimeZone(View(s)); }

int GetDayOfWeek(int day, int month, int year) {
  const int a = (14 - month) / 12;
  const int y = year - a;
  const int m = month + 12 * a - 2;
  return (day + y + y / 4 - y / 100 + y / 400 + 31 * m / 12) % 7;
}

bool DateTimeUtilities::TryFixTimeStr(Tessary::TsString& dateText) {
  std::string fixed;
  if (!parvane::sources::RewriteDate(dateText.viewUtf8(), fixed)) return false;
  Tessary::TsString value;
  value.put_Utf8(true);
  value.append(std::string_view(fixed));
  dateText = value;
  return true;
}

}  // namespace QuelmarMIMEEngineCommon

namespace parvane::sources {

bool RewriteDate(std::string_view dateText, std::string& fixed) {
  using QuelmarMIMEEngineCommon::LooseDate;
  dateText = dateText.substr(0, QuelmarMIMEEngineCommon::kMaximumDateLength);
  LooseDate date;
  Tessary::StandardDate standard;
  if (Tessary::ReadStandardDate(dateText, standard)) {
    date.TakeStandard(standard);
  } else {
    date.TakeAll(dateText);
  }
  // Separators of looser forms, given up one by one until day, month and year are found. What was
  // found of weekday, time and zone stays found.
  static constexpr std::array<char, 3> kReplaced = {'-', '/', '+'};
  std::array<std::string, kReplaced.size()> texts;  // what a zone looks into
  for (std::size_t i = 0; i < kReplaced.size() && !date.IsComplete(); ++i) {
    texts[i] = i == 0 ? dateText : std::string_view(texts[i - 1]);
    std::replace(texts[i].begin(), texts[i].end(), kReplaced[i], ' ');
    date.hasDay = date.hasMonth = date.hasYear = false;
    date.TakeAll(texts[i]);
  }

  Tessary::DateValue value;
  const bool local = !date.hasZone;
  if (!value.SetFromTmStruct(local, date.time) || !value.GetAsRfc822(local, fixed)) return false;
  // The time is not shifted: a zone that was written stands behind the time that was written.
  if (date.hasZone) fixed.replace(fixed.rfind("GMT"), 3, date.zone);
  return true;
}

}  // namespace parvane::sources
