// Runs under several time zones (see CMakeLists.txt): no expectation here may depend on one.
#include "sources/message_repair.h"

#include <ctime>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "mime/email_message.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_date_time.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "mime/mime_message2.h"
#include "platform/text.h"
#include "platform/time.h"
#include "sources/date_repair.h"
#include "sources/date_tokens.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using Tessary::TsDateTime;
using Tessary::TsMime;
using Tessary::TsString;

TsString Narrow(std::string_view text) {
  TsString result;
  result.put_Utf8(true);
  result.append(text);
  return result;
}

std::string Fixed(std::string_view date) {
  TsString text = Narrow(date);
  if (!DateTimeUtilities::TryFixTimeStr(text)) return "refused, " + std::string(text.viewUtf8());
  return std::string(text.viewUtf8());
}

// Text in lower case is not the standard's and goes the long way.
TEST(DateRepair, TakesTheStandardFormLikeAnyOther) {
  for (const char* text :
       {"Thu, 22 Aug 2002 18:26:25 +0700", "Fri, 2 Aug 2002 00:00:59 -1200 (PST) 2003",
        "Mon, 31 Feb 2004 23:59:59 +9999", "Mon, 0 Jan 2001 10:00:00 +0100",
        "Sun, 01 Jan 1899 10:00:00 +0100", "Sun, 01 Jan 2000 23:59:60 +0100",
        "Sun, 01 Jan 2000 23:00:00 +0130x"}) {
    EXPECT_EQ(parvane::platform::ToLowerAscii(Fixed(text)),
              parvane::platform::ToLowerAscii(Fixed(parvane::platform::ToLowerAscii(text))));
  }
}

// What a date without a zone becomes here and now: the same local time with the local offset.
std::string Local(int year, unsigned month, unsigned day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year - 1900;
  time.tm_mon = static_cast<int>(month) - 1;
  time.tm_mday = static_cast<int>(day);
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  TsDateTime date;
  TsString text;
  EXPECT_TRUE(date.SetFromTmStruct(true, time));
  date.GetAsRfc822(true, text);
  const std::int64_t local = parvane::platform::DaysFromCivil(year, month, day) * 86400 +
                             hour * 3600 + minute * 60 + second;
  const int offset = parvane::platform::LocalUtcOffsetAtLocal(local) / 60;
  char zone[32];
  std::snprintf(zone, sizeof zone, "%c%02d%02d", offset < 0 ? '-' : '+', std::abs(offset) / 60,
                std::abs(offset) % 60);
  EXPECT_TRUE(text.viewUtf8().ends_with(zone)) << text.viewUtf8() << " in zone " << zone;
  return std::string(text.viewUtf8());
}

TEST(DateRepair, KeepsTheTimeAndPutsTheZoneBehindIt) {
  const std::pair<const char*, const char*> cases[] = {
      {"Tue, 5-Mar-2013 10:20:30 +0100", "Tue, 05 Mar 2013 10:20:30 +0100"},
      {"Tue, 5 Mar 2013 10:20:30 EST", "Tue, 05 Mar 2013 10:20:30 EST"},
      {"5 mar 13 10:20 z", "Tue, 05 Mar 2013 10:20:00 z"},
      {"2013 10:20:30 5 Mar GMT", "Tue, 05 Mar 2013 10:20:30 GMT"},
      {"Wednesday, 5 Mar 2013 10:20 UT", "Tue, 05 Mar 2013 10:20:00 UT"},
      {"Tue,5 Mar,2013,10:20:30,+0100", "Tue, 05 Mar 2013 10:20:30 +0100"},
      {"Tue, 5 Mar 2013\t10:20:30\t+0100", "Tue, 05 Mar 2013 10:20:30 +0100"},
      // The zone was found before its sign was given up for the year's sake.
      {"5/Mar/2013 10:20:30 -0700", "Tue, 05 Mar 2013 10:20:30 -0700"},
      {"5 Mar 2013 10:20:30 -0700 (MST)", "Tue, 05 Mar 2013 10:20:30 -0700"},
      {"5 Mar 49 10:20:30 GMT", "Fri, 05 Mar 2049 10:20:30 GMT"},
      {"5 Mar 51 10:20:30 GMT", "Mon, 05 Mar 1951 10:20:30 GMT"},
  };
  for (const auto& [loose, fixed] : cases) EXPECT_EQ(Fixed(loose), fixed) << loose;
}

