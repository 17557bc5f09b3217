#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "mime/date_parser.h"
#include "platform/text.h"
#include "tests/support/time_zone.h"

namespace Tessary {
namespace {

namespace platform = parvane::platform;

std::string AsUtc(const DateValue& date) {
  std::string text;
  return date.GetAsRfc822(false, text) ? text : "none";
}

std::string Read(std::string_view text) {
  DateValue date;
  const bool read = date.SetFromRfc822(text);
  EXPECT_EQ(read, date.valid());
  return AsUtc(date);
}

struct Case {
  const char* input;
  const char* utc;
};

TEST(DateParser, ReadsTheFormsOfOldMailboxes) {
  const Case kCases[] = {
      {"Sun, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 GMT"},
      {"6-Nov-94 8:49 pm EST", "Mon, 07 Nov 1994 01:49:00 GMT"},
      {"\"Tue, 5 Mar 2013 10:20:30 +0100\"", "Tue, 05 Mar 2013 09:20:30 GMT"},
      {" \tTuesday ,\t5 March 2013 10:20:30 -0530", "Tue, 05 Mar 2013 15:50:30 GMT"},
      {"Tue,5 Mar 2013 10:20", "Tue, 05 Mar 2013 10:20:00 GMT"},
      {"Fri, 05 Mar 13 10:20:30 CDT", "Tue, 05 Mar 2013 15:20:30 GMT"},
      {"05 dez 49 00:00:00 ut", "Sun, 05 Dec 2049 00:00:00 GMT"},
      {"05 okt 50 00:00:00 z", "Thu, 05 Oct 1950 00:00:00 GMT"},
      {"05 Mai 100 1:2:3", "Fri, 05 May 2000 01:02:03 GMT"},
      {"5 Fev 2013 12:00 am", "Tue, 05 Feb 2013 12:00:00 GMT"},
      {"5 Set 2013 12:30 pm", "Thu, 05 Sep 2013 12:30:00 GMT"},
      {"5 Ian 2013 1:30pm pdt", "Sat, 05 Jan 2013 20:30:00 GMT"},
      {"31 Feb 2013 24:00:00 gmt", "Mon, 04 Mar 2013 00:00:00 GMT"},
      {"0 Jan 2000 10:00", "Fri, 31 Dec 1999 10:00:00 GMT"},
      {"32 Jan 2000 25:60:61 +2700", "Mon, 31 Jan 2000 23:01:01 GMT"},
      {"1 Jan 2000 999999999:999999999", "Mon, 13 Oct 117980 01:39:00 GMT"},
      {"1 Jan 2000 00:00: 5", "Sat, 01 Jan 2000 00:00:05 GMT"},
      {"1 Jan 2000 00:00:05.250 +0100", "Fri, 31 Dec 1999 23:00:05 GMT"},
  };
  for (const Case& c : kCases) EXPECT_EQ(Read(c.input), c.utc) << c.input;
}

// Text in lower case is not the standard's and goes the long way.
TEST(DateParser, ReadsTheStandardFormLikeAnyOther) {
  for (const char* text :
       {"Thu, 22 Aug 2002 18:26:25 +0700", "Fri, 2 Aug 2002 00:00:59 -1200 (PST)",
        "Sat, 31 Feb 2004 23:59:59 +0000", "Mon, 0 Jan 2001 10:00:00 +0100",
        "Mon, 32 Jan 2001 10:00:00 +0100", "Sun, 01 Jan 1899 10:00:00 +0100",
        "Sun, 01 Jan 1900 24:00:00 +0100", "Sun, 01 Jan 9999 23:60:00 -0100",
        "Sun, 01 Jan 2000 23:00:60 +2700", "Sun, 01 Jan 2000 23:00:00 -9999",
        "Sun, 01 Jan 2000 23:00:00 +0130x", "Sun, 01 Jan 2000 23:00:00 +013",
        "Sun,  1 Jan 2000 23:00:00 +0100", "Xyz, 01 Jan 2000 23:00:00 +0100",
        "Sun, 01 Xyz 2000 23:00:00 +0100", "Sun, 01 Jan 2000 23:00:00 *0100"}) {
    EXPECT_EQ(Read(text), Read(platform::ToLowerAscii(text))) << text;
  }
}

TEST(DateParser, ReadsZones) {
  // Offsets behind noon of 1 January 2000.
  const struct {
    const char* zone;
    std::int32_t minutes;
  } kCases[] = {{"A", -60},
                {"Z", 0},
                {"M", -720},
                {"N", 60},
                {"Y", 720},
                {"B", 0},
                {"UTC", 0},
                {"CEST", 0},
                {"(PST)", 0},
                {"edt", -240},
                {"mst", -420},
                {"MDT", -360},
                {"pst", -480},
                {"PDT", -420},
                {"+05:45", 345},
                {"-5", -300},
                {"+5:30", 330},
                {"0200", 120},
                {"-0000", 0},
                {"+9999", 6039},
                {"Eastern Daylight Time", -240},
                {"Eastern Standard Time", -300},
                {"pacific", -480},
                {"mountain daylight time", -360},
                {"central time", -360},
                {"-0700 (PDT)", -420},
                {"pm -0100", -60}};
  for (const auto& c : kCases) {
    DateValue date;
    EXPECT_TRUE(date.SetFromRfc822(std::string("1 Jan 2000 12:00:00 ") + c.zone)) << c.zone;
    EXPECT_EQ(date.OffsetSeconds(), c.minutes * 60) << c.zone;
    EXPECT_EQ(date.UnixSeconds(), 946728000 - c.minutes * 60) << c.zone;
  }
}

TEST(DateParser, RefusesWhatIsNoDate) {
  for (const char* text :
       {"", " \t", "Sun", "Sun, ", "1234 Jan 2000 10:00", "1 August 2000 10:00", "1 Foo 2000 10:00",
        "1 Jan 1234567 10:00", "1 Jan 2000", "1 Jan 2000 noon", "1 Jan 2000 10", "Jan 1 2000 10:00",
        "1 Ja", "Mon Jun  3 10:00:00 2013", "1/2/2000 10:00", "2000-01-01Tnonsense"}) {
    EXPECT_EQ(Read(text), "none") << text;
  }
  // Only 199 characters count.
  EXPECT_EQ(Read(std::string(190, ' ') + "1 Jan 2000 10:00"), "none");
  DateValue date;
  ASSERT_TRUE(date.SetFromRfc822("1 Jan 2000 10:00"));
  EXPECT_FALSE(date.SetFromRfc822("nonsense"));
  platform::FileTime time{1, 2};
  EXPECT_FALSE(date.GetAsFileTime(false, &time));
  EXPECT_EQ(time, (platform::FileTime{1, 2}));
}

TEST(DateParser, ReadsIso8601InFull) {
  const Case kCases[] = {
      {"2013-03-05T10:20:30Z", "Tue, 05 Mar 2013 10:20:30 GMT"},
      {"2013-03-05T10:20:30.123+01:00", "Tue, 05 Mar 2013 09:20:30 GMT"},
      {"2013-03-05T10:20:30,5-0230", "Tue, 05 Mar 2013 12:50:30 GMT"},
      {"2013-03-05 10:20 +01", "Tue, 05 Mar 2013 09:20:00 GMT"},
      {"20130305T102030Z", "Tue, 05 Mar 2013 10:20:30 GMT"},
      {"2013-03-05T10.5Z", "Tue, 05 Mar 2013 10:30:00 GMT"},
      {"2013-03-05T10:20,25Z", "Tue, 05 Mar 2013 10:20:15 GMT"},
      {"2013-12-31T24:00", "Wed, 01 Jan 2014 00:00:00 GMT"},
      {"2013-064", "Tue, 05 Mar 2013 00:00:00 GMT"},
      {"2012366T0102", "Mon, 31 Dec 2012 01:02:00 GMT"},
      {"2013-W10-2", "Tue, 05 Mar 2013 00:00:00 GMT"},
      {"2009W537", "Sun, 03 Jan 2010 00:00:00 GMT"},
      {"2004-W53", "Mon, 27 Dec 2004 00:00:00 GMT"},
      {"1969-W01", "Mon, 30 Dec 1968 00:00:00 GMT"},
      {"2013-03", "Fri, 01 Mar 2013 00:00:00 GMT"},
      {"2013", "Tue, 01 Jan 2013 00:00:00 GMT"},
      {"+002013-03-05", "Tue, 05 Mar 2013 00:00:00 GMT"},
      {"2013-03-05T23:59:60Z (leap)", "Wed, 06 Mar 2013 00:00:00 GMT"},
      {"2013-02-29", "none"},
      {"2013-366", "none"},
      {"2013-W53", "none"},
      {"2013-03-05T24:01", "none"},
      {"2013-03-05T10:20:30X", "none"},
      {"13-03-05", "none"},
      {"2013-03-05T", "none"},
  };
  for (const Case& c : kCases) {
    DateValue date;
    const bool read = DateParser::ParseIso8601(c.input, &date);
    EXPECT_EQ(read, date.valid());
    EXPECT_EQ(AsUtc(date), c.utc) << c.input;
  }
  EXPECT_EQ(Read("2013-03-05T10:20:30+01:00"), "Tue, 05 Mar 2013 09:20:30 GMT");
}

// Puts the machine into a time zone for one test.
class ZoneScope {
 public:
  explicit ZoneScope(std::string_view zone) : _set(parvane::UseTimeZone(zone)) {}
  ~ZoneScope() { platform::SetLocalTimeZone({}); }
  bool set() const { return _set; }

