#include "sources/date_repair.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "mime/date_parser.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "mime/mime_message2.h"
#include "mime/text_decoding.h"
#include "platform/text.h"
#include "sources/date_tokens.h"

namespace parvane::sources {
namespace {

using Tessary::DateValue;
using Tessary::MimeField;
using Tessary::MimeMessage2;
using Tessary::StandardDate;

constexpr std::size_t kMaximumZoneLength = 7;

// A header's date is short; what stands behind this much of it is no date.
constexpr std::size_t kMaximumDateLength = 1000;

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
    } else if (!hasWeekday && ReadWeekday(token, &time.tm_wday)) {
      hasWeekday = true;
    } else if (!hasMonth && ReadMonth(token, &time.tm_mon)) {
      hasMonth = true;
    } else if (!hasTime && ReadTime(token, &time.tm_hour, &time.tm_min, &time.tm_sec)) {
      hasTime = true;
    } else if (!hasZone && NamesTimeZone(token)) {
      zone = token.substr(0, kMaximumZoneLength);
      hasZone = true;
    }
  }

  // What TakeAll finds in a date of that form; whatever stands behind it adds nothing.
  void TakeStandard(const StandardDate& date) {
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
    if (!hasWeekday) time.tm_wday = DayOfWeek(time.tm_mday, time.tm_mon + 1, time.tm_year + 1900);
  }
};

bool IsLetterOrDigit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && platform::IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// The date without white space around it, and without anything else before its first letter or
// digit, if it has one.
std::u16string_view DateInside(std::u16string_view text) {
  text = Trim(text);
  std::size_t start = 0;
  while (start < text.size() && !IsLetterOrDigit(text[start])) ++start;
  return start < text.size() ? text.substr(start) : text;
}

std::string_view DateInside(std::string_view text) {
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  std::size_t start = 0;
  while (start < text.size() && !IsLetterOrDigit(static_cast<unsigned char>(text[start]))) ++start;
  return start < text.size() ? text.substr(start) : text;
}

}  // namespace

bool RewriteDate(std::string_view dateText, std::string& fixed, DateFound* found) {
  dateText = dateText.substr(0, kMaximumDateLength);
  LooseDate date;
  StandardDate standard;
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
  if (found) {
    found->day = date.IsComplete();
    found->time = date.hasTime || dateText.find(':') == dateText.npos;
  }

  DateValue value;
  const bool local = !date.hasZone;
  if (!value.SetFromTmStruct(local, date.time) || !value.GetAsRfc822(local, fixed)) return false;
  // The time is not shifted: a zone that was written stands behind the time that was written.
  if (date.hasZone) fixed.replace(fixed.rfind("GMT"), 3, date.zone);
  return true;
}

namespace {

// For comparison with the repaired one.
void Note(std::string_view value, bool ascii, const MimeMessage2& entity, DateBefore& before) {
  constexpr std::size_t kLongest = 100;
  std::string decoded;
  if (!ascii) {
    decoded = Tessary::DecodeTextToUtf8(value, {}, entity.contentType().Get("charset"));
    value = decoded;
  }
  DateValue date;
  if (date.SetFromRfc822(value.substr(0, value.find('\0'))))
    date.GetAsFileTime(false, &before.time);
  before.text = value.substr(0, kLongest);
}

// A date of the standard form that would be written just as it stands: of a day that there is,
// under its right name.
bool IsWellFormed(const StandardDate& date, const DateValue& value) {
  constexpr std::int64_t kSecondsPerDay = 86400;
  constexpr std::size_t kSizeWithTwoDigits = 31;
  if (date.text.size() != kSizeWithTwoDigits) return false;
  const std::int64_t clock = value.UnixSeconds() + value.OffsetSeconds();
  const std::int64_t second = (clock % kSecondsPerDay + kSecondsPerDay) % kSecondsPerDay;
  const std::int64_t days = (clock - second) / kSecondsPerDay;
  return (days % 7 + 11) % 7 == date.weekday &&  // 1970-01-01 was a Thursday
         platform::CivilFromDays(days).day == static_cast<unsigned>(date.day);
}

}  // namespace

void RepairDate(const MimeMessage2& entity, FieldChanges& changes, DateBefore* before) {
  const MimeField* field = entity.header().Find("Date");
  if (field == nullptr) return;
  std::string scratch;
  const std::string_view value = field->Value(scratch);
  const bool ascii = platform::IsAscii(value);
  StandardDate standard;
  if (ascii && Tessary::ReadStandardDate(value, standard)) {
    // As in nearly all mail: what it means is known now, and repair does not change it.
    const DateValue date = DateValue::Of(standard);
    if (before) before->usable = date.GetAsFileTime(false, &before->time);
    if (IsWellFormed(standard, date)) {
      changes.facts().date = date;
      changes.Add("Date", [&](std::string& out) { out += standard.text; });
      return;
    }
  } else if (before) {
    Note(value, ascii, entity, *before);
  }
  if (value.empty()) return;
  std::string fixed;
  bool rewritten;
  DateFound found;
  if (ascii) {
    rewritten = RewriteDate(DateInside(value), fixed, &found);
  } else {
    const std::u16string text = Tessary::DecodeText(value, {}, entity.contentType().Get("charset"));
    rewritten = RewriteDate(platform::Utf16ToUtf8(DateInside(text)), fixed, &found);
  }
  if (before) {
    // A day without its time is less than what the mail library read, if it read anything.
    const bool read = before->time != platform::FileTime{};
    before->usable = rewritten && found.day && (found.time || !read);
  }
  if (!rewritten) return;
  changes.facts().date.emplace().SetFromRfc822(fixed);
  changes.Add("Date", [&](std::string& out) { out += fixed; });
}

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

namespace sources = parvane::sources;

void FixDate(Tessary::TsMime* mime) {
  if (!mime) return;
  sources::FieldChanges changes;
  sources::RepairDate(EntityOf(*mime), changes, nullptr);
  changes.ApplyTo(EntityOf(*mime));
}

bool DateTimeUtilities::TryFixTimeStr(Tessary::TsString& dateText) {
  std::string fixed;
  if (!sources::RewriteDate(dateText.viewUtf8(), fixed)) return false;
  Tessary::TsString value;
  value.put_Utf8(true);
  value.append(std::string_view(fixed));
  dateText = value;
  return true;
}

}  // namespace QuelmarMIMEEngineCommon
