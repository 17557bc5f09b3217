// What a message's own header tells of its state.

#include <gtest/gtest.h>

#include "engine/message_layouts.h"
#include "platform/text.h"
#include "sources/state/maildir_marks.h"
#include "sources/state/mh_sequences.h"
#include "tests/support/state_in_header.h"

namespace parvane::sources {
namespace {

using engine::Importance;
using engine::MessageState;

// Everything that is known, in one line: "read !flagged" for what is read and known not to be
// flagged.
std::string InWords(const MessageState& state) {
  std::string words;
  const auto say = [&](const engine::KnownState<bool>& known, std::string_view name) {
    if (known.value) words.append(words.empty() ? "" : " ").append(*known.value ? "" : "!") += name;
  };
  say(state.read, "read");
  say(state.replied, "replied");
  say(state.forwarded, "forwarded");
  say(state.flagged, "flagged");
  say(state.draft, "draft");
  say(state.junk, "junk");
  say(state.deleted, "deleted");
  if (state.importance.value)
    words += " importance " + std::to_string(static_cast<int>(*state.importance.value));
  if (state.categories.value) {
    words += " [";
    for (const std::u16string& name : *state.categories.value)
      words += platform::Utf16ToUtf8(name) + ";";
    words += "]";
  }
  for (const std::string& keyword : state.namelessKeywords) words += " ?" + keyword;
  if (state.partial) words += " partial";
  return words;
}

engine::StateWishes Wishes() {
  engine::StateWishes wishes;
  wishes.tagNames = {{"project_x", u"Project X"}, {"$label2", u"Arbeit"}, {"gone", u""}};
  return wishes;
}

struct Case {
  const char* name;
  std::string header;
  const char* state;
};

constexpr const char* kNothing = "!read !replied !forwarded !flagged !deleted []";

std::string Padding(std::size_t size) { return "X-P: " + std::string(size - 7, 'x') + "\r\n"; }

const Case kCases[] = {
    {"nothing known", "Subject: a", ""},
    {"no flags", "X-Mozilla-Status: 0000\r\nX-Mozilla-Status2: 00000000", kNothing},
    {"all flags", "X-Mozilla-Status: 1407\r\nX-Mozilla-Status2: 01000000",
     "read replied forwarded flagged draft !deleted [] partial"},
    {"runtime flags count for nothing", "X-Mozilla-Status: 00a0\r\nX-Mozilla-Status2: 00010001",
     kNothing},
    {"the priority of old counts for nothing", "X-Mozilla-Status: A000", kNothing},
    {"an old label", "X-Mozilla-Status: 0000\r\nX-Mozilla-Status2: 02000000",
     "!read !replied !forwarded !flagged !deleted [Important;]"},
    {"three digits are none", "X-Mozilla-Status: 001", ""},
    {"nor are five", "X-Mozilla-Status: 00011", ""},
    {"the first counts", "X-Mozilla-Status: 0000\r\nX-Mozilla-Status: 0001", kNothing},
    {"within reach", Padding(500) + "X-Mozilla-Status: 0000", kNothing},
    {"beyond it", Padding(512) + "X-Mozilla-Status: 0001", ""},
    {"keys", "X-Mozilla-Keys: $label1 $Label2 project_x  JUNK $Forwarded $MDNSent                 ",
     "forwarded junk [Important;Arbeit;Project X;]"},
    {"a key without a name", "X-Mozilla-Keys: other gone NonJunk",
     "!junk [other;gone;] ?other ?gone"},
    {"folded", "X-Mozilla-Status:\r\n 0001", "read !replied !forwarded !flagged !deleted []"},
    {"a draft", "X-Mozilla-Status: 0001\r\nX-Mozilla-Draft-Info: internal/draft; vcard=0",
     "read !replied !forwarded !flagged draft !deleted []"},
    {"no draft: it was received",
     "X-Mozilla-Status: 0000\r\nX-Mozilla-Draft-Info: x\r\nReceived: from a by b", kNothing},
    {"its own flags before others'", "X-Mozilla-Status: 0000\r\nStatus: RO\r\nX-Keywords: a",
     "!read !replied !forwarded !flagged !draft !deleted []"},
    {"seen but not read", "Status: O", "!read !replied !flagged !draft !deleted"},
    {"read", "Status: RO\r\nX-Status: AFTD", "read replied flagged draft deleted"},
    {"flags alone", "x-status : A", "replied !flagged !draft !deleted"},
    {"keywords and a label",
     "X-Keywords: home $Phishing Home\r\nX-Label: =?utf-8?q?=C3=9Cber?= x, second",
     " [home;$Phishing;Über x;second;] ?$Phishing"},
    {"labels", "X-Gmail-Labels: Opened,Starred,Important,\"Spam, b\"", "read flagged !draft !junk"},
    {"unread wins", "X-Gmail-Labels: Opened,Unread\r\nX-Gmail-Labels: Spam",
     "!read !flagged !draft junk"},
    {"encoded, folded within a label",
     "X-Gmail-Labels: =?UTF-8?Q?Entw=C3=BCrfe,Kategorie:_\"Neuigk?=\r\n "
     "=?UTF-8?Q?eiten\",Marki?=\r\n"
     " =?UTF-8?Q?ert?=",
     "read flagged draft !junk"},
    {"a space that is none", "X-Gmail-Labels: =?utf-8?q?Non=C2=A0lus?=, IMAP_$Forwarded",
     "!read forwarded !flagged !draft !junk"},
    {"neither opened nor unread", "X-Gmail-Labels: Inbox", "!flagged !draft !junk"},
    {"importance first", "X-Priority: 5\r\nImportance: High", " importance 2"},
    {"a number with words", "X-Priority: 2 (High)\r\nPriority: non-urgent", " importance 2"},
    {"no such number", "X-Priority: 10\r\nX-MSMail-Priority: Low", " importance 0"},
    {"urgency", "Importance: so so\r\nPriority: urgent", " importance 2"},
    {"normal", "X-Priority: 3", " importance 1"},
    {"what stands in the text", "Subject: a\r\n\r\nStatus: RO", ""},
};

TEST(HeaderState, IsWhatTheHeaderTells) {
  const engine::StateWishes wishes = Wishes();
  for (const Case& one : kCases) {
    const std::string message = one.header + "\r\n\r\nX-Mozilla-Status: 0001\r\n";
    EXPECT_EQ(InWords(StateInHeader(message, MailboxWriter::kOther, wishes)), one.state)
        << one.name;
    std::string lf = message;
    std::erase(lf, '\r');
    if (one.header.size() >= 500) continue;
    EXPECT_EQ(InWords(StateInHeader(lf, MailboxWriter::kOther, wishes)), one.state) << one.name;
  }
  EXPECT_EQ(InWords(StateInHeader("Status: O\r\n\r\n", MailboxWriter::kThunderbird, wishes)),
            "read !replied !flagged !draft !deleted");
}

TEST(HeaderState, IsADraftInAFileOfItsOwn) {
  const std::string_view message = "X-Unsent: 1\r\n\r\n";
  EXPECT_EQ(InWords(StateInHeader(message, MailboxWriter::kLetter, Wishes())), "draft");
  EXPECT_EQ(InWords(StateInHeader(message, MailboxWriter::kOther, Wishes())), "");
}

TEST(MaildirMarks, AreInTheNameOfTheFile) {
  const MaildirKeywords keywords =
      ParseDovecotKeywords("0 $Junk\n1 project_x\r\nrubbish\n26 beyond\n3 \n2 $Forwarded\n4 a b");
  constexpr const char* kNo = "!replied !forwarded !flagged !draft !deleted";
  const struct {
    std::u16string_view name;
    std::string state;
    std::uint64_t delivered;
    bool isNew = false;
  } cases[] = {
      {u"1735732801.M1P4711.host,S=200,W=208:2,S", std::string("read ") + kNo, 1735732801},
      {u"1252168370_3.14675.cthulhu!2,", std::string("!read ") + kNo, 1252168370},
      {u"1735732801.x;2,DFPRST", "read replied forwarded flagged draft deleted", 1735732801},
      {u"1735732801.x\uF0222,F", "!read !replied !forwarded flagged !draft !deleted", 1735732801},
      {u"1735732801.x:2,S,more", std::string("read ") + kNo, 1735732801},
      {u"special!2,Sabc", "read !replied forwarded !flagged !draft junk !deleted [Project X;]", 0},
      {u"a:2,yz", std::string("!read ") + kNo + " []", 0},
      {u"1735732801.x", "", 1735732801},
      {u"1735732801.x", "!read", 1735732801, true},
      {u"1735732801.x:2,S", "!read !replied !forwarded !flagged !draft !deleted", 1735732801, true},
      {u"1735732801.x:1,S", "", 1735732801},
      {u"2,S", "", 0},
      {u"host-2,S", "", 0},
      {u"a:2,F:2,S", std::string("read ") + kNo, 0},
      {u"20241231235959.eml", "", 0},
  };
  for (const auto& one : cases) {
    const MaildirName name = ParseMaildirName(one.name);
    MessageState state;
    ReadMaildirMarks(name, one.isNew, keywords, Wishes(), state);
    EXPECT_EQ(InWords(state), one.state) << platform::Utf16ToUtf8(one.name);
    EXPECT_EQ(name.delivered.value_or(0), one.delivered) << platform::Utf16ToUtf8(one.name);
  }
}

TEST(MhSequences, NameTheMessagesOfAFolder) {
  const MhSequences sequences = MhSequences::Parse(
      "cur: 10\nunseen: 2-3 9\n 5\r\nflagged: 10 7-6 x 4x-5\nReplied: 1-2 2-4294967296\n"
      "forwarded: 0 8 7-8\nodd\n");
  const std::pair<std::uint32_t, const char*> cases[] = {{1, "read replied !flagged"},
                                                         {2, "!read replied !flagged"},
                                                         {3, "!read !replied !flagged"},
                                                         {4, "read !replied flagged"},
                                                         {5, "!read !replied !flagged"},
                                                         {6, "read !replied !flagged"},
                                                         {7, "read !replied forwarded !flagged"},
                                                         {8, "read !replied forwarded !flagged"},
                                                         {9, "!read !replied !flagged"},
                                                         {10, "read !replied flagged"}};
  for (const auto& [number, state] : cases) {
    MessageState known;
    sequences.Read(number, known);
    EXPECT_EQ(InWords(known), state) << number;
  }
  for (const auto& [name, number] : {std::pair<std::u16string_view, std::uint32_t>{u"12", 12u},
                                     {u"012", 0u},
                                     {u",4", 0u},
                                     {u"", 0u},
                                     {u"999999999", 999999999u},
                                     {u"4294967297", 0u},
                                     {u"1.eml", 0u}})
    EXPECT_EQ(engine::MhNumber(name), number) << platform::Utf16ToUtf8(name);
}

TEST(HeaderState, TakesAHundredCategoriesAndCountsTheRest) {
  std::string keys = "X-Keywords:";
  for (int i = 0; i < 150; ++i) keys += " k" + std::to_string(i);
  const MessageState state = StateInHeader(keys, MailboxWriter::kOther, Wishes());
  EXPECT_EQ(state.categories.value->size(), 100u);
  EXPECT_EQ(state.moreCategories, 50u);
}

}  // namespace
}  // namespace parvane::sources
