// Reading ISO 8601:2004 dates: complete calendar, ordinal and week dates, basic or extended,
// reduced ones (month or year alone), expanded years, and times down to decimal fractions.
#include <optional>

#include "mime/date_parser.h"
#include "platform/text.h"

namespace Tessary {

namespace platform = parvane::platform;

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

class IsoCursor {
 public:
  explicit IsoCursor(std::string_view text) : _rest(text) {}

  std::string_view rest() const { return _rest; }
  bool atEnd() const { return _rest.empty(); }
  bool Take(char c) {
    if (atEnd() || _rest[0] != c) return false;
    _rest.remove_prefix(1);
    return true;
  }
  bool TakeAnyCase(char lower) {
    if (atEnd() || platform::AsciiToLower(_rest[0]) != lower) return false;
    _rest.remove_prefix(1);
    return true;
  }
  std::size_t DigitsAhead() const {
    std::size_t count = 0;
    while (count < _rest.size() && IsDigit(_rest[count])) ++count;
    return count;
  }
  // Exactly `count` digits; more may follow.
  std::optional<int> Number(std::size_t count) {
    if (DigitsAhead() < count) return std::nullopt;
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value * 10 + (_rest[i] - '0');
    _rest.remove_prefix(count);
    return value;
  }
  void SkipBlanks() {
    while (!atEnd() && platform::IsAsciiWhiteSpace(_rest[0])) _rest.remove_prefix(1);
  }

