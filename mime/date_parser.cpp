// Reading RFC 822 dates. People compare what old mailboxes were read as, so the steps and limits
// are fixed: text is refused where its form is not met, never because of the numbers in it.
//
//   date  := [weekday [","]] day sep month sep year time [am/pm] [zone]
//   sep   := (space | tab | "-")*
//   time  := hours ":" minutes [":" seconds]
#include "mime/date_parser.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "platform/text.h"

namespace Tessary {

namespace platform = parvane::platform;

namespace {

constexpr std::size_t kLongestText = 199;

constexpr std::string_view kWeekdays = "sunmontuewedthufrisat";
constexpr std::string_view kMonths = "janfebmaraprmayjunjulaugsepoctnovdec";
constexpr std::string_view kForeignMonths = "ianfevmaraprmaijunjulaugsetoktnovdez";

struct ZoneWord {
  std::string_view word;
  std::string_view offset;
};
// The military letters carry the signs that RFC 822 printed; mail written by it relies on them.
constexpr ZoneWord kZoneWords[] = {
    {"ut", "0000"},   {"gmt", "0000"},  {"est", "-0500"}, {"edt", "-0400"}, {"cst", "-0600"},
    {"cdt", "-0500"}, {"mst", "-0700"}, {"mdt", "-0600"}, {"pst", "-0800"}, {"pdt", "-0700"},
    {"a", "-0100"},   {"z", "0000"},    {"m", "-1200"},   {"n", "0100"},    {"y", "1200"}};

// The zones spelled out: "eastern daylight time", "pacific standard time".
struct SpelledZone {
  std::string_view word;
  std::string_view standard;
  std::string_view daylight;
};
constexpr SpelledZone kSpelledZones[] = {{"eastern", "est", "edt"},
                                         {"central", "cst", "cdt"},
                                         {"mountain", "mst", "mdt"},
                                         {"pacific", "pst", "pdt"}};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsBlank(char c) { return c == ' ' || c == '\t'; }

class Cursor {
 public:
  explicit Cursor(std::string_view text) : _rest(text) {}

  std::string_view rest() const { return _rest; }
  bool atEnd() const { return _rest.empty(); }
  char Peek() const { return _rest.empty() ? '\0' : _rest.front(); }
  void Skip(std::size_t count) { _rest.remove_prefix(count); }

  template <typename Test>
  std::string_view TakeWhile(Test test) {
    std::size_t count = 0;
    while (count < _rest.size() && test(_rest[count])) ++count;
    const std::string_view taken = _rest.substr(0, count);
    _rest.remove_prefix(count);
    return taken;
  }
  void SkipWhiteSpace() { TakeWhile(platform::IsAsciiWhiteSpace); }

  // As "%d" of scanf reads: white space, then up to `width` digits. The text holds no sign that
  // could be part of a time.
  bool TakeNumber(int* value, std::size_t width = 9) {
    const std::string_view saved = _rest;
    SkipWhiteSpace();
    std::size_t count = 0;
    *value = 0;
    for (; count < width && count < _rest.size() && IsDigit(_rest[count]); ++count) {
      *value = *value * 10 + (_rest[count] - '0');
    }
    if (count == 0) {
      _rest = saved;
      return false;
    }
    _rest.remove_prefix(count);
    return true;
  }
  bool Take(char c) {
    if (Peek() != c || atEnd()) return false;
    _rest.remove_prefix(1);
    return true;
  }

