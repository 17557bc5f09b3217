// Points in time as Windows and MAPI state them, and their conversions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace parvane::platform {

// 100 ns intervals since 1601-01-01 00:00 UTC in two halves: Windows' FILETIME (8 bytes, aligned
// to 4).
struct FileTime {
  std::uint32_t dwLowDateTime = 0;
  std::uint32_t dwHighDateTime = 0;
  friend bool operator==(const FileTime&, const FileTime&) = default;
};
static_assert(sizeof(FileTime) == 8 && alignof(FileTime) == 4);

constexpr std::uint64_t FileTimeTicks(FileTime t) {
  return (std::uint64_t{t.dwHighDateTime} << 32) | t.dwLowDateTime;
}
constexpr FileTime FileTimeFromTicks(std::uint64_t ticks) {
  return {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)};
}
inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;
// Seconds from 1601-01-01 to 1970-01-01.
inline constexpr std::int64_t kUnixEpochInFileTimeSeconds = 11'644'473'600;

// Windows' SYSTEMTIME: a date and time by its parts, Gregorian, years 1601 to 30827.
struct SystemTime {
  std::uint16_t wYear = 0;
  std::uint16_t wMonth = 0;      // 1..12
  std::uint16_t wDayOfWeek = 0;  // 0 = Sunday; ignored on input
  std::uint16_t wDay = 0;        // 1..31
  std::uint16_t wHour = 0;
  std::uint16_t wMinute = 0;
  std::uint16_t wSecond = 0;
  std::uint16_t wMilliseconds = 0;
  friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

// Windows' TIME_ZONE_INFORMATION: UTC = local time + bias (minutes). A transition date with wYear
// 0 recurs: wDay is the week of the month (5 = last), wDayOfWeek the day; wMonth 0 means no
// daylight saving.
struct TimeZoneInformation {
  std::int32_t Bias = 0;
  char16_t StandardName[32] = {};
  SystemTime StandardDate;
  std::int32_t StandardBias = 0;
  char16_t DaylightName[32] = {};
  SystemTime DaylightDate;
  std::int32_t DaylightBias = 0;
};

// False, with `out` untouched, when a part is out of range (31 February included).
bool SystemTimeToFileTime(const SystemTime& in, FileTime* out);
// False when the time lies beyond year 30827.
bool FileTimeToSystemTime(FileTime in, SystemTime* out);
// A null zone is the machine's own.
bool SystemTimeToTzSpecificLocalTime(const TimeZoneInformation* zone, const SystemTime& universal,
                                     SystemTime* local);

// The machine's own time zone (TZ is honoured off Windows). Offsets are seconds east of UTC at
// that moment, daylight saving included.
std::int32_t LocalUtcOffsetAtUtc(std::int64_t unixSeconds);
// The offset that holds at this local time; in the hour that occurs twice the earlier moment, in
// the gap the offset before it.
std::int32_t LocalUtcOffsetAtLocal(std::int64_t localSecondsSinceUnixEpoch);

// Chooses the local time zone of this process by its tz database name, on Windows by its name there
// ("Eastern Standard Time"); empty: the machine's own. For tests, while no other thread asks for
// the time. False when the system knows no such zone.
bool SetLocalTimeZone(std::string_view name);

// Locale formatting with Windows' picture strings ("ddd',' d MMM yyyy", "HH':'mm':'ss"), in the
// user's locale; off Windows that is LC_ALL, LC_TIME or LANG, English when unset or "C".
std::u16string FormatLocaleDate(const SystemTime& date, std::u16string_view picture);
std::u16string FormatLocaleTime(const SystemTime& time, std::u16string_view picture);

// The wall clock, UTC.
FileTime CurrentFileTime();
// A clock that never goes back, for intervals.
std::uint64_t MonotonicMilliseconds();

// Days since 1970-01-01 of a proleptic Gregorian date (month 1..12), and back. Any year.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day);
struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};
CivilDate CivilFromDays(std::int64_t days);

}  // namespace parvane::platform
