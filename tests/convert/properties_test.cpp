#include <random>
#include <regex>

#include <gtest/gtest.h>

#include "convert/flat_entry_list.h"
#include "convert/message_streams.h"
#include "convert/properties/date_time_utilities.h"
#include "convert/properties/mapi_properties.h"
#include "convert/properties/one_off.h"
#include "convert/properties/strings.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "platform/text.h"
#include "tests/support/environment.h"
#include "tests/support/unwilling_object.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
namespace platform = parvane::platform;

// An object of a MAPI that refuses what is written and tells it by results alone.
class Refusing final : public UnwillingObject {
 public:
  HRESULT set = S_OK;
  SCODE problem = S_OK;  // of every property

  HRESULT PARVANE_STDCALL SetProps(ULONG count, SPropValue* values,
                                   SPropProblemArray** problems) override {
    if (problem == S_OK) return set;
    MAPIAllocateBuffer(NewSizeSPropProblemArray(count), reinterpret_cast<void**>(problems));
    (*problems)->cProblem = count;
    for (ULONG i = 0; i < count; ++i) (*problems)->aProblem[i] = {i, values[i].ulPropTag, problem};
    return set;
  }
  HRESULT PARVANE_STDCALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) override {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  }
};

TEST(Writing, NotesWhatAMapiRefuses) {
  SelectEntryPoints(BuiltinEntryPoints());  // for its memory
  Refusing object;
  object.set = E_FAIL;
  SetPropLong(&object, PR_IMPORTANCE, 1);  // nobody listens
  object.set = S_OK;
  RefusalLog log;
  SetPropString(&object, PR_SUBJECT_W, u"taken");
  object.problem = MAPI_E_COMPUTED;
  SetPropLong(&object, PR_IMPORTANCE, 1);
  object.problem = MAPI_E_INVALID_TYPE;
  SetPropLong(&object, PR_IMPORTANCE, 1);
  SetPropLong(&object, PR_IMPORTANCE, 2);
  object.problem = S_OK;
  object.set = MAPI_E_NOT_ENOUGH_DISK;
  SetPropString(&object, PR_SUBJECT_W, u"not taken");
  RefusalsConcern(u"big.zip");
  EXPECT_FALSE(parvane::convert::WritePropertyStream(object, PR_BODY_W, "text"));
  const std::vector<Refusal> refused = log.Take();
  ASSERT_EQ(refused.size(), 3u);
  EXPECT_EQ(refused[0].tag, PR_IMPORTANCE);
  EXPECT_EQ(refused[0].result, MAPI_E_INVALID_TYPE);
  EXPECT_EQ(refused[0].count, 2u);
  EXPECT_EQ(refused[1].result, MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_EQ(refused[2].tag, PR_BODY_W);
  EXPECT_EQ(refused[2].file, u"big.zip");
}

// A MAPI that has one named property and remembers what was set last.
class Naming final : public UnwillingObject {
 public:
  SPropValue last{};

  HRESULT PARVANE_STDCALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG,
                                          SPropTagArray** tags) override {
    MAPIAllocateBuffer(NewSizeSPropTagArray(1), reinterpret_cast<void**>(tags));
    **tags = {1, {PropTag(PT_UNSPECIFIED, 0x8001)}};
    return S_OK;
  }
  HRESULT PARVANE_STDCALL SetProps(ULONG, SPropValue* values, SPropProblemArray**) override {
    last = *values;
    return S_OK;
  }
};

TEST(Writing, FindsNamedPropertiesAndWritesTruth) {
  SelectEntryPoints(BuiltinEntryPoints());  // for its memory
  Naming object;
  PropertyList list;
  for (const std::int32_t value : {0, 5}) {
    SetNamedPropBool(&object, 7, &PSETID_Common, value);
    EXPECT_EQ(object.last.ulPropTag, PropTag(PT_BOOLEAN, 0x8001));
    EXPECT_EQ(object.last.Value.b, value != 0 ? 1 : 0);
    AddProperty_BOOL(list, PR_HASATTACH, value);
    EXPECT_EQ(list.back().Value.b, value != 0 ? 1 : 0);
  }
}

