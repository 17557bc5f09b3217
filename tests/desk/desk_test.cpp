// What people and programs read: numbers, times, names, JSON.
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "desk/folder_names.h"
#include "desk/format.h"
#include "desk/json_writer.h"
#include "desk/pst_account.h"
#include "desk/reasons.h"
#include "desk/report.h"
#include "mapi/results.h"

namespace parvane::desk {
namespace {

TEST(Format, NumbersSizesAndDurations) {
  EXPECT_EQ(WithThousands(0), "0");
  EXPECT_EQ(WithThousands(999), "999");
  EXPECT_EQ(WithThousands(1'000), "1,000");
  EXPECT_EQ(WithThousands(18'446'744'073'709'551'615u), "18,446,744,073,709,551,615");
  EXPECT_EQ(Counted(1, "message"), "1 message");
  EXPECT_EQ(Counted(0, "message"), "0 messages");
  EXPECT_EQ(Size(999), "999 bytes");
  EXPECT_EQ(Size(1'000), "1.0 kB");
  EXPECT_EQ(Size(999'949), "999.9 kB");
  EXPECT_EQ(Size(999'950), "1.0 MB");
  EXPECT_EQ(Size(50'000'000'000), "50.0 GB");
  EXPECT_EQ(Duration(999), "0:00");
  EXPECT_EQ(Duration(3'599'999), "59:59");
  EXPECT_EQ(Duration(3'600'000), "1:00:00");
}

TEST(Format, SizesFromPeople) {
  const std::pair<const char*, std::uint64_t> cases[] = {
      {"1000", 1'000},        {"1b", 1},     {"20GB", 20'000'000'000},  {"1.5 gb", 1'500'000'000},
      {"512MiB", 512u << 20}, {"2k", 2'000}, {"1TB", 1'000'000'000'000}};
  for (const auto& [text, bytes] : cases) EXPECT_EQ(ParseSize(text), bytes) << text;
  for (const char* text :
       {"", "0", "0.1", "-5", "big", "GB", "20XB", "20GBs", "1.2.3", "1e3", "0x10", "nan", "inf",
        "20 GiBB", "99999999999999999999", "9223372036855TB"}) {
    EXPECT_EQ(ParseSize(text), std::nullopt) << text;
  }
}

// docs/report.md has every code, and no other: those of its tables and of the paragraph that lists
// the codes of a file's status.
TEST(Reasons, TheDocumentHasEveryCodeAndNoOther) {
  std::set<std::string> given, documented;
  const auto give = [&](auto code) {
    for (int i = 0; i < 64; ++i) given.emplace(code(i));
  };
  give([](int i) { return ReasonOf(static_cast<engine::SkipReason>(i)).code; });
  give([](int i) { return ReasonOf(static_cast<engine::SuspiciousSeparatorReason>(i)).code; });
  give([](int i) { return ReasonOf(static_cast<engine::IndexFault>(i)).code; });
  give([](int i) { return ReasonOf(static_cast<FailureKind>(i)).code; });
  give([](int i) { return WordsOf(static_cast<engine::RemarkKind>(i)).code; });
  give([](int i) { return CodeOf(static_cast<RunProblem>(i)); });
  give([](int i) { return CodeOf(static_cast<platform::StatusCode>(i)); });
  given.erase("other");  // of a number that means nothing
  given.erase("ok");

  std::ifstream document(PARVANE_REPORT_DOCUMENT);
  ASSERT_TRUE(document.is_open());
  bool inCodes = false;
  for (std::string line; std::getline(document, line);) {
    const bool starts = line.starts_with("| `code` of") || line.starts_with("| `errorCode` |") ||
                        line.starts_with("`errorCode` is one of");
    inCodes = starts || (inCodes && !line.empty());
    if (!inCodes || line.starts_with("| `code` of") || line.starts_with("|---")) continue;
    std::string_view codes = line;
    if (codes.starts_with('|')) codes = codes.substr(0, codes.find('|', 1));
    for (std::size_t at = codes.find('`'); at != codes.npos;) {
      const std::size_t end = codes.find('`', at + 1);
      ASSERT_NE(end, codes.npos) << line;
      documented.emplace(codes.substr(at + 1, end - at - 1));
      at = codes.find('`', end + 1);
    }
  }
  documented.erase("errorCode");
  EXPECT_EQ(documented, given);
}

// Without diagnostics, results are all there is to count by.
TEST(PstAccount, OfAMapiThatTellsOnlyResults) {
  using engine::DestinationStep;
  struct Case {
    const char* name;
    std::vector<std::pair<DestinationStep, std::int32_t>> answers;
    std::uint64_t saved;
    std::uint64_t failures;
    const char* writeFailure;
    const char* reason;
  };
  constexpr auto kSave = DestinationStep::kSaveMessage;
  const Case cases[] = {
      {"only saved messages count",
       {{DestinationStep::kOpenStore, 0},
        {DestinationStep::kCreateMessage, 0},
        {kSave, 0},
        {kSave, 0x00040380}},
       2,
       0,
       "",
       ""},
      {"one message's failure is no end",
       {{kSave, mapi::MAPI_E_NO_ACCESS}, {kSave, 0}},
       1,
       1,
       "",
       "m.pst: MAPI could not save a message (0x80070005, no access)"},
      {"a full disk is, and is told before what came earlier",
       {{kSave, mapi::MAPI_E_NO_ACCESS},
        {DestinationStep::kCreateMessage, mapi::STG_E_MEDIUMFULL},
        {kSave, mapi::MAPI_E_DISK_ERROR}},
       0,
       3,
       "m.pst: MAPI could not make a message (0x80030070, the disk is full)",
       "m.pst: MAPI could not make a message (0x80030070, the disk is full)"},
      {"so is a PST that was not closed, for whatever reason",
       {{kSave, 0}, {DestinationStep::kLogOff, mapi::E_FAIL}},
       1,
       1,
       "m.pst: MAPI could not close the PST properly: the last messages may be missing in it "
       "(0x80004005)",
       "m.pst: MAPI could not close the PST properly: the last messages may be missing in it "
       "(0x80004005)"},
  };
  for (const Case& c : cases) {
    const auto account = SystemAccount(u"m.pst");
    for (const auto& [step, result] : c.answers) account->MapiAnswered(step, result);
    EXPECT_EQ(account->Saved(), c.saved) << c.name;
    EXPECT_EQ(account->Committed(), c.saved) << c.name;
    EXPECT_EQ(account->Failures(), c.failures) << c.name;
    EXPECT_EQ(account->WriteFailure(), c.writeFailure) << c.name;
    EXPECT_EQ(account->Failed(), *c.writeFailure != '\0') << c.name;
    EXPECT_EQ(account->Reason(), c.reason) << c.name;
    EXPECT_FALSE(account->IsOpen()) << "there is no such file";
  }
}

TEST(Format, Times) {
  const auto time = platform::FileTimeFromTicks(131011927650000000);
  EXPECT_EQ(IsoTime(time), "2016-02-29T04:12:45Z");
  EXPECT_EQ(ShortTime(time), "2016-02-29 04:12");
  EXPECT_EQ(IsoTime({}), "");
  EXPECT_EQ(ShortTime(platform::FileTimeFromTicks(~0ull)), "");
}

TEST(Format, ColumnsOfATerminal) {
  struct Case {
    const char* text;
    unsigned columns;
    const char* fitted;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"Inbox", 5, "Inbox"},
           {"Inbox", 4, "Inb…"},
           {"Inbox", 0, ""},
           {"日本語", 6, "日本語"},
           {"日本語", 5, "日本…"},
           {"日本語", 4, "日…"},
           {"a\tb\x1b", 9, "a b "},
           {"e\u0301te\u0301", 3, "e\u0301te\u0301"},
           {"\xE6\x97", 5, "\xE6\x97"},           // cut in the middle of a character
           {"\u009B31m\u00A0", 9, " 31m\u00A0"},  // a control of one character
           {"a\u202Efdp.exe\u2066", 12, "a fdp.exe "},
           {"\xE2\n\x9B", 5, "   "},  // a cut character hides no control behind it
       }) {
    EXPECT_EQ(FitColumns(c.text, c.columns), c.fitted) << c.text << " in " << c.columns;
    EXPECT_LE(Columns(FitColumns(c.text, c.columns)), c.columns) << c.text;
  }
}

TEST(FolderNames, BecomeUsable) {
  EXPECT_EQ(UsableFolderName(u"Übersee / 日本語"), u"Übersee / 日本語");
  EXPECT_EQ(UsableFolderName(u" a\tb\n"), u"a_b_");
  EXPECT_EQ(UsableFolderName(u" \u00A0"), u"Unnamed");
  EXPECT_EQ(UsableFolderName(std::u16string(1, char16_t{0xDCE9})), u"\uFFFD");
  EXPECT_EQ(UsableFolderName(std::u16string(300, u'x')).size(), 255u);
  // No half of a pair is left at the cut.
  EXPECT_EQ(UsableFolderName(std::u16string(254, u'x') + u"\U0001F600").size(), 254u);
}

TEST(FolderNames, SiblingsDiffer) {
  SiblingNames names;
  EXPECT_EQ(names.Take(u"Inbox"), u"Inbox");
  EXPECT_EQ(names.Take(u"inbox"), u"inbox (2)");
  EXPECT_EQ(names.Take(u"INBOX"), u"INBOX (3)");
  EXPECT_EQ(names.Take(u"Inbox (2)"), u"Inbox (2) (2)");
  EXPECT_EQ(names.Take(u"Straße"), u"Straße");
  EXPECT_EQ(names.Take(std::u16string(255, u'x')).size(), 255u);
  EXPECT_EQ(names.Take(std::u16string(255, u'X')).size(), 255u);
}

TEST(JsonWriter, EscapesAndNests) {
  JsonWriter json;
  json.BeginObject();
  json.Key("text").String("a\"\\\n\x01\u202Eé");
  json.Key("wide").String(u"é\xD800");
  json.Key("none").BeginArray().EndArray();
  json.Key("list").BeginArray().Number(1).Bool(true).Null().EndArray();
  json.Key("seconds").Seconds(61'007);
  json.EndObject();
  EXPECT_EQ(
      json.Take(),
      "{\n  \"text\": \"a\\\"\\\\\\n\\u0001\\u202eé\",\n  \"wide\": \"é\uFFFD\",\n  \"none\": [],\n"
      "  \"list\": [\n    1,\n    true,\n    null\n  ],\n  \"seconds\": 61.007\n}\n");
}

TEST(Lists, AreCutByTheirBytesAndEntriesButCounted) {
  ConversionRecord record;
  record.folders.push_back({{u"Inbox"}, u"Inbox.mbox", 0, 0, 0, 0});
  for (std::uint64_t i = 0; i < kMostEntriesListed + 2; ++i) {
    record.Add(FailedMessage{{0, i, i, u"", ""}, FailureKind::kNotParsed, "", ""});
    if (i < 40) {
      record.Add(MessageRemark{{0, i, i, u"", ""},
                               {engine::RemarkKind::kRefused, "", std::string(1 << 20, 'x')}});
    }
  }
  EXPECT_EQ(record.failures.entries.size(), kMostEntriesListed);
  EXPECT_EQ(record.failures.total, kMostEntriesListed + 2);
  EXPECT_EQ(record.failuresOf[static_cast<std::size_t>(FailureKind::kNotParsed)],
            kMostEntriesListed + 2);
  EXPECT_EQ(record.RemarksOf(engine::RemarkKind::kRefused).entries.size(), 31u);
  EXPECT_EQ(record.RemarksOf(engine::RemarkKind::kRefused).total, 40u);
  std::size_t largest = 0;
  Report(record, [&](std::string_view text) { largest = std::max(largest, text.size()); });
  EXPECT_LT(largest, std::size_t{32} << 20);
}

// What is rare in tests of the whole program: large files, long lists, dates.
TEST(Summaries, NameWhatTheOwnerOfTheMailShouldKnow) {
  ConversionRecord record;
  record.destination = u"mail.pst";
  record.folders.push_back({{u"Inbox"}, u"Inbox.mbox", 1'200, 1'188, 12, 0});
  for (std::uint64_t i = 1; i <= 12; ++i) {
    record.Add(FailedMessage{
        {0, i, 100 * i, u"", i == 2 ? "<2@x>" : ""}, FailureKind::kNotConverted, "why", ""});
  }
  record.leftBehind.Add({u"a\x1b.txt", engine::SkipReason::kOtherExtension, ""});
  record.withoutDate = 2;
  record.unreadableDate = 1;
  record.pstSize = 20'000'000'000;
  EXPECT_EQ(Summary(record).find("20 GB; Outlook is slow"), std::string::npos);
  ++record.pstSize;
  const std::string text = Summary(record);
  for (const char* line :
       {"Inbox      1,200 read      1,188 written      12 failed\n",
        "1,200 messages read, 1,188 written, 12 failed: mail.pst (20.0 GB), 0:00\n",
        "Failed messages: 12\n  could not be converted: 12\n"
        "    Inbox, message 1 (at byte 100 of Inbox.mbox): why\n"
        "    Inbox, message 2 (at byte 200 of Inbox.mbox, <2@x>): why\n",
        "message 5 (at byte 500 of Inbox.mbox): why\n    and 7 more\n",
        "Mail left behind: 1\n  a .txt: begins like a mailbox but is not named like one (",
        "Messages without a date: 2\n", "Messages whose date could not be read: 1\n",
        "The PST is larger than 20 GB; Outlook is slow with files of that size\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "not in\n" << text;
  }
  EXPECT_EQ(Outcome(record), ExitCode::kMailLeftBehind);
}

}  // namespace
}  // namespace parvane::desk