TEST(DateRepair, TakesADateWithoutAZoneAsLocalTime) {
  EXPECT_EQ(Fixed("Mon 3 Jun 2013 10:20:30"), Local(2013, 6, 3, 10, 20, 30));
  EXPECT_EQ(Fixed("3 Jan 2013"), Local(2013, 1, 3, 0, 0, 0));
  EXPECT_EQ(Fixed("5/3/13 10:20"), Local(2013, 1, 5, 10, 20, 0)) << "no month name is January";
  // Neither is a zone: it has five characters, or four.
  EXPECT_EQ(Fixed("3 Jun 2013 10:20:30 ZE10B"), Local(2013, 6, 3, 10, 20, 30));
  EXPECT_EQ(Fixed("3 Jun 2013 10:20:30 +010"), Local(2013, 6, 3, 10, 20, 30));
}

TEST(DateRepair, RefusesWhatHoldsNoDay) {
  for (const char* text : {"", "yesterday", "Jun 2013 10:20", "-/+"})
    EXPECT_EQ(Fixed(text), std::string("refused, ") + text);
}

TEST(DateRepair, WritesWhatTheDateParserReadsAsTheSameMoment) {
  // A written zone is kept, a missing one is local: either way nothing shifts.
  const std::pair<const char*, int> cases[] = {{"5-Mar-2013 10:20:30 +0100", 3600},
                                               {"5 Mar 2013 10:20:30 PDT", -7 * 3600},
                                               {"5 Mar 2013 10:20:30 GMT", 0}};
  const std::int64_t wall =
      parvane::platform::DaysFromCivil(2013, 3, 5) * 86400 + 10 * 3600 + 20 * 60 + 30;
  const auto read = [](const std::string& text) {
    TsDateTime date;
    parvane::platform::FileTime time;
    EXPECT_TRUE(date.SetFromRfc822(text.c_str()) && date.GetAsFileTime(false, time)) << text;
    return static_cast<std::int64_t>(parvane::platform::FileTimeTicks(time) /
                                     parvane::platform::kTicksPerSecond) -
           parvane::platform::kUnixEpochInFileTimeSeconds;
  };
  for (const auto& [text, offset] : cases) EXPECT_EQ(read(Fixed(text)), wall - offset) << text;
  EXPECT_EQ(read(Fixed("5 Mar 2013 10:20:30")),
            wall - parvane::platform::LocalUtcOffsetAtLocal(wall));
}

TEST(DateTokens, AreRecognisedByTheirForm) {
  int n = -1;
  EXPECT_TRUE(IsNumber("") && IsNumber("0123") && !IsNumber("1a") && !IsNumber("-1"));
  EXPECT_TRUE(IsMonth("jUN", &n) && n == 5);
  EXPECT_FALSE(IsMonth("June", &n));
  EXPECT_TRUE(IsWeekday("SAT", &n) && n == 6);
  EXPECT_FALSE(IsWeekday("Monday", &n));
  EXPECT_TRUE(IsMonthDay("0", &n) && n == 0);
  EXPECT_TRUE(IsMonthDay("31x", &n) && n == 31);
  EXPECT_FALSE(IsMonthDay("32", &n));
  const std::pair<const char*, int> years[] = {{"1999", 1999}, {"12ab", 12}, {"49", 2049},
                                               {"51", 1951},   {"00", 2000}, {"50", -1},
                                               {"201", -1},    {"5", -1},    {"20130", -1}};
  for (const auto& [text, expected] : years) {
    n = -1;
    EXPECT_EQ(IsYear(text, &n), expected >= 0) << text;
    EXPECT_EQ(n, expected) << text;
  }
  int hour = 0, minute = 0, second = 7;
  EXPECT_TRUE(IsTime("23:59:61", &hour, &minute, &second));
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 235961);
  EXPECT_TRUE(IsTime("01:02", &hour, &minute, &second));
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 10200);
  EXPECT_FALSE(IsTime("1:02", &hour, &minute, &second));
  EXPECT_FALSE(IsTime("01:02:3", &hour, &minute, &second));
  for (const char* zone : {"Z", "a", "est", "GMT", "UT", "ZW12", "CEDT", "+0000", "-1234"})
    EXPECT_TRUE(IsTimeZone(zone)) << zone;
  for (const char* zone : {"", "1", "+010", "+01:0", "ZE10B", "ESTX", "12345", "UTC"})
    EXPECT_FALSE(IsTimeZone(zone)) << zone;
  EXPECT_EQ(GetDayOfWeek(1, 1, 1970), 4);
  EXPECT_EQ(GetDayOfWeek(29, 2, 2000), 2);
}

