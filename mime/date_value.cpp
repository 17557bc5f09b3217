#include <cstdio>
#include <cstring>

#include "mime/date_parser.h"

namespace Tessary {

namespace platform = parvane::platform;

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The machine's offset at this moment in whole minutes, which is all a header can state. (Old
// local mean times have seconds.)
std::int32_t LocalOffset(std::int64_t unixSeconds) {
  return platform::LocalUtcOffsetAtUtc(unixSeconds) / 60 * 60;
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

// Two digits with a leading zero.
void PutTwo(unsigned value, char* out) {
  out[0] = static_cast<char>('0' + value / 10 % 10);
  out[1] = static_cast<char>('0' + value % 10);
}

}  // namespace

bool DateValue::SetFromRfc822(std::string_view text) { return DateParser::ParseRfc822(text, this); }

bool DateValue::GetAsRfc822(bool local, std::string& out) const {
  out.clear();
  if (!_valid) return false;
  const std::int64_t universal = _seconds - _offset;
  const std::int32_t offset = local ? LocalOffset(universal) : 0;
  const std::int64_t wall = universal + offset;
  const std::int64_t days = FloorDivide(wall, kSecondsPerDay);
  const auto second = static_cast<int>(wall - days * kSecondsPerDay);
  const platform::CivilDate date = platform::CivilFromDays(days);
  char text[64] = "Ddd, 00 Mmm ";
  std::memcpy(text, kWeekdays[((days % 7) + 11) % 7], 3);
  PutTwo(date.day, text + 5);
  std::memcpy(text + 8, kMonths[date.month - 1], 3);
  std::size_t length = 12;
  if (date.year >= 1000 && date.year <= 9999) {
    PutTwo(static_cast<unsigned>(date.year / 100), text + length);
    PutTwo(static_cast<unsigned>(date.year % 100), text + length + 2);
    length += 4;
  } else {
    length += static_cast<std::size_t>(
        std::snprintf(text + length, 24, "%04lld", static_cast<long long>(date.year)));
  }
  const auto moment = static_cast<unsigned>(second);
  char time[] = " 00:00:00 ";
  PutTwo(moment / 3600, time + 1);
  PutTwo(moment / 60 % 60, time + 4);
  PutTwo(moment % 60, time + 7);
  std::memcpy(text + length, time, sizeof time - 1);
  length += sizeof time - 1;
  char zone[] = "GMT  ";
  std::size_t zoneLength = 3;
  if (local) {
    const auto minutes = static_cast<unsigned>(offset < 0 ? -offset : offset) / 60;
    zone[0] = offset < 0 ? '-' : '+';
    PutTwo(minutes / 60, zone + 1);
    PutTwo(minutes % 60, zone + 3);
    zoneLength = 5;
  }
  std::memcpy(text + length, zone, zoneLength);
  out.reserve(length + 8);  // for a zone in place of this one
  out.assign(text, length + zoneLength);
  return true;
}

bool DateValue::GetAsFileTime(bool local, platform::FileTime* out) const {
  if (!_valid || out == nullptr) return false;
  std::int64_t moment = _seconds - _offset;
  if (local) moment += LocalOffset(moment);
  moment += platform::kUnixEpochInFileTimeSeconds;
  constexpr std::int64_t kLast = INT64_MAX / static_cast<std::int64_t>(platform::kTicksPerSecond);
  if (moment < 0 || moment >= kLast) return false;
  *out =
      platform::FileTimeFromTicks(static_cast<std::uint64_t>(moment) * platform::kTicksPerSecond);
  return true;
}

bool DateValue::SetFromTmStruct(bool local, const std::tm& time) {
  Clear();
  if (time.tm_mday == 0) return false;
  // 64-bit sums of 32-bit parts cannot overflow.
  const std::int64_t months = std::int64_t{time.tm_year} * 12 + time.tm_mon;
  const std::int64_t year = 1900 + FloorDivide(months, 12);
  const auto month = static_cast<unsigned>(months - FloorDivide(months, 12) * 12) + 1;
  const std::int64_t days = platform::DaysFromCivil(year, month, 1) + time.tm_mday - 1;
  _seconds = days * kSecondsPerDay + std::int64_t{time.tm_hour} * 3600 +
             std::int64_t{time.tm_min} * 60 + time.tm_sec;
  _offset = local ? platform::LocalUtcOffsetAtLocal(_seconds) / 60 * 60 : 0;
  _valid = true;
  return true;
}

}  // namespace Tessary
