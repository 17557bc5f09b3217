#include "platform/time.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/time_zone.h"

namespace parvane::platform {
namespace {

SystemTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
              int milliseconds = 0) {
  const auto w = [](int value) { return static_cast<std::uint16_t>(value); };
  SystemTime time{w(year), w(month), 0, w(day), w(hour), w(minute), w(second), w(milliseconds)};
  const std::int64_t days =
      DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
  time.wDayOfWeek = w(static_cast<int>(((days % 7) + 11) % 7));
  return time;
}

TEST(FileTime, RoundTripsThroughItsParts) {
  const struct {
    SystemTime parts;
    std::uint64_t ticks;
  } kCases[] = {{At(1601, 1, 1), 0},
                {At(1970, 1, 1), 116444736000000000U},
                {At(2000, 2, 29, 23, 59, 59, 999), 125963423999990000U},
                {At(2013, 3, 5, 10, 20, 30, 1), 130069524300010000U},
                {At(30827, 12, 31, 23, 59, 59, 999), 9223149887999990000U}};
  for (const auto& c : kCases) {
    FileTime time;
    ASSERT_TRUE(SystemTimeToFileTime(c.parts, &time));
    EXPECT_EQ(FileTimeTicks(time), c.ticks);
    SystemTime parts;
    ASSERT_TRUE(FileTimeToSystemTime(time, &parts));
    EXPECT_EQ(parts, c.parts);
  }
  FileTime untouched{1, 2};
  for (const SystemTime& wrong :
       {At(1600, 12, 31), At(2013, 13, 1), At(2013, 2, 29), At(1900, 2, 29), At(2013, 1, 0),
        At(2013, 1, 1, 24), At(2013, 1, 1, 0, 60), At(2013, 1, 1, 0, 0, 60),
        At(2013, 1, 1, 0, 0, 0, 1000), SystemTime{}}) {
    EXPECT_FALSE(SystemTimeToFileTime(wrong, &untouched));
  }
  EXPECT_EQ(untouched, (FileTime{1, 2}));
  SystemTime parts;
  EXPECT_FALSE(FileTimeToSystemTime(FileTimeFromTicks(9223149888000000000U), &parts));
  EXPECT_FALSE(FileTimeToSystemTime(FileTimeFromTicks(~std::uint64_t{0}), &parts));
}

TEST(Calendar, CountsDaysOverErasAndBack) {
  EXPECT_EQ(DaysFromCivil(1970, 1, 1), 0);
  EXPECT_EQ(DaysFromCivil(2000, 3, 1), 11017);
  EXPECT_EQ(DaysFromCivil(0, 3, 1), -719468);
  for (std::int64_t day = -800'000; day < 800'000; day += 61) {
    const CivilDate date = CivilFromDays(day);
    ASSERT_EQ(DaysFromCivil(date.year, date.month, date.day), day);
  }
}

TEST(TimeZone, ExplicitRulesOfBothHemispheres) {
  TimeZoneInformation copenhagen;
  copenhagen.Bias = -60;
  copenhagen.DaylightBias = -60;
  copenhagen.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};  // last Sunday of October, 3:00
  copenhagen.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
  TimeZoneInformation sydney;
  sydney.Bias = -600;
  sydney.DaylightBias = -60;
  sydney.StandardDate = {0, 4, 0, 1, 3, 0, 0, 0};
  sydney.DaylightDate = {0, 10, 0, 1, 2, 0, 0, 0};
  TimeZoneInformation kolkata;
  kolkata.Bias = -330;
  const struct {
    const TimeZoneInformation* zone;
    SystemTime universal;
    SystemTime local;
  } kCases[] = {
      {&copenhagen, At(2013, 3, 31, 0, 59, 59), At(2013, 3, 31, 1, 59, 59)},
      {&copenhagen, At(2013, 3, 31, 1), At(2013, 3, 31, 3)},
      {&copenhagen, At(2013, 10, 27, 0, 59, 59), At(2013, 10, 27, 2, 59, 59)},
      {&copenhagen, At(2013, 10, 27, 1), At(2013, 10, 27, 2)},
      {&copenhagen, At(2013, 12, 31, 23, 30), At(2014, 1, 1, 0, 30)},
      {&sydney, At(2013, 1, 1), At(2013, 1, 1, 11)},
      {&sydney, At(2013, 7, 1), At(2013, 7, 1, 10)},
      {&sydney, At(2013, 4, 6, 15, 59), At(2013, 4, 7, 2, 59)},
      {&sydney, At(2013, 4, 6, 16), At(2013, 4, 7, 2)},
      {&sydney, At(2013, 10, 5, 16), At(2013, 10, 6, 3)},
      {&kolkata, At(2013, 7, 1, 20), At(2013, 7, 2, 1, 30)},
  };
  for (const auto& c : kCases) {
    SystemTime local;
    ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(c.zone, c.universal, &local));
    EXPECT_EQ(local, c.local) << c.universal.wMonth << "/" << c.universal.wDay << " "
                              << c.universal.wHour;
  }
  SystemTime local;
  EXPECT_FALSE(SystemTimeToTzSpecificLocalTime(&kolkata, SystemTime{}, &local));
}

TEST(TimeZone, TheMachinesOwn) {
  const struct {
    const char* zone;
    SystemTime local;
    std::int32_t offset;  // seconds
  } kCases[] = {
      {"America/New_York", At(2013, 1, 1), -18000},
      {"America/New_York", At(2013, 7, 1), -14400},
      {"America/New_York", At(2013, 3, 10, 2, 30), -18000},  // the gap: the offset before it
      {"America/New_York", At(2013, 11, 3, 1, 30), -14400},  // twice: the earlier
      {"America/New_York", At(2013, 11, 3, 2, 0), -18000},
      {"America/St_Johns", At(2013, 1, 1), -12600},
      {"Asia/Kolkata", At(2013, 7, 1), 19800},
      {"Australia/Lord_Howe", At(2013, 4, 7, 1, 45), 39600},  // half an hour of daylight saving
  };
  for (const auto& c : kCases) {
    ASSERT_TRUE(UseTimeZone(c.zone)) << c.zone;
    FileTime time;
    ASSERT_TRUE(SystemTimeToFileTime(c.local, &time));
    const auto seconds = static_cast<std::int64_t>(FileTimeTicks(time) / kTicksPerSecond) -
                         kUnixEpochInFileTimeSeconds;
    EXPECT_EQ(LocalUtcOffsetAtLocal(seconds), c.offset) << c.zone << " " << c.local.wMonth;
  }
  UseTimeZone("Asia/Kolkata");
  EXPECT_EQ(LocalUtcOffsetAtUtc(0), 19800);
  SystemTime local;
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, At(2013, 7, 1, 20), &local));
  EXPECT_EQ(local, At(2013, 7, 2, 1, 30));
  SetLocalTimeZone({});
}

TEST(Clock, TellsThisCentury) {
  SystemTime now;
  ASSERT_TRUE(FileTimeToSystemTime(CurrentFileTime(), &now));
  EXPECT_GE(now.wYear, 2024);
  EXPECT_LT(now.wYear, 2100);
  const std::uint64_t before = MonotonicMilliseconds();
  EXPECT_LE(before, MonotonicMilliseconds());
}

}  // namespace
}  // namespace parvane::platform
