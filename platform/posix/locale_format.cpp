// Windows' date and time pictures, with the names that ICU has for the user's locale.
//
//   d dd        day             ddd dddd   name of the weekday, short and long
//   M MM        month           MMM MMMM   name of the month, short and long
//   y yy yyyy   year (yyyyy is yyyy)       g gg  era: nothing, as for the Gregorian years here
//   H HH h hh   hour of 24, of 12          m mm s ss  minute, second
//   t tt        first letter, whole of the half-day's name
//   '...'       literal text, '' in it a quote; every other character stands for itself
#include <cstdlib>
#include <memory>
#include <string>

#include <unicode/udat.h>
#include <unicode/uloc.h>

#include "platform/time.h"

namespace parvane::platform {
namespace {

// The user's locale in ICU's spelling, always with the Gregorian calendar.
std::string UserLocale() {
  for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    std::string locale(value);
    locale.resize(locale.find_first_of(".@") == locale.npos ? locale.size()
                                                            : locale.find_first_of(".@"));
    if (locale == "C" || locale == "POSIX") break;
    return locale + "@calendar=gregorian";
  }
  return "en_US@calendar=gregorian";
}

// Holds the formatter whose names are looked up; cheap to make once a call, calls are rare.
class LocaleNames {
 public:
  LocaleNames() {
    UErrorCode error = U_ZERO_ERROR;
    _format.reset(
        udat_open(UDAT_NONE, UDAT_FULL, UserLocale().c_str(), u"UTC", 3, nullptr, 0, &error));
    if (U_FAILURE(error)) _format.reset();
  }

  std::u16string Name(UDateFormatSymbolType type, int index, const char16_t* fallback) const {
    if (_format == nullptr) return fallback;
    char16_t buffer[128];
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t length = udat_getSymbols(_format.get(), type, index, buffer, 128, &error);
    if (U_FAILURE(error) || length > 128) return fallback;
    return {buffer, static_cast<std::size_t>(length)};
  }

 private:
  struct Close {
    void operator()(UDateFormat* format) const { udat_close(format); }
  };
  std::unique_ptr<UDateFormat, Close> _format;
};

constexpr const char16_t* kWeekdays[] = {u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                         u"Thursday", u"Friday", u"Saturday"};
constexpr const char16_t* kMonths[] = {u"January",   u"February", u"March",    u"April",
                                       u"May",       u"June",     u"July",     u"August",
                                       u"September", u"October",  u"November", u"December"};

std::u16string Number(unsigned value, std::size_t digits) {
  std::u16string out;
  do {
    out.insert(out.begin(), static_cast<char16_t>(u'0' + value % 10));
    value /= 10;
  } while (value != 0);
  if (out.size() < digits) out.insert(0, digits - out.size(), u'0');
  return out;
}

unsigned WeekdayOf(const SystemTime& date) {
  const std::int64_t days = DaysFromCivil(date.wYear, date.wMonth, date.wDay);
  return static_cast<unsigned>(((days % 7) + 11) % 7);
}

std::u16string DateField(char16_t letter, std::size_t count, const SystemTime& date,
                         const LocaleNames& names) {
  const unsigned weekday = WeekdayOf(date);
  const int month = date.wMonth - 1;
  switch (letter) {
    case u'd':
      if (count <= 2) return Number(date.wDay, count);
      return count == 3
                 ? names.Name(UDAT_SHORT_WEEKDAYS, static_cast<int>(weekday) + 1,
                              std::u16string(kWeekdays[weekday], 3).c_str())
                 : names.Name(UDAT_WEEKDAYS, static_cast<int>(weekday) + 1, kWeekdays[weekday]);
    case u'M':
      if (count <= 2) return Number(date.wMonth, count);
      return count == 3
                 ? names.Name(UDAT_SHORT_MONTHS, month, std::u16string(kMonths[month], 3).c_str())
                 : names.Name(UDAT_MONTHS, month, kMonths[month]);
    case u'y':
      return count <= 2 ? Number(date.wYear % 100U, count) : Number(date.wYear, 4);
    default:
      return {};  // the era
  }
}

std::u16string TimeField(char16_t letter, std::size_t count, const SystemTime& time,
                         const LocaleNames& names) {
  const std::size_t digits = count < 2 ? 1 : 2;
  switch (letter) {
    case u'H':
      return Number(time.wHour, digits);
    case u'h':
      return Number((time.wHour + 11U) % 12 + 1, digits);
    case u'm':
      return Number(time.wMinute, digits);
    case u's':
      return Number(time.wSecond, digits);
    default: {
      const bool afternoon = time.wHour >= 12;
      std::u16string half = names.Name(UDAT_AM_PMS, afternoon ? 1 : 0, afternoon ? u"PM" : u"AM");
      if (count == 1 && !half.empty()) half.resize(1);
      return half;
    }
  }
}

using FieldWriter = std::u16string (*)(char16_t, std::size_t, const SystemTime&,
                                       const LocaleNames&);

std::u16string Fill(std::u16string_view picture, std::u16string_view letters, FieldWriter field,
                    const SystemTime& time) {
  const LocaleNames names;
  std::u16string out;
  for (std::size_t at = 0; at < picture.size();) {
    const char16_t letter = picture[at];
    if (letter == u'\'') {
      ++at;
      for (; at < picture.size(); ++at) {
        if (picture[at] == u'\'') {
          if (at + 1 >= picture.size() || picture[at + 1] != u'\'') break;
          ++at;
        }
        out += picture[at];
      }
      ++at;  // the closing quote; a missing one ends the picture
    } else if (letters.find(letter) != letters.npos) {
      std::size_t count = 1;
      while (at + count < picture.size() && picture[at + count] == letter) ++count;
      out += field(letter, count, time, names);
      at += count;
    } else {
      out += letter;
      ++at;
    }
  }
  return out;
}

}  // namespace

std::u16string FormatLocaleDate(const SystemTime& date, std::u16string_view picture) {
  FileTime valid;
  SystemTime day = date;
  day.wHour = day.wMinute = day.wSecond = day.wMilliseconds = 0;
  if (!SystemTimeToFileTime(day, &valid)) return {};
  return Fill(picture, u"dMyg", DateField, date);
}

std::u16string FormatLocaleTime(const SystemTime& time, std::u16string_view picture) {
  if (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59) return {};
  return Fill(picture, u"Hhmst", TimeField, time);
}

}  // namespace parvane::platform
