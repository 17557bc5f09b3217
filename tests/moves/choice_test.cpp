// What somebody wants of the mail: folders by patterns, messages by dates.
#include <algorithm>
#include <cstdio>

#include <gtest/gtest.h>

#include "moves/folder_glob.h"
#include "moves/period.h"
#include "moves/year_filter.h"
#include "platform/text.h"
#include "tests/support/time_zone.h"

namespace parvane::moves {
namespace {

std::vector<std::u16string> PathOf(std::u16string_view text) {
  std::vector<std::u16string> path;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(u'|', at), text.size());
    path.emplace_back(text.substr(at, end - at));
    at = end + 1;
  }
  return path;
}

TEST(FolderGlob, MatchesFoldersAndWhatIsBelow) {
  struct Case {
    const char16_t* pattern;
    const char16_t* matching;  // paths, in words
    const char16_t* other;
  };
  // Levels are parted by "|" here, since names may have slashes.
  const Case cases[] = {
      {u"Trash", u"Trash Me|trash Me|TRASH|Old", u"Trash2 Me|My.Trash"},
      {u"List*", u"Lists Me|List|x", u"MyLists"},
      {u"*", u"a a|b", u""},
      {u"?ist", u"List 1ist", u"ist LList"},
      {u"[a-ck]x[!0-9]", u"AXz kx_ bx-", u"dxz kx7 ax"},
      {u"[]x]", u"] x", u"[]x] y"},
      {u"a*b*c", u"abc aXbXc abcbc", u"abcb ac"},
      {u"\\*\\[", u"*[", u"x["},
      {u"Inbox/Work", u"Inbox|Work inbox|work|deep", u"Work Me|Inbox|Work Inbox|Works Inbox"},
      {u"Inbox / Work", u"Inbox|Work", u"Inbox"},
      {u"/Inbox", u"Inbox Inbox|x", u"Me|Inbox"},
      {u"Inbox/", u"Inbox Me|Inbox", u""},
      {u"*/Work", u"Inbox|Work", u"Work a|b|Work"},
      {u"Inbox/**/2019", u"Inbox|2019 Inbox|a|2019 Inbox|a|b|2019|c", u"2019 a|Inbox|2019"},
      {u"**/2019", u"2019 a|2019 a|b|2019", u"a|20190"},
      {u"Inbox/**", u"Inbox|a Inbox|a|b", u"Inbox Me|Inbox"},
      {u"a\\/b", u"a/b x|a/b", u"a|b"},
      {u"a?b", u"aéb a\U0001F389b", u"ab a\U0001F389\U0001F389b"},
      {u"ärger", u"Ärger", u"arger"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(platform::Utf16ToUtf8(one.pattern));
    const auto glob = FolderGlob::Parse(one.pattern);
    ASSERT_TRUE(glob.ok());
    for (const bool matches : {true, false}) {
      const std::u16string_view paths = matches ? one.matching : one.other;
      for (std::size_t at = 0; at < paths.size();) {
        const std::size_t end = std::min(paths.find(u' ', at), paths.size());
        const std::u16string_view path = paths.substr(at, end - at);
        EXPECT_EQ(glob->Matches(PathOf(path)), matches) << platform::Utf16ToUtf8(path);
        at = end + 1;
      }
    }
  }
  for (const char16_t* wrong : {u"", u"  ", u"/", u"a//b", u"[a", u"a\\", u"[!"})
    EXPECT_FALSE(FolderGlob::Parse(wrong).ok()) << platform::Utf16ToUtf8(wrong);
  // Nothing that anyone can give takes long.
  std::u16string stars, name(2000, u'a');
  for (int i = 0; i < 500; ++i) stars += u"*a";
  EXPECT_FALSE(FolderGlob::Parse(stars + u"b")->Matches({name}));
}

std::string Text(platform::FileTime time) {
  platform::SystemTime parts;
  if (!platform::FileTimeToSystemTime(time, &parts)) return "?";
  std::string text(32, '\0');
  text.resize(static_cast<std::size_t>(
      std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", parts.wYear,
                    parts.wMonth, parts.wDay, parts.wHour, parts.wMinute, parts.wSecond)));
  return text;
}

TEST(Period, IsAsLongAsItsDateSays) {
  ASSERT_TRUE(UseTimeZone("Europe/Copenhagen"));
  struct Case {
    const char *text, *begin, *end;
  };
  const Case cases[] = {
      {"2019", "2018-12-31 23:00:00", "2019-12-31 23:00:00"},
      {"2019-12", "2019-11-30 23:00:00", "2019-12-31 23:00:00"},
      {"2020-02-29", "2020-02-28 23:00:00", "2020-02-29 23:00:00"},
      {"2019-03-31", "2019-03-30 23:00:00", "2019-03-31 22:00:00"},  // an hour shorter
      {"2019-10-27", "2019-10-26 22:00:00", "2019-10-27 23:00:00"},
      {"2019-05-03T08:30", "2019-05-03 06:30:00", "2019-05-03 06:31:00"},
      {"2019-05-03 08:30:15", "2019-05-03 06:30:15", "2019-05-03 06:30:16"},
      {"2019-05-03T08:30Z", "2019-05-03 08:30:00", "2019-05-03 08:31:00"},
      {"2019-05-03T08:30-0330", "2019-05-03 12:00:00", "2019-05-03 12:01:00"},
  };
  for (const Case& one : cases) {
    const auto period = ReadPeriod(one.text);
    ASSERT_TRUE(period) << one.text;
    EXPECT_EQ(Text(period->begin), one.begin) << one.text;
    EXPECT_EQ(Text(period->end), one.end) << one.text;
  }
  platform::SetLocalTimeZone({});
  for (const char* wrong :
       {"", "19", "2019-", "2019-13", "2019-00", "2019-02-29", "2019-04-31", "2019-05-00",
        "2019-5-3", "2019-05-03T", "2019-05-03T24:00", "2019-05-03T08:60", "2019-05-03T08:30:60",
        "2019-05-03x", "2019-05-03T08:30+15:00", "1600", "03.05.2019", "-2019",
        "2019-05-03T08:30Z0"})
    EXPECT_FALSE(ReadPeriod(wrong)) << wrong;
}

TEST(YearFinder, RemembersYearsAsTheyAre) {
  constexpr std::uint64_t kHour = 3600 * platform::kTicksPerSecond;
  for (const char* zone : {"America/New_York", "Australia/Lord_Howe", "Asia/Kolkata"}) {
    ASSERT_TRUE(UseTimeZone(zone));
    YearFinder finder;
    // Around every new year, and in leaps, so that what is remembered is met again and replaced.
    for (std::uint64_t year = 0; year < 500; year += year % 7 + 1) {
      for (const std::uint64_t day : {1u, 2u, 3u, 180u, 363u, 364u, 365u}) {
        for (std::uint64_t hour = 0; hour < 24; hour += 5) {
          const auto time =
              platform::FileTimeFromTicks(kHour * (hour + 24 * (day + year * 365 + year / 4)));
          ASSERT_EQ(finder.Of(time), YearOf(time)) << year << " " << day << " " << hour;
        }
      }
    }
    EXPECT_EQ(finder.Of({}), kNoYear);
  }
  platform::SetLocalTimeZone("");
}

}  // namespace
}  // namespace parvane::moves
