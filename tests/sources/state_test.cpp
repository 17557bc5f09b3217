// What a message's own header tells of its state.

#include <gtest/gtest.h>

#include "platform/text.h"
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

TEST(HeaderState, TakesAHundredCategoriesAndCountsTheRest) {
  std::string keys = "X-Keywords:";
  for (int i = 0; i < 150; ++i) keys += " k" + std::to_string(i);
  const MessageState state = StateInHeader(keys, MailboxWriter::kOther, Wishes());
  EXPECT_EQ(state.categories.value->size(), 100u);
  EXPECT_EQ(state.moreCategories, 50u);
}

}  // namespace
}  // namespace parvane::sources
