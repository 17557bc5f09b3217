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
#include "tests/convert/mail_file.h"
#include "tests/support/environment.h"
#include "tests/support/unwilling_object.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using namespace mapi_reading;
namespace platform = parvane::platform;

// An object of a MAPI that refuses what is written and tells it by results alone.
class Refusing final : public UnwillingObject<> {
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

void WritePropertiesOfEveryKind(IMAPIProp* object) {
  constexpr GUID kSet = PSETID_Common;
  SetNamedPropLong(object, 0x8001, &kSet, -7);
  SetNamedPropShort(object, 0x8002, &kSet, -2);
  SetNamedPropBool(object, 0x8003, &kSet, 5);
  SetNamedPropTime(object, 0x8004, &kSet, {1, 2});
  SetNamedPropBin(object, 0x8005, &kSet, 3, "abc");
  SetNamedPropString(object, 0x8006, &kSet, u"text");
  SetNamedPropString(object, 0x8007, &kSet, u"");
  SetNamedPropMVString(object, 0x8008, &kSet, {"a", "ü"});
  const auto tag = [&](LONG id, ULONG type) {
    return ChangePropType(GetNamedPropId(object, id, &kSet), type);
  };
  EXPECT_EQ(Long(*object, tag(0x8001, PT_LONG)), -7);
  EXPECT_EQ(Property(*object, tag(0x8002, PT_I2)).get()->i, -2);
  EXPECT_EQ(Property(*object, tag(0x8003, PT_BOOLEAN)).get()->b, 1);
  EXPECT_EQ(Property(*object, tag(0x8004, PT_SYSTIME)).get()->ft.dwHighDateTime, 2u);
  EXPECT_EQ(Bytes(*object, tag(0x8005, PT_BINARY)), "abc");
  EXPECT_EQ(Text(*object, tag(0x8006, PT_UNICODE)), "text");
  EXPECT_EQ(Text(*object, tag(0x8007, PT_UNICODE)), std::nullopt);
  const Property strings(*object, tag(0x8008, PT_MV_UNICODE));
  ASSERT_NE(strings.get(), nullptr);
  ASSERT_EQ(strings.get()->MVszW.cValues, 2u);
  EXPECT_EQ(mapi_reading::Utf8(strings.get()->MVszW.lppszW[1]), "ü");
  EXPECT_EQ(GetNamedPropId(object, u"name", &kSet), GetNamedPropId(object, u"name", &kSet));
  EXPECT_NE(GetNamedPropId(object, u"name", &kSet), GetNamedPropId(object, u"other", &kSet));

  SetPropString(object, PR_SUBJECT_W, static_cast<const char16_t*>(nullptr));
  SetPropString(object, PR_SUBJECT_A, "");
  EXPECT_EQ(Text(*object, PR_SUBJECT_W), std::nullopt) << "never written empty";
  SetPropMVString(object, 0x6801101F, std::vector<std::u16string>{});
  SetPropMVBin(object, 0x68021102, {});
  EXPECT_EQ(Property(*object, 0x6801101F).get(), nullptr);
  SetPropLong(nullptr, PR_PRIORITY, 1);
  EXPECT_EQ(GetNamedPropId(nullptr, 1, &kSet), 0u);

  // A list written with one call.
  PropertyList list;
  AddProperty_STRW(list, PR_SUBJECT_W, u"s");
  AddProperty_ULONG(list, PR_PRIORITY, 1);
  AddProperty_LONG(list, PR_IMPORTANCE, 2);
  AddProperty_BOOL(list, PR_READ_RECEIPT_REQUESTED, 9);
  AddProperty_BIN(list, PR_CONVERSATION_INDEX, 2, "xy");
  parvane::platform::SystemTime noTime{};
  AddProperty_TIME(list, PR_CLIENT_SUBMIT_TIME, noTime);
  EXPECT_EQ(object->SetProps(static_cast<ULONG>(list.size()), list.data(), nullptr), 0);
  EXPECT_EQ(Text(*object, PR_SUBJECT_W), "s");
  EXPECT_EQ(Long(*object, PR_IMPORTANCE), 2);
  EXPECT_EQ(Property(*object, PR_READ_RECEIPT_REQUESTED).get()->b, 1);
  EXPECT_EQ(Time(*object, PR_CLIENT_SUBMIT_TIME), -1);
}

TEST_F(MailFile, TakesPropertiesOfEveryKind) {
  Convert({"X: y\r\n\r\n"}, [](Converter&, Tessary::TsEmail&, IMessage& message) {
    WritePropertiesOfEveryKind(&message);
  });
}

TEST(EntryIds, AreCopiedAndGivenBack) {
  SelectEntryPoints(BuiltinEntryPoints());  // for its memory
  SBinary* copy = nullptr;
  CloneEntryId(4, "\1\2\3\4", &copy);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->cb, 4u);
  EXPECT_EQ(copy->lpb[3], 4);
  DeleteEntryId(&copy);
  EXPECT_EQ(copy, nullptr);
  DeleteEntryId(&copy);
  DeleteEntryId(nullptr);
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
