#include "platform/time.h"

#include <chrono>

namespace parvane::platform {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
// The first moment that SYSTEMTIME cannot state: 30828-01-01.
constexpr std::int64_t kLastYear = 30827;

unsigned DaysInMonth(unsigned year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

}  // namespace

std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  // Years begin in March here, so that the leap day comes last; 400 years are one era.
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

CivilDate CivilFromDays(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  const auto day = static_cast<unsigned>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
  const auto month =
      static_cast<unsigned>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

bool SystemTimeToFileTime(const SystemTime& in, FileTime* out) {
  if (in.wYear < 1601 || in.wYear > kLastYear || in.wMonth < 1 || in.wMonth > 12 || in.wDay < 1 ||
      in.wDay > DaysInMonth(in.wYear, in.wMonth) || in.wHour > 23 || in.wMinute > 59 ||
      in.wSecond > 59 || in.wMilliseconds > 999) {
    return false;
  }
  const std::int64_t seconds = DaysFromCivil(in.wYear, in.wMonth, in.wDay) * kSecondsPerDay +
                               in.wHour * 3600 + in.wMinute * 60 + in.wSecond +
                               kUnixEpochInFileTimeSeconds;
  *out = FileTimeFromTicks(static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
                           in.wMilliseconds * (kTicksPerSecond / 1000));
  return true;
}

bool FileTimeToSystemTime(FileTime in, SystemTime* out) {
  const std::uint64_t ticks = FileTimeTicks(in);
  if (ticks > static_cast<std::uint64_t>(INT64_MAX)) return false;
  const auto sinceUnix =
      static_cast<std::int64_t>(ticks / kTicksPerSecond) - kUnixEpochInFileTimeSeconds;
  std::int64_t days = sinceUnix / kSecondsPerDay;
  std::int64_t second = sinceUnix % kSecondsPerDay;
  if (second < 0) {
    second += kSecondsPerDay;
    --days;
  }
  const CivilDate date = CivilFromDays(days);
  if (date.year > kLastYear) return false;
  out->wYear = static_cast<std::uint16_t>(date.year);
  out->wMonth = static_cast<std::uint16_t>(date.month);
  out->wDay = static_cast<std::uint16_t>(date.day);
  // 1970-01-01 was a Thursday.
  out->wDayOfWeek = static_cast<std::uint16_t>(((days % 7) + 11) % 7);
  out->wHour = static_cast<std::uint16_t>(second / 3600);
  out->wMinute = static_cast<std::uint16_t>(second / 60 % 60);
  out->wSecond = static_cast<std::uint16_t>(second % 60);
  out->wMilliseconds =
      static_cast<std::uint16_t>(ticks % kTicksPerSecond / (kTicksPerSecond / 1000));
  return true;
}

FileTime CurrentFileTime() {
  using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  const auto sinceUnix =
      std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch());
  return FileTimeFromTicks(static_cast<std::uint64_t>(
      sinceUnix.count() +
      kUnixEpochInFileTimeSeconds * static_cast<std::int64_t>(kTicksPerSecond)));
}

std::uint64_t MonotonicMilliseconds() {
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                        std::chrono::steady_clock::now().time_since_epoch())
                                        .count());
}

}  // namespace parvane::platform
