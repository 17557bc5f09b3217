#include "platform/time.h"

#include <optional>

#include "platform/of_thread.h"
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

// The zone that SetLocalTimeZone chose.
std::optional<DYNAMIC_TIME_ZONE_INFORMATION>& ChosenZone() {
  static std::optional<DYNAMIC_TIME_ZONE_INFORMATION> zone;
  return zone;
}

// The rules of the local zone in a year, as the system has them: asking costs a walk through the
// registry, so the last answer is kept.
const TIME_ZONE_INFORMATION* RulesOf(USHORT year) {
  struct Known {
    USHORT year = 0;
    bool found = false;
    std::wstring zone;
    TIME_ZONE_INFORMATION rules;
  };
  Known& known = OfThread<Known>();
  auto& chosen = ChosenZone();
  const std::wstring_view zone = chosen ? chosen->TimeZoneKeyName : L"";
  if (known.year != year || known.zone != zone) {
    known.year = year;
    known.zone = zone;
    known.found =
        ::GetTimeZoneInformationForYear(year, chosen ? &*chosen : nullptr, &known.rules) != FALSE;
  }
  return known.found ? &known.rules : nullptr;
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
  // By the rules of that year, not of this one; the year is that of the local time.
  const auto toLocal = [&given, &local](USHORT year) {
    const TIME_ZONE_INFORMATION* const rules = RulesOf(year);
    return rules != nullptr && ::SystemTimeToTzSpecificLocalTime(rules, &given, &local) != FALSE;
  };
  if (!toLocal(given.wYear)) return 0;
  if (local.wYear != given.wYear && !toLocal(local.wYear)) return 0;
  return static_cast<std::int32_t>(SecondsOf(FromSystem(local)) - SecondsOf(universal));
}

bool SetLocalTimeZone(std::string_view name) {
  ChosenZone().reset();
  if (name.empty()) return true;
  const std::wstring wanted(name.begin(), name.end());
  DYNAMIC_TIME_ZONE_INFORMATION zone;
  for (DWORD i = 0; ::EnumDynamicTimeZoneInformation(i, &zone) == ERROR_SUCCESS; ++i) {
    if (wanted != zone.TimeZoneKeyName) continue;
    ChosenZone() = zone;
    return true;
  }
  return false;
}

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