// A message whose fields and body can be looked at after repair.
class Repaired {
 public:
  explicit Repaired(std::string_view text) {
    mime.put_Utf8(true);
    EXPECT_TRUE(mime.LoadMime(std::string(text).c_str()));
    AdjustMimeForTSMail(&mime);
  }
  std::string Header(const char* name) { return HeaderOf(mime, name); }
  static std::string HeaderOf(TsMime& part, const char* name) {
    TsString value;
    return part.GetHeaderField(name, value) ? std::string(value.viewUtf8()) : "(none)";
  }
  std::string Text() {
    TsString text;
    mime.getMime(text);
    return std::string(text.viewRaw());
  }
  int Count(const char* name) {
    int count = 0;
    for (int i = 0; i < mime.get_NumHeaderFields(); ++i) {
      TsString field;
      mime.GetHeaderFieldName(i, field);
      if (field.equalsIgnoreCase(name)) ++count;
    }
    return count;
  }
  TsMime mime;
};

std::string Shown(Tessary::TsEmail& email) {
  std::string text;
  const auto add = [&](bool has, const TsString& value) {
    text.append(has ? std::string(value.viewUtf8()) : "(none)").append("|");
  };
  TsString value;
  add(email.get_Header(value), value);
  add(email.get_From(value), value);
  for (const char* field : {"To", "Date", "Subject", "X", "Last", "Content-Type"})
    add(email.GetHeaderField(field, value), value);
  add(email.GetPlainTextBody(value), value);
  add(email.GetHtmlBody(value), value);
  for (std::size_t i = 0; i < Tessary::kAddressFields.size(); ++i) {
    const auto take = [&](const MailBox& mailbox) {
      for (const std::u16string& part : {mailbox.name, mailbox.address})
        text.append(parvane::platform::Utf16ToUtf8(part)).append("|");
      return true;
    };
    MessageOf(email)->ForEachMailbox(static_cast<Tessary::AddressField>(i), take);
  }
  Tessary::DateValue date;
  const bool hasDate = MessageOf(email)->Date(date);
  for (const std::int64_t number :
       {std::int64_t{hasDate}, std::int64_t{date.valid()}, date.UnixSeconds(),
        std::int64_t{date.OffsetSeconds()}, std::int64_t{email.get_NumTo()},
        std::int64_t{email.get_NumCC()}, std::int64_t{email.get_NumAttachments()},
        std::int64_t{email.get_NumRelatedItems()}, std::int64_t{email.get_NumAttachedMessages()}}) {
    text.append(std::to_string(number)).append("|");
  }
  return text;
}