TEST(OneOffNames, AreNeverWrittenEmpty) {
  struct Case {
    const char16_t* name;
    const char16_t* address;
    bool extract;
    const char16_t* expectedName;
    const char16_t* expectedAddress;
  };
  const Case cases[] = {
      {u"Bob", u"b@x.org", false, u"Bob", u"b@x.org"},
      {u" \tBob\u3000", u"\u00A0b@x.org ", false, u"Bob", u"b@x.org"},
      {u"  ", u"b@x.org", false, u"b@x.org", u"b@x.org"},
      {u"Bob", u"", false, u"Bob", u"-@-"},
      {u"Bob b@x.org c@x.org", u" ", true, u"Bob b@x.org c@x.org", u"b@x.org"},
      {u"Bob b@x.org", u"", false, u"Bob b@x.org", u"-@-"},
      {u"Bob", u"", true, u"Bob", u"-@-"},
      {u"", u"", true, u"-", u"-@-"},
  };
  for (const Case& test : cases) {
    std::u16string name = test.name;
    std::u16string address = test.address;
    EnsureNonNullOneOff(name, address, test.extract);
    EXPECT_EQ(name, test.expectedName) << platform::Utf16ToUtf8(test.name);
    EXPECT_EQ(address, test.expectedAddress) << platform::Utf16ToUtf8(test.name);
  }
}

std::vector<std::string> Extract(const std::string& text) {
  std::vector<std::u16string> found;
  ExtractEmails(platform::Utf8ToUtf16(text), found);
  std::vector<std::string> narrow;
  for (const auto& address : found) narrow.push_back(platform::Utf16ToUtf8(address));
  return narrow;
}

TEST(AddressSearch, FindsWhatTheStandardPatternFinds) {
  const std::regex pattern(
      R"([a-zA-Z0-9!#$%&'*+/=?^_`{|}~-]+(?:\.[a-zA-Z0-9!#$%&'*+/=?^_`{|}~-]+)*)"
      R"(@(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\.)+[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?)");
  std::mt19937 random(815);
  const std::string_view alphabet = "aB0.@@..--`, ";
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (auto length = random() % 24; length > 0; --length)
      text += alphabet[random() % alphabet.size()];
    std::vector<std::string> expected;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
      expected.push_back(match->str());
    ASSERT_EQ(Extract(text), expected) << text;
  }
}

TEST(AddressSearch, TakesLongTextInItsStride) {
  // Neither recursion nor a second look at what was passed.
  EXPECT_TRUE(Extract(std::string(1u << 20, 'a')).empty());
  EXPECT_TRUE(Extract(std::string(1u << 20, '@')).empty());
  std::string dots;
  for (int i = 0; i < 200000; ++i) dots += "a.";
  EXPECT_EQ(Extract(dots + "a@" + dots + "a").size(), 1u);
}

TEST(FlatEntryLists, PadEachEntryByItsSizeModuloFour) {
  for (std::size_t size = 0; size < 9; ++size) {
    const std::vector<std::uint8_t> first(size, 0xAA);
    const std::vector<std::uint8_t> second(2, 0xBB);
    parvane::convert::FlatEntryList list;
    list.Add(first);
    list.Add(second);
    const std::vector<std::uint8_t> bytes = list.Bytes();
    const std::size_t step = size + 4 + (size + 4) % 4;
    ASSERT_EQ(bytes.size(), 8 + step + 8) << size;
    EXPECT_EQ(bytes[0], 2);
    EXPECT_EQ(bytes[4], step + 8);
    EXPECT_EQ(bytes[8], size);
    EXPECT_EQ(bytes[8 + step], 2) << "where the second entry starts, for " << size;
    for (std::size_t i = 12 + size; i < 8 + step; ++i) EXPECT_EQ(bytes[i], 0);
    EXPECT_EQ(bytes[8 + step + 4], 0xBB);
  }
  EXPECT_EQ(parvane::convert::FlatEntryList().Bytes(), std::vector<std::uint8_t>(8, 0));
}

TEST(Strings, AreTrimmedAndConverted) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {{u" \t\r\n a b \u2028", u"a b"},
                                                               {u"\u3000\u00A0", u""},
                                                               {u"", u""},
                                                               {u"\u200Bx", u"\u200Bx"}};
  for (const auto& [text, expected] : cases) {
    std::u16string trimmed = text;
    TrimStringW(trimmed);
    EXPECT_EQ(trimmed, expected);
  }
  std::string narrow = " \v a\xC2\xA0 ";
  TrimString(narrow);
  EXPECT_EQ(narrow, "a\xC2\xA0");

  std::u16string wide = u"old";
  stringTowstring(std::string("\xC3\xA4\xFFz\0cut", 8), wide);
  EXPECT_EQ(wide, u"\u00E4\uFFFDz");
  std::u16string plain = u"kept";
  EXPECT_EQ(ConvertHTMLToPlainText(u"<p>x", plain), 0);
  EXPECT_EQ(plain, u"kept");
}

