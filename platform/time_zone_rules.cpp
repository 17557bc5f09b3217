// Local time by an explicit TIME_ZONE_INFORMATION, and what follows from the machine's offsets.
#include "platform/time.h"

namespace parvane::platform {
namespace {

constexpr std::int64_t kTicksPerMinute = 60 * static_cast<std::int64_t>(kTicksPerSecond);

// The local moment, in ticks since 1601, at which `transition` falls in `year`; false when it
// states none or nonsense.
bool TransitionInYear(const SystemTime& transition, std::uint16_t year, std::int64_t* ticks) {
  SystemTime moment = transition;
  if (transition.wYear != 0) {
    // A transition with a year happens once.
    if (transition.wYear != year) return false;
  } else {
    if (transition.wMonth < 1 || transition.wMonth > 12 || transition.wDay < 1 ||
        transition.wDay > 5 || transition.wDayOfWeek > 6) {
      return false;
    }
    const std::int64_t first = DaysFromCivil(year, transition.wMonth, 1);
    const auto weekdayOfFirst = static_cast<unsigned>(((first % 7) + 11) % 7);
    unsigned day =
        1 + (transition.wDayOfWeek + 7U - weekdayOfFirst) % 7 + 7U * (transition.wDay - 1U);
    // The fifth means the last.
    const std::int64_t next = transition.wMonth == 12
                                  ? DaysFromCivil(year + 1, 1, 1)
                                  : DaysFromCivil(year, transition.wMonth + 1U, 1);
    while (day > static_cast<unsigned>(next - first)) day -= 7;
    moment.wDay = static_cast<std::uint16_t>(day);
    moment.wYear = year;
  }
  FileTime time;
  if (!SystemTimeToFileTime(moment, &time)) return false;
  *ticks = static_cast<std::int64_t>(FileTimeTicks(time));
  return true;
}

// Minutes that local time is behind UTC at this moment.
std::int32_t BiasAt(const TimeZoneInformation& zone, std::uint16_t year, std::int64_t universal) {
  const std::int32_t standard = zone.Bias + zone.StandardBias;
  const std::int32_t daylight = zone.Bias + zone.DaylightBias;
  if (zone.StandardDate.wMonth == 0 || zone.DaylightDate.wMonth == 0) return zone.Bias;
  std::int64_t toStandard;
  std::int64_t toDaylight;
  if (!TransitionInYear(zone.StandardDate, year, &toStandard) ||
      !TransitionInYear(zone.DaylightDate, year, &toDaylight)) {
    return zone.Bias;
  }
  // Each transition is stated in the local time that it ends.
  toStandard += daylight * kTicksPerMinute;
  toDaylight += standard * kTicksPerMinute;
  const bool inDaylight = toDaylight < toStandard
                              ? universal >= toDaylight && universal < toStandard
                              : universal >= toDaylight || universal < toStandard;
  return inDaylight ? daylight : standard;
}

}  // namespace

bool SystemTimeToTzSpecificLocalTime(const TimeZoneInformation* zone, const SystemTime& universal,
                                     SystemTime* local) {
  FileTime time;
  if (!SystemTimeToFileTime(universal, &time)) return false;
  const auto ticks = static_cast<std::int64_t>(FileTimeTicks(time));
  std::int64_t shift;
  if (zone == nullptr) {
    const std::int64_t unixSeconds =
        ticks / static_cast<std::int64_t>(kTicksPerSecond) - kUnixEpochInFileTimeSeconds;
    shift = LocalUtcOffsetAtUtc(unixSeconds) * static_cast<std::int64_t>(kTicksPerSecond);
  } else {
    // The rules of a year hold for the local year.
    SystemTime roughly = universal;
    const std::int64_t standard = ticks - zone->Bias * kTicksPerMinute;
    if (standard >= 0) {
      FileTimeToSystemTime(FileTimeFromTicks(static_cast<std::uint64_t>(standard)), &roughly);
    }
    shift = -BiasAt(*zone, roughly.wYear, ticks) * kTicksPerMinute;
  }
  if (ticks + shift < 0) return false;
  return FileTimeToSystemTime(FileTimeFromTicks(static_cast<std::uint64_t>(ticks + shift)), local);
}

std::int32_t LocalUtcOffsetAtLocal(std::int64_t localSeconds) {
  // A transition moves the clock by less than a day, and two lie further apart.
  const std::int32_t before = LocalUtcOffsetAtUtc(localSeconds - 86400);
  const std::int32_t after = LocalUtcOffsetAtUtc(localSeconds + 86400);
  if (before == after || LocalUtcOffsetAtUtc(localSeconds - before) == before) return before;
  if (LocalUtcOffsetAtUtc(localSeconds - after) == after) return after;
  return before;
}

}  // namespace parvane::platform