// A repaired message goes on as an e-mail without being parsed again, where it can; what repair
// knows of its header is what reading that would say.
TEST(MessageRepair, GivesTheEmailThatItsTextGives) {
  const std::string parts =
      "--b\r\nContent-Type: text/html\r\nContent-Disposition: inline\r\n\r\n<p>\r\n--b\r\n"
      "Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n\r\nTo: x@y\r\n\r\nz\r\n"
      "--b--\r\n";
  const std::string folded =
      "To: a@x.org,\r\n\tBob <b@x.org>, a.very.long.local.part@example.org,\r\n"
      " \"Another, longer name\" <another@example.org>\r\n";
  const std::string cases[] = {
      "From: a@x.org\r\nSubject: s\r\nX: 1\r\n\r\nbody\r\n",
      folded + "From: Ann <a@x.org>\r\nto: c@x.org\r\nLast: l\r\n\r\nbody\r\n",
      "Last: l\r\nDate: 5 Mar 2013 10:20:30 GMT\r\nTo: a@x\r\nTo: b@x\r\n\r\n\r\nbody",
      "X: 1\r\nno field\r\nFrom: a@x\r\n ,b@x\r\n\r\nbody\r\n",
      "From: a@x\r\nTo: b@x",
      "From: a@x\r\nTo: b@x\r\n",
      "From: a@x\nTo: b@x\n\nbody\n",
      "X: 1\nTo: b@x\r\n\r\nbody\n",
      "\r\nTo: b@x\r\n",
      "To: b@x\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n" + parts,
      "To: b@x\r\nContent-Type: multipart/related; boundary=b\r\n\r\n" + parts,
      "Subject: nothing to repair\r\n\r\nbody\r\n",
      "To: J\xF6rg <j@x.org>, b@x.org\r\nTo: c@x.org\r\n\r\nbody\r\n",
      "To: \" A  B \" <a@x>, <@r:b@x>, c?d <e@x>, \"Doe, J\" <f@x>, G: h@x, <>, "
      "j\\@k@x\r\n\r\nbody\r\n",
      "Date: Mon, 31 Feb 2004 23:59:59 -0130 (x)\r\nFrom: a <a b@x>\r\n\r\nbody\r\n",
      "Date: Thu, 2 Mar 2004 9:59 EST\r\nDate: today\r\nReply-To: R <r@x>, (c) s@x\r\n\r\nbody\r\n",
      "Date: Fri, 22 Aug 2002 18:26:25 +0700\r\nSender: \"S\" <s@x> t\r\n\r\nbody\r\n",
  };
  for (const std::string& text : cases) {
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    auto entity = std::make_shared<Tessary::MimeMessage2>();
    entity->Load(Tessary::ByteSlice::Copy(text), unread);
    parvane::sources::RepairMessage(*entity, nullptr);
    Tessary::TsEmail again;
    Tessary::TsByteData whole;
    whole.append2(entity->Serialise().view().data(), entity->Serialise().size());
    again.SetFromMimeBytes(whole);
    Tessary::TsEmail direct;
    EXPECT_TRUE(SetFromEntity(direct, entity));
    EXPECT_EQ(Shown(direct), Shown(again)) << text;
  }
}

TEST(MessageRepair, LeavesWhatItFoundUntilTheHeaderChanges) {
  using Change = void (*)(Tessary::MimeMessage2&);
  for (const Change change :
       {Change([](auto& m) { m.SetField("X", "y"); }), Change([](auto& m) { m.RemoveField("Cc"); }),
        Change([](auto& m) { m.RewriteFields({}); })}) {
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    Tessary::MimeMessage2 entity;
    const std::string text =
        "To: A <a@x>\r\nCc: \"q\\\"\" <b@x>\r\n"
        "Date: Thu, 22 Aug 2002 18:26:25 +0700\r\n\r\nbody\r\n";
    entity.Load(Tessary::ByteSlice::Copy(text), unread);
    EXPECT_EQ(entity.facts(), nullptr);
    parvane::sources::RepairMessage(entity, nullptr);
    ASSERT_NE(entity.facts(), nullptr);
    EXPECT_TRUE(entity.facts()->Knows(Tessary::AddressField::kTo));
    EXPECT_FALSE(entity.facts()->Knows(Tessary::AddressField::kCc)) << "it has an escape";
    EXPECT_TRUE(entity.facts()->date.has_value());
    change(entity);
    EXPECT_EQ(entity.facts(), nullptr);
  }
}