 private:
  std::string_view _rest;
};

// Which of the names, three letters each, the word begins with; -1: none.
int IndexOf(std::string_view word, std::string_view names) {
  if (word.size() < 3) return -1;
  for (std::size_t at = 0; at < names.size(); at += 3) {
    if (names[at] == word[0] && names[at + 1] == word[1] && names[at + 2] == word[2])
      return static_cast<int>(at / 3);
  }
  return -1;
}

bool SkipWeekday(Cursor* text) {
  if (IndexOf(text->rest(), kWeekdays) < 0) return true;
  text->TakeWhile([](char c) { return !platform::IsAsciiWhiteSpace(c) && c != ','; });
  text->SkipWhiteSpace();
  text->Take(',');
  text->SkipWhiteSpace();
  return !text->atEnd();
}

// At most `width` digits; more of them are no number.
bool TakeDigits(Cursor* text, std::size_t width, int* value) {
  const std::string_view digits = text->TakeWhile(IsDigit);
  if (digits.empty() || digits.size() > width) return false;
  return Cursor(digits).TakeNumber(value);
}

bool TakeMonth(Cursor* text, int* month) {
  const std::string_view word =
      text->TakeWhile([](char c) { return !IsBlank(c) && c != '\n' && c != '-'; });
  if (word.size() > 5) return false;
  *month = IndexOf(word, kMonths);
  if (*month < 0) *month = IndexOf(word, kForeignMonths);
  return *month >= 0;
}

bool TakeTime(Cursor* text, int* hour, int* minute, int* second) {
  if (!text->TakeNumber(hour) || !text->Take(':') || !text->TakeNumber(minute)) return false;
  *second = 0;
  Cursor ahead = *text;
  if (ahead.Take(':') && ahead.TakeNumber(second)) *text = ahead;
  // Fractions of a second say nothing here, but must not stand in for the zone.
  if ((text->Peek() == '.' || text->Peek() == ',') && text->rest().size() > 1 &&
      IsDigit(text->rest()[1])) {
    text->Skip(1);
    text->TakeWhile(IsDigit);
  }
  return true;
}

std::string_view TakeWord(Cursor* text) {
  text->SkipWhiteSpace();
  return text->TakeWhile([](char c) { return !platform::IsAsciiWhiteSpace(c); });
}

// The text of a zone word as an offset: digits with an optional "-".
std::string_view OffsetOfWord(std::string_view word, Cursor rest) {
  const std::string_view letters =
      Cursor(word).TakeWhile([](char c) { return c >= 'a' && c <= 'z'; });
  for (const SpelledZone& zone : kSpelledZones) {
    if (letters != zone.word) continue;
    rest.SkipWhiteSpace();
    word = rest.rest().substr(0, 13) == "daylight time" ? zone.daylight : zone.standard;
  }
  for (const ZoneWord& zone : kZoneWords) {
    if (word == zone.word) return zone.offset;
  }
  const std::string_view digits = word.substr(!word.empty() && word[0] == '-' ? 1 : 0);
  return !digits.empty() && IsDigit(digits[0]) ? word : "0000";
}

// Seconds east of UTC.
std::int32_t ReadOffset(std::string_view text) {
  const bool negative = !text.empty() && text[0] == '-';
  if (negative) text.remove_prefix(1);
  int hours = 0;
  int minutes = 0;
  Cursor together(text);
  if (!together.TakeNumber(&hours, 2) || !together.TakeNumber(&minutes, 2)) {
    Cursor apart(text);
    if (!apart.TakeNumber(&hours, 2) || !apart.Take(':') || !apart.TakeNumber(&minutes, 2)) {
      minutes = 0;
      Cursor(text).TakeNumber(&hours, 2);
    }
  }
  const int offset = hours * 3600 + minutes * 60;
  return negative ? -offset : offset;
}

std::int32_t TakeZone(Cursor* text, int* hour) {
  std::string_view word = TakeWord(text);
  if (word == "pm" || word == "am") {
    if (word == "pm" && *hour < 12) *hour += 12;
    word = TakeWord(text);
  }
  if (word.empty()) return 0;
  if (word[0] == '+') word.remove_prefix(1);
  return ReadOffset(OffsetOfWord(word, *text));
}

constexpr std::string_view kStandardWeekdays = "SunMonTueWedThuFriSat";
constexpr std::string_view kStandardMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

// The number that so many digits make; -1 when one is none.
int ReadDigits(const char* digits, int count) {
  int number = 0;
  for (int i = 0; i < count; ++i) {
    if (!IsDigit(digits[i])) return -1;
    number = number * 10 + (digits[i] - '0');
  }
  return number;
}

}  // namespace

bool ReadStandardDate(std::string_view text, StandardDate& date) {
  constexpr std::size_t kDay = 5;
  constexpr std::string_view kBehindDay = " Mmm YYYY HH:MM:SS +ZZZZ";
  const int dayDigits = text.size() > kDay + 1 && text[kDay + 1] != ' ' ? 2 : 1;
  const std::size_t behindDay = kDay + static_cast<std::size_t>(dayDigits);
  const std::size_t end = behindDay + kBehindDay.size();
  if (text.size() < end || (text.size() > end && text[end] != ' ')) return false;
  const char* rest = text.data() + behindDay;
  for (const std::size_t at : {0, 4, 9, 12, 15, 18}) {
    if (rest[at] != kBehindDay[at]) return false;
  }
  date.weekday = IndexOf(text, kStandardWeekdays);
  if (text[3] != ',' || text[4] != ' ' || date.weekday < 0) return false;
  date.day = ReadDigits(text.data() + kDay, dayDigits);
  date.month = IndexOf({rest + 1, 3}, kStandardMonths);
  date.year = ReadDigits(rest + 5, 4);
  date.hour = ReadDigits(rest + 10, 2);
  date.minute = ReadDigits(rest + 13, 2);
  date.second = ReadDigits(rest + 16, 2);
  date.zone = {rest + 19, 5};
  date.text = text.substr(0, end);
  return date.day >= 1 && date.day <= 31 && date.month >= 0 && date.year >= 1900 &&
         date.hour >= 0 && date.hour < 24 && date.minute >= 0 && date.minute < 60 &&
         date.second >= 0 && date.second < 60 && (rest[19] == '+' || rest[19] == '-') &&
         ReadDigits(rest + 20, 4) >= 0;
}

bool DateParser::ParseRfc822(std::string_view text, DateValue* out) {
  out->Clear();
  StandardDate date;
  if (ReadStandardDate(text, date)) {
    *out = DateValue::Of(date);
    return true;
  }
  std::string cleaned;
  if (!text.empty() && text[0] == '"') {
    std::copy_if(text.begin(), text.end(), std::back_inserter(cleaned),
                 [](char c) { return c != '"'; });
    text = cleaned;
  }
  text = text.substr(0, kLongestText);
  if (text.size() > 10 && text[10] == 'T' && text[4] == '-' && text[7] == '-') {
    return ParseIso8601(text, out);
  }
  std::array<char, kLongestText> lower;
  std::transform(text.begin(), text.end(), lower.begin(), platform::AsciiToLower);
  Cursor cursor({lower.data(), text.size()});
  cursor.TakeWhile(IsBlank);
  if (cursor.atEnd() || !SkipWeekday(&cursor)) return false;
  const auto isSeparator = [](char c) { return IsBlank(c) || c == '-'; };
  int day;
  int month;
  int year;
  int hour;
  int minute;
  int second;
  if (!TakeDigits(&cursor, 3, &day)) return false;
  cursor.TakeWhile(isSeparator);
  if (!TakeMonth(&cursor, &month)) return false;
  cursor.TakeWhile(isSeparator);
  if (!TakeDigits(&cursor, 6, &year)) return false;
  if (year < 1900) year += year < 50 ? 2000 : 1900;
  if (!TakeTime(&cursor, &hour, &minute, &second)) return false;
  const std::int32_t offset = TakeZone(&cursor, &hour);
  // Numbers that no clock or calendar shows carry over.
  Set({year, month, day, hour, minute, second, {}, 0, {}}, offset, out);
  return true;
}

DateValue DateValue::Of(const StandardDate& date) {
  std::string_view zone = date.zone;
  if (zone.starts_with('+')) zone.remove_prefix(1);
  DateValue value;
  DateParser::Set(date, ReadOffset(zone), &value);
  return value;
}

void DateParser::Set(const StandardDate& date, std::int32_t offset, DateValue* out) {
  const auto month = static_cast<unsigned>(date.month) + 1;
  const std::int64_t days = platform::DaysFromCivil(date.year, month, 1) + date.day - 1;
  // 64-bit sums of 32-bit parts cannot overflow.
  out->_seconds =
      days * 86400 + std::int64_t{date.hour} * 3600 + std::int64_t{date.minute} * 60 + date.second;
  out->_offset = offset;
  out->_valid = true;
}

}  // namespace Tessary