 private:
  bool _set;
};

std::tm Parts(int year, int month, int day, int hour, int minute) {
  std::tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  return parts;
}

TEST(DateValue, ConvertsLocalTimeInThreeZones) {
  const struct {
    const char* zone;
    std::tm local;
    const char* asLocal;
    const char* asUtc;
  } kCases[] = {
      {"Europe/Copenhagen", Parts(2013, 7, 5, 10, 20), "Fri, 05 Jul 2013 10:20:00 +0200",
       "Fri, 05 Jul 2013 08:20:00 GMT"},
      {"Europe/Copenhagen", Parts(2013, 1, 5, 0, 20), "Sat, 05 Jan 2013 00:20:00 +0100",
       "Fri, 04 Jan 2013 23:20:00 GMT"},
      // In the hour that does not exist the offset before it holds; in the one that exists twice,
      // the earlier one.
      {"Europe/Copenhagen", Parts(2013, 3, 31, 2, 30), "Sun, 31 Mar 2013 03:30:00 +0200",
       "Sun, 31 Mar 2013 01:30:00 GMT"},
      {"Europe/Copenhagen", Parts(2013, 10, 27, 2, 30), "Sun, 27 Oct 2013 02:30:00 +0200",
       "Sun, 27 Oct 2013 00:30:00 GMT"},
      {"America/St_Johns", Parts(2013, 1, 5, 23, 0), "Sat, 05 Jan 2013 23:00:00 -0330",
       "Sun, 06 Jan 2013 02:30:00 GMT"},
      {"America/St_Johns", Parts(2013, 3, 10, 2, 30), "Sun, 10 Mar 2013 03:30:00 -0230",
       "Sun, 10 Mar 2013 06:00:00 GMT"},
      {"Asia/Kolkata", Parts(2013, 13, 32, 25, 61), "Sun, 02 Feb 2014 02:01:00 +0530",
       "Sat, 01 Feb 2014 20:31:00 GMT"},
  };
  for (const auto& c : kCases) {
    const ZoneScope zone(c.zone);
    ASSERT_TRUE(zone.set()) << c.zone;
    DateValue date;
    ASSERT_TRUE(date.SetFromTmStruct(true, c.local));
    std::string text;
    ASSERT_TRUE(date.GetAsRfc822(true, text));
    EXPECT_EQ(text, c.asLocal);
    EXPECT_EQ(AsUtc(date), c.asUtc);
    // The written text reads as the same moment.
    DateValue again;
    ASSERT_TRUE(again.SetFromRfc822(text));
    EXPECT_EQ(again.UnixSeconds(), date.UnixSeconds());
    // FILETIME of the local clock is the UTC one plus the offset.
    platform::FileTime utc;
    platform::FileTime local;
    ASSERT_TRUE(date.GetAsFileTime(false, &utc));
    ASSERT_TRUE(date.GetAsFileTime(true, &local));
    const auto seconds = [](platform::FileTime t) {
      return static_cast<std::int64_t>(platform::FileTimeTicks(t) / platform::kTicksPerSecond);
    };
    EXPECT_EQ(seconds(utc) - platform::kUnixEpochInFileTimeSeconds, date.UnixSeconds());
    EXPECT_EQ(seconds(local) - seconds(utc), again.OffsetSeconds());
  }
}

TEST(DateValue, KeepsUtcWhateverTheZone) {
  for (const char* name : {"Europe/Copenhagen", "America/St_Johns", "Asia/Kolkata"}) {
    const ZoneScope zone(name);
    DateValue date;
    ASSERT_TRUE(date.SetFromTmStruct(false, Parts(2013, 3, 5, 10, 20)));
    EXPECT_EQ(AsUtc(date), "Tue, 05 Mar 2013 10:20:00 GMT");
    EXPECT_EQ(Read(AsUtc(date)), AsUtc(date));
  }
}

TEST(DateValue, IsClearedByDayZeroAndKeepsOddYears) {
  DateValue date;
  ASSERT_TRUE(date.SetFromTmStruct(false, Parts(2013, 3, 5, 10, 20)));
  EXPECT_FALSE(date.SetFromTmStruct(false, Parts(2013, 3, 0, 10, 20)));
  EXPECT_EQ(AsUtc(date), "none");
  // Written with four digits, a two-digit year reads back as the year it means.
  ASSERT_TRUE(date.SetFromTmStruct(false, Parts(13, 3, 5, 10, 20)));
  EXPECT_EQ(AsUtc(date), "Tue, 05 Mar 0013 10:20:00 GMT");
  EXPECT_EQ(Read(AsUtc(date)), "Tue, 05 Mar 2013 10:20:00 GMT");
  platform::FileTime time{1, 2};
  EXPECT_FALSE(date.GetAsFileTime(false, &time));
}

}  // namespace
}  // namespace Tessary