TEST(MailBoxRepair, RewritesListsIntoOneCanonicalField) {
  struct Case {
    const char* header;
    const char* name;
    const char* expected;
  };
  const Case cases[] = {
      {"To: a@x.org, Jim <j@x.org>\r\n", "To", "\"\" < a@x.org >,\"Jim\" < j@x.org >"},
      {"To: a@x.org\r\nSubject: s\r\nTO: b@x.org\r\n", "To", "\"\" < a@x.org >,\"\" < b@x.org >"},
      {"cc: ,,a@x.org,,\r\n", "Cc", "\"\" < a@x.org >"},
      {"From: \"A \\\"B\\\" C\" <a@x.org>\r\n", "From", "\"A \\\"B\\\" C\" < a@x.org >"},
      {"From: \"A\\B\" <a@x.org>\r\n", "From", "\"AB\" < a@x.org >"},
      {"From: \"Surname, Given\" <a@x.org>\r\n", "From",
       "\"Surname\" <  >,\"Given\\\"\" < a@x.org >"},
      {"Reply-To: =?utf-8?Q?J=C3=BCrgen?= <a@x.org>\r\n", "Reply-To",
       "\"=?utf-8?Q?J=C3=BCrgen?=\" < a@x.org >"},
      {"Bcc: J\xC3\xBCrgen <a@x.org>\r\n", "Bcc", "\"J\xC3\xBCrgen\" < a@x.org >"},
      {"To: J\xC3\xB6rg <j@x.org>\r\nTo: b@x.org\r\n", "To",
       "\"J\xC3\xB6rg\" < j@x.org >,\"\" < b@x.org >"},
      {"Sender: a@x.org (Comment)\r\n", "Sender", "\"\" < a@x.org >"},
      // A comma and a double quote are halves of its characters.
      {"From: \x1B$B$,$\"\x1B(B <a@x.org>\r\n", "From", "\"\u304C\u3042\" < a@x.org >"},
      {"\xEF\xBB\xBF"
       "From: a@x.org\r\n",
       "From", "\"\" < a@x.org >"},
      {"To:\r\n", "To", ""},
      {"Subject: s\r\n", "To", "(none)"},
      {"Delivered-To: a@x.org\r\n", "Delivered-To", "a@x.org"},
  };
  for (const Case& test : cases) {
    Repaired message(std::string(test.header) + "X: y\r\n\r\nbody\r\n");
    EXPECT_EQ(message.Header(test.name), test.expected) << test.header;
    EXPECT_LE(message.Count(test.name), 1) << test.header;

    // One header repaired by itself gives the same.
    TsMime single;
    single.put_Utf8(true);
    single.LoadMime((std::string(test.header) + "\r\nbody\r\n").c_str());
    if (std::string_view(test.name) == "Delivered-To") continue;
    FixMailBox(test.name, &single);
    EXPECT_EQ(Repaired::HeaderOf(single, test.name), test.expected) << test.header;
  }
}

TEST(MailBoxRepair, NamesWhatItDrops) {
  const std::pair<const char*, const char*> cases[] = {
      {"To: \"A\" <a@x>; \"B\" <b@x>, c@x\r\n", "To: B <b@x>\n"},
      {"Cc: boss@x (The Boss)\r\n", "Cc: The Boss of boss@x\n"},
      {"To: a@x; b@x; c@x\r\nTo: d@x e@x\r\n", "To: b@x\nTo: c@x\nTo: e@x of d@x\n"},
      {"Sender: J\xF6rg <a@x>; B\xF6 <b@x>\r\n", "Sender: Bö <b@x>\n"},
      {"From: A <a@x> (at work), <b@x> B\r\n", "From: B of b@x\n"},
      {"Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n\r\nTo: a@x (A)\r\n",
       "To: A of a@x\n"},
      {"To: \"Surname, Given\" <a@x>, =?utf-8?Q?A,_B?= <b@x>, c@x (c@x)\r\n", ""},
      {"To: Friends: \"A\" <a@x>, b@x;, None:;, c@x\r\n", ""},
      {"To: \"John\" Smith <j@x>, <Bob Lee <b@x>, \"j \\\"x\\\"\" <@r:c@x>, Nobody\r\n", ""},
      {"To: \"open <a@x>, b@x\r\nCc: undisclosed-recipients:;\r\nBcc: a\\@b <\r\n", ""},
  };
  for (const auto& [header, expected] : cases) {
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    Tessary::MimeMessage2 entity;
    entity.Load(Tessary::ByteSlice::Copy(std::string(header) + "\r\nbody\r\n"), unread);
    parvane::sources::RepairNotes notes;
    parvane::sources::RepairMessage(entity, nullptr, &notes);
    std::string found;
    for (const auto& [name, loss] : notes.losses.named) {
      found.append(name).append(": ").append(parvane::platform::Utf16ToUtf8(loss.text));
      if (!loss.address.empty()) found += " of " + parvane::platform::Utf16ToUtf8(loss.address);
      found += '\n';
    }
    EXPECT_EQ(found, expected) << header;
  }
}

TEST(MailBoxRepair, TakesNoMoreThanAMomentForAnyNumberOfFields) {
  std::string header;
  for (int i = 0; i < 400'000; ++i) header += "To: a@b\r\n";
  const std::clock_t start = std::clock();
  EXPECT_EQ(Repaired(header + "\r\nbody\r\n").Count("To"), 1);
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 5) << "seconds of processor time";
}