TEST(DateTimes, AreScannedByTheCallersFormat) {
  using namespace DateTimeUtilities;
  struct Case {
    const char* text;
    const char* format;
    int fields[6];  // 9: untouched
  };
  const Case cases[] = {
      {"2013-06-03 10:20:30", "%d-%d-%d %d:%d:%d", {2013, 6, 3, 10, 20, 30}},
      {"20130603T102030", "%4hu%2hu%2huT%2hu%2hu%2hu", {2013, 6, 3, 10, 20, 30}},
      {"  2013   6", "%d %d", {2013, 6, 9, 9, 9, 9}},
      {"7 2013/6", "%*d %d/%d/%d", {2013, 6, 9, 9, 9, 9}},
      {"2013-x", "%d-%d", {2013, 9, 9, 9, 9, 9}},
      {"99999999999 1", "%d %d", {99999999999 & 0xFFFF, 1, 9, 9, 9, 9}},
      {"2013", "%s", {9, 9, 9, 9, 9, 9}},
      {"5%2013", "%*d%%%d", {2013, 9, 9, 9, 9, 9}},
      {"", "%d", {9, 9, 9, 9, 9, 9}},
      {"2013", "%", {9, 9, 9, 9, 9, 9}},
  };
  for (const Case& test : cases) {
    SYSTEMTIME time{9, 9, 9, 9, 9, 9, 9, 9};
    ConvertStringToSysTime(test.text, test.format, time);
    const int actual[] = {time.wYear, time.wMonth,  time.wDay,
                          time.wHour, time.wMinute, time.wSecond};
    EXPECT_TRUE(std::equal(actual, actual + 6, test.fields))
        << test.text << " by " << test.format << ": " << testing::PrintToString(actual);
    EXPECT_EQ(time.wDayOfWeek + time.wMilliseconds, 18);
  }
  FILETIME fileTime{1, 1};
  ConvertStringToFileTime("1601 1 1 0 1 0", "%d %d %d %d %d %d", fileTime);
  EXPECT_EQ(platform::FileTimeTicks(fileTime), 600'000'000u);
  ConvertStringToFileTime("2013 2 30 0 0 0", "%d %d %d %d %d %d", fileTime);
  EXPECT_EQ(platform::FileTimeTicks(fileTime), 0u);
  EXPECT_THROW(ConvertStringToTime("2013"), std::runtime_error);
}

TEST(DateTimes, ConvertBetweenTheirRepresentations) {
  using namespace DateTimeUtilities;
  SYSTEMTIME time{};
  time.wYear = 1601;
  time.wMonth = time.wDay = 1;
  EXPECT_EQ(SystemTimeToRTime(time), 0);
  time.wYear = 2013;
  FILETIME fileTime{};
  EXPECT_TRUE(RTimeToFileTime(SystemTimeToRTime(time), &fileTime));
  SYSTEMTIME back{};
  platform::FileTimeToSystemTime(fileTime, &back);
  EXPECT_EQ(back.wYear * 10000 + back.wMonth * 100 + back.wDay, 20130101);
  EXPECT_TRUE(RTimeToFileTime(1, &fileTime));
  EXPECT_EQ(platform::FileTimeTicks(fileTime), 600'000'000u);
  time.wMonth = 13;
  EXPECT_EQ(SystemTimeToRTime(time), 0);

  const auto at = [](std::uint64_t ticks) { return platform::FileTimeFromTicks(ticks); };
  EXPECT_EQ(SubtractFILETIME(at(15'000'000), at(0)), 1);
  EXPECT_EQ(SubtractFILETIME(at(0), at(15'000'000)), -1);
  EXPECT_EQ(SubtractFILETIME(at(std::uint64_t{5} << 40), at(1)), 549755);
}

TEST(DateTimes, AreShownInTheUsersLocale) {
  parvane::SetEnvironment("LC_ALL", "C");  // whoever runs this: English
  using namespace DateTimeUtilities;
  SYSTEMTIME time{};
  time.wYear = 2013;
  time.wMonth = 3;
  time.wDay = 5;
  time.wHour = 9;
  std::u16string text;
  SystemTimeToStringLOCALE(&time, u"CET", &text, nullptr);
  EXPECT_EQ(text, u"Tue, 5 Mar 2013 09:00:00 CET");
  TIME_ZONE_INFORMATION zone{};
  zone.Bias = -60;
  SystemTimeToStringLOCALE(&time, u"CET", &text, &zone);
  EXPECT_EQ(text, u"Tue, 5 Mar 2013 10:00:00 CET");
  SystemTimeToStringLOCALE(nullptr, u"CET", &text, nullptr);
  EXPECT_EQ(text, u"Tue, 5 Mar 2013 10:00:00 CET");
  SystemTimeToStringLOCALE(&time, u"CET", nullptr, &zone);
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
