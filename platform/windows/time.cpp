#include "platform/time.h"

#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

// The pictures used here give far less.
constexpr int kLongestText = 260;

SYSTEMTIME ToSystem(const SystemTime& time) {
  return {time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
          time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
}

SystemTime FromSystem(const SYSTEMTIME& time) {
  return {time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
          time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
}

std::int64_t SecondsOf(const SystemTime& time) {
  FileTime value;
  if (!SystemTimeToFileTime(time, &value)) return 0;
  return static_cast<std::int64_t>(FileTimeTicks(value) / kTicksPerSecond);
}

}  // namespace

std::int32_t LocalUtcOffsetAtUtc(std::int64_t unixSeconds) {
  const std::int64_t seconds = unixSeconds + kUnixEpochInFileTimeSeconds;
  SystemTime universal;
  if (seconds < 0 || seconds > INT64_MAX / static_cast<std::int64_t>(kTicksPerSecond) ||
      !FileTimeToSystemTime(
          FileTimeFromTicks(static_cast<std::uint64_t>(seconds) * kTicksPerSecond), &universal)) {
    return 0;
  }
  const SYSTEMTIME given = ToSystem(universal);
  SYSTEMTIME local;
  if (!::SystemTimeToTzSpecificLocalTime(nullptr, &given, &local)) return 0;
  return static_cast<std::int32_t>(SecondsOf(FromSystem(local)) - SecondsOf(universal));
}

bool SetLocalTimeZone(std::string_view) { return false; }

std::u16string FormatLocaleDate(const SystemTime& date, std::u16string_view picture) {
  const SYSTEMTIME given = ToSystem(date);
  const std::wstring format = ToWide(picture);
  wchar_t text[kLongestText];
  const int length =
      ::GetDateFormatW(LOCALE_USER_DEFAULT, 0, &given, format.c_str(), text, kLongestText);
  return length == 0 ? std::u16string() : FromWide(text);
}

std::u16string FormatLocaleTime(const SystemTime& time, std::u16string_view picture) {
  const SYSTEMTIME given = ToSystem(time);
  const std::wstring format = ToWide(picture);
  wchar_t text[kLongestText];
  const int length =
      ::GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &given, format.c_str(), text, kLongestText);
  return length == 0 ? std::u16string() : FromWide(text);
}

}  // namespace parvane::platform