TEST(DateHeaderRepair, TrimsRewritesOrLeavesAlone) {
  const std::pair<const char*, std::string> cases[] = {
      {"Date: ,,Mon 3 Jun 2013 10:20:30 +0100\r\n", "Mon, 03 Jun 2013 10:20:30 +0100"},
      {"Date: ,,Mon 3 Jun 2013\r\n", Local(2013, 6, 3, 0, 0, 0)},
      {"Date: \"Mon, 3 Jun 2013 10:20:30 GMT \r\n", "Mon, 03 Jun 2013 10:20:30 GMT"},
      {"Date: Fri, 22 Aug 2002 18:26:25 +0700\r\n", "Thu, 22 Aug 2002 18:26:25 +0700"},
      {"Date: Tue, 31 Feb 2004 10:00:00 -0130 (x)\r\n", "Tue, 02 Mar 2004 10:00:00 -0130"},
      {"Date: sometime\r\n", "sometime"},
      {"Date:\r\n", ""},
      {"X: y\r\n", "(none)"},
  };
  for (const auto& [header, expected] : cases)
    EXPECT_EQ(Repaired(std::string(header) + "\r\nbody\r\n").Header("Date"), expected) << header;
}

TEST(TreeRepair, TakesDispositionsOffRelatedParts) {
  Repaired message(
      "Content-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\n"
      "Content-Type: multipart/related; boundary=i\r\nContent-Disposition: attachment\r\n\r\n"
      "--i\r\nContent-Type: text/html\r\n\r\n<p>\r\n"
      "--i\r\nContent-Type: image/png\r\nContent-Disposition: attachment\r\n"
      "Content-Disposition: inline\r\nContent-ID: <1>\r\n\r\nx\r\n--i--\r\n"
      "--o\r\nContent-Type: image/png\r\nContent-Disposition: attachment\r\n\r\ny\r\n--o--\r\n");
  std::unique_ptr<TsMime> related(message.mime.GetPart(0));
  std::unique_ptr<TsMime> image(related->GetPart(1));
  std::unique_ptr<TsMime> file(message.mime.GetPart(1));
  EXPECT_EQ(Repaired::HeaderOf(*image, "Content-Disposition"), "(none)");
  EXPECT_EQ(Repaired::HeaderOf(*image, "Content-ID"), "<1>");
  EXPECT_EQ(Repaired::HeaderOf(*related, "Content-Disposition"), "attachment");
  EXPECT_EQ(Repaired::HeaderOf(*file, "Content-Disposition"), "attachment");
}

std::string Forwarding(std::string_view encoding, std::string_view body, std::string_view type) {
  return "Content-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\nContent-Type: " +
         std::string(type) + "\r\nContent-Disposition: attachment\r\nContent-Transfer-Encoding: " +
         std::string(encoding) + "\r\n\r\n" + std::string(body) + "\r\n--o--\r\n";
}

TEST(TreeRepair, ReachesAttachedMessages) {
  // The mark in its header shows that quoted-printable is more than a label.
  const std::string inner =
      "From: Jim <j@x.org>\r\nX-Mark: =3D\r\nDate: 3-Jun-2013 10:20:30 +0100\r\n\r\n=3D body";
  for (const char* encoding : {"7bit", "quoted-printable"}) {
    const std::string text = Repaired(Forwarding(encoding, inner, "Message/RFC822")).Text();
    EXPECT_NE(text.find("From: \"Jim\" < j@x.org >"), text.npos) << text;
    EXPECT_NE(text.find("Date: Mon, 03 Jun 2013 10:20:30 +0100"), text.npos) << text;
    const bool decoded = std::string_view(encoding) != "7bit";
    EXPECT_NE(text.find(decoded ? "\r\n\r\n= body" : "\r\n\r\n=3D body"), text.npos) << text;
  }
  const std::string other = Repaired(Forwarding("7bit", inner, "text/plain")).Text();
  EXPECT_NE(other.find("From: Jim <j@x.org>"), other.npos) << "no message, no repair";
}

TEST(TreeRepair, ReturnsFromAnyDepth) {
  std::string message = "Subject: innermost\r\n\r\nbody\r\n";
  for (int i = 0; i < 200; ++i)
    message = "Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n\r\n" + message;
  EXPECT_EQ(Repaired(message).Text(), message);
}

TEST(TreeRepair, SkipsNull) {
  AdjustMimeForTSMail(nullptr);
  FixRelatedContentDisposition(nullptr);
  FixDate(nullptr);
  FixMailBox("To", nullptr);
  EXPECT_TRUE(IsNumber(nullptr));
  EXPECT_FALSE(IsMonth(nullptr, nullptr) || IsTimeZone(nullptr) || IsYear(nullptr, nullptr));
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