 private:
  std::string_view _rest;
};

bool IsLeapYear(std::int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Days since 1970 of a month's day, none when there is no such day.
std::optional<std::int64_t> CalendarDay(int year, int month, int day) {
  if (month < 1 || month > 12 || day < 1) return std::nullopt;
  const std::int64_t first = platform::DaysFromCivil(year, static_cast<unsigned>(month), 1);
  const std::int64_t next =
      month == 12 ? platform::DaysFromCivil(year + 1, 1, 1)
                  : platform::DaysFromCivil(year, static_cast<unsigned>(month) + 1, 1);
  if (day > next - first) return std::nullopt;
  return first + day - 1;
}

std::optional<std::int64_t> OrdinalDay(int year, int day) {
  if (day < 1 || day > (IsLeapYear(year) ? 366 : 365)) return std::nullopt;
  return platform::DaysFromCivil(year, 1, 1) + day - 1;
}

// Week 1 is the one with 4 January; weeks begin on Monday.
std::optional<std::int64_t> WeekDay(int year, int week, int day) {
  if (week < 1 || week > 53 || day < 1 || day > 7) return std::nullopt;
  const auto firstMonday = [](int y) {
    const std::int64_t fourth = platform::DaysFromCivil(y, 1, 4);
    return fourth - ((fourth + 3) % 7 + 7) % 7;  // 1970-01-01 was a Thursday
  };
  const std::int64_t start = firstMonday(year) + (week - 1) * 7;
  if (start >= firstMonday(year + 1)) return std::nullopt;
  return start + day - 1;
}

std::optional<std::int64_t> TakeDate(IsoCursor* text) {
  const bool before = !text->atEnd() && text->rest()[0] == '-';
  const bool expanded = text->Take('+') || text->Take('-');
  std::optional<int> year = text->Number(expanded ? 6 : 4);
  if (!year) return std::nullopt;
  if (before) year = -*year;
  const bool extended = text->Take('-');
  if (text->TakeAnyCase('w')) {
    const auto week = text->Number(2);
    if (!week) return std::nullopt;
    if (extended ? text->Take('-') : text->DigitsAhead() > 0) {
      const auto day = text->Number(1);
      return day ? WeekDay(*year, *week, *day) : std::nullopt;
    }
    return WeekDay(*year, *week, 1);
  }
  const std::size_t digits = text->DigitsAhead();
  if (digits == 3) return OrdinalDay(*year, *text->Number(3));
  if (!extended && digits == 0) return CalendarDay(*year, 1, 1);
  const auto month = text->Number(2);
  if (!month) return std::nullopt;
  if (extended) {
    if (!text->Take('-')) return CalendarDay(*year, *month, 1);
  } else if (digits == 2) {
    return CalendarDay(*year, *month, 1);
  }
  const auto day = text->Number(2);
  return day ? CalendarDay(*year, *month, *day) : std::nullopt;
}

// A decimal fraction of a unit, in whole seconds of it.
int TakeFraction(IsoCursor* text, int unit) {
  if (text->rest().size() < 2 || (text->rest()[0] != '.' && text->rest()[0] != ',') ||
      !IsDigit(text->rest()[1])) {
    return 0;
  }
  (void)(text->Take('.') || text->Take(','));
  const std::size_t digits = text->DigitsAhead();
  // Nine digits are more than whole seconds of an hour need.
  const std::size_t used = digits < 9 ? digits : 9;
  std::int64_t scale = 1;
  for (std::size_t i = 0; i < used; ++i) scale *= 10;
  const std::int64_t value = *text->Number(used);
  for (std::size_t i = used; i < digits; ++i) (void)text->Number(1);
  return static_cast<int>(value * unit / scale);
}

// Seconds since midnight; 24:00 is the next one.
std::optional<int> TakeTime(IsoCursor* text) {
  const auto hour = text->Number(2);
  if (!hour || *hour > 24) return std::nullopt;
  int seconds = *hour * 3600;
  const bool extended = text->Take(':');
  if (!extended && text->DigitsAhead() == 0) return seconds + TakeFraction(text, 3600);
  const auto minute = text->Number(2);
  if (!minute || *minute > 59) return std::nullopt;
  seconds += *minute * 60;
  if (extended ? text->Take(':') : text->DigitsAhead() > 0) {
    const auto second = text->Number(2);
    if (!second || *second > 60) return std::nullopt;
    seconds += *second;
    (void)TakeFraction(text, 1);
  } else {
    seconds += TakeFraction(text, 60);
  }
  if (*hour == 24 && seconds != kSecondsPerDay) return std::nullopt;
  return seconds;
}

std::optional<int> TakeOffset(IsoCursor* text) {
  if (text->atEnd() || text->TakeAnyCase('z')) return 0;
  const bool west = text->rest()[0] == '-';
  if (!text->Take('+') && !text->Take('-')) return std::nullopt;
  const auto hours = text->Number(2);
  if (!hours || *hours > 26) return std::nullopt;
  int offset = *hours * 3600;
  if (text->Take(':') || text->DigitsAhead() > 0) {
    const auto minutes = text->Number(2);
    if (!minutes || *minutes > 59) return std::nullopt;
    offset += *minutes * 60;
  }
  return west ? -offset : offset;
}

}  // namespace

bool DateParser::ParseIso8601(std::string_view text, DateValue* out) {
  out->Clear();
  IsoCursor cursor(text);
  cursor.SkipBlanks();
  const auto days = TakeDate(&cursor);
  if (!days) return false;
  int seconds = 0;
  int offset = 0;
  const bool separated = cursor.TakeAnyCase('t');
  if (!separated) cursor.SkipBlanks();
  if (separated || !cursor.atEnd()) {
    const auto time = TakeTime(&cursor);
    if (!time) return false;
    seconds = *time;
    cursor.SkipBlanks();
    const auto zone = TakeOffset(&cursor);
    if (!zone) return false;
    offset = *zone;
    // A remark behind it, such as the zone's name in parentheses, is let pass.
    if (!cursor.atEnd() && !platform::IsAsciiWhiteSpace(cursor.rest()[0])) return false;
  }
  out->_seconds = *days * kSecondsPerDay + seconds;
  out->_offset = offset;
  out->_valid = true;
  return true;
}

}  // namespace Tessary
