#include "mime/mailbox.h"

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mime/address_list.h"
#include "platform/text.h"

namespace {

using parvane::platform::Utf16ToUtf8;
using parvane::platform::Utf8ToUtf16;
using namespace QuelmarMIMEEngineCommon;

// "name|address" for each, joined by " ; ".
std::string Show(const std::vector<MailBox>& mailboxes) {
  std::string text;
  for (const MailBox& m : mailboxes) {
    if (!text.empty()) text += " ; ";
    text += Utf16ToUtf8(m.name) + "|" + Utf16ToUtf8(m.address);
  }
  return text;
}

TEST(SplitMailBoxes, CutsAtEveryCommaAndSkipsEmptyPieces) {
  const std::pair<const char16_t*, std::vector<std::u16string>> cases[] = {
      {u",a,,b, c,", {u"a", u"b", u" c"}},
      {u"\"Surname, Given\" <a@b>", {u"\"Surname", u" Given\" <a@b>"}},
      {u"", {}},
      {u",,,", {}},
      {u"a", {u"a"}},
  };
  for (const auto& [list, expected] : cases) {
    std::vector<std::u16string> out;
    SplitMailBoxes(list, out);
    EXPECT_EQ(out, expected);
  }
}

TEST(ParseEmailAddress, FollowsItsThreeStates) {
  const struct {
    const char* mailbox;
    const char* expected;  // name|address
  } cases[] = {
      {"John Smith <user@domain>", "John Smith|user@domain"},
      {"\"Smith, John\" <user@domain>", "Smith, John|user@domain"},
      {"user@domain", "|user@domain"},
      {"user@domain (John)", "|user@domain"},
      {"<user@domain>", "|user@domain"},
      {"  \t<user@domain>", "|user@domain"},
      {"<Bob <user@domain>", "Bob|user@domain"},
      {"<Bob Lee <user@domain>", "BobLee|user@domain"},
      {"\"John\" Smith <user@domain>", "JohnSmith|user@domain"},
      {"\"a \\\"b\\\" c\" <u@d>", "a \"b\" c|u@d"},
      {"\"back\\\\slash\" <u@d>", "back\\slash|u@d"},
      {"\"never closed <u@d>", "never closed <u@d>|"},
      {"\"ends in an escape\\", "ends in an escape|"},
      {"John (a (nested\\) ) comment) Smith <u@d>", "John  Smith|u@d"},
      {"Jo\\<hn <u@d>", "Jo<hn|u@d"},
      {"John\t \v<u@d>", "John|u@d"},
      {"John < u @ d > rest", "John|u@d"},
      {"John <u(comment)@d", "John|u@d"},
      {"John <\\>u@d>", "John|>u@d"},
      {"user @domain", "|user @domain"},
      {"\"user\"@domain rest", "|user@domain"},
      {"user@(where)domain rest", "|user@domain"},
      {"us\\@er@domain", "|us@er@domain"},
      {"John Smith", "John Smith|"},
      {"(only a comment)", "|"},
      {"", "|"},
      {"   ", "|"},
      {"\"\" <>", "|"},
      {"Iv\xC3\xA1n <u@d>", "Iv\xC3\xA1n|u@d"},
  };
  for (const auto& row : cases) {
    MailBox m;
    ParseEmailAddress(Utf8ToUtf16(row.mailbox), m.name, m.address);
    EXPECT_EQ(Show({m}), row.expected) << row.mailbox;
  }
}

TEST(ParseMailBoxList, RejoinsExactlyWhatTheCutBroke) {
  const struct {
    const char* what;
    const char* list;
    const char* expected;
  } cases[] = {
      {"a quoted comma as repair writes it", "\"Surname\" <  >,\"Given\\\"\" < a@b >",
       "Surname, Given|a@b"},
      {"the same before repair", "\"Surname, Given\" <a@b>", "Surname, Given|a@b"},
      {"two commas", "\"A\" <  >,\"B\" <  >,\"C\\\"\" < a@b >", "A, B, C|a@b"},
      {"neighbours stay", "\"X\" < x@y >,\"S\" <  >,\"G\\\"\" < a@b >,\"\" < c@d >",
       "X|x@y ; S, G|a@b ; |c@d"},
      {"two such names in a row", "\"S, G\" <a@b>, \"T, H\" <c@d>", "S, G|a@b ; T, H|c@d"},
      {"an unquoted comma stays two", "Doe, J <a@b>", "Doe| ; J|a@b"},
      {"real ones without an address stay", "Alice, Bob <b@c>, Carol", "Alice| ; Bob|b@c ; Carol|"},
      {"a name that quotes a nickname", "Alice, \"Bob \\\"Bobby\\\"\" <b@c>",
       "Alice| ; Bob \"Bobby\"|b@c"},
      {"a stray quote with nothing before it", "x@y, Given\" <a@b>", "|x@y ; Given\"|a@b"},
      {"a group's name is no piece", "Team:, G\" <a@b>", "Team:| ; G\"|a@b"},
      {"an encoded word with commas", "=?utf-8?Q?Doe,_J,_Jr?= <a@b>", "=?utf-8?Q?Doe,_J,_Jr?=|a@b"},
  };
  for (const auto& row : cases) {
    std::vector<MailBox> out;
    ParseMailBoxList(Utf8ToUtf16(row.list), out);
    EXPECT_EQ(Show(out), row.expected) << row.what;
  }
}

TEST(AddressList, ReadsTheFormsOfRealMail) {
  const struct {
    const char* list;
    const char* expected;
  } cases[] = {
      // RFC 5322, appendix A.
      {"John Doe <jdoe@machine.example>", "John Doe|jdoe@machine.example"},
      {"\"Joe Q. Public\" <john.q.public@example.com>", "Joe Q. Public|john.q.public@example.com"},
      {"Mary Smith <mary@x.test>, jdoe@example.org, Who? <one@y.test>",
       "Mary Smith|mary@x.test ; |jdoe@example.org ; Who?|one@y.test"},
      {"<boss@nil.test>, \"Giant; \\\"Big\\\" Box\" <sysservices@example.net>",
       "|boss@nil.test ; Giant; \"Big\" Box|sysservices@example.net"},
      {"A Group:Ed Jones <c@a.test>,joe@where.test,John <jdoe@one.test>;",
       "Ed Jones|c@a.test ; |joe@where.test ; John|jdoe@one.test"},
      {"Undisclosed recipients:;", ""},
      {"Pete(A nice \\) chap) <pete(his account)@silly.test(his host)>", "Pete|pete@silly.test"},
      {"Chris Jones <c@(Chris's host.)public.example>,\n joe@example.org",
       "Chris Jones|c@public.example ; |joe@example.org"},
      {"Joe Q. Public <john.q.public@example.com>", "Joe Q. Public|john.q.public@example.com"},
      {"Mary Smith <@node.test,@b.test:mary@example.net>, , jdoe@test  . example",
       "Mary Smith|mary@example.net ; |jdoe@test.example"},
      // What else is out there.
      {"user@domain (John Smith)", "John Smith|user@domain"},
      {"a@b; c@d", "|a@b ; |c@d"},
      {"a@b c", "c|a@b"},
      {"John <a@b, Mary <c@d>", "John|a@b ; Mary|c@d"},
      {"John a@b>", "John|a@b"},
      {"<a@b> <c@d>", "|a@b ; |c@d"},
      {"<Bob <a@b>", "Bob|a@b"},
      {"\"never closed <a@b>", "never closed <a@b>|"},
      {"\"quoted@address\"", "|quoted@address"},
      {"\"quoted local\"@b.test", "|\"quoted local\"@b.test"},
      {"mailto:a@b", "|a@b"},
      {"Re: Sales <a@b>", "Re: Sales|a@b"},
      {"user@[IPv6:::1]", "|user@[IPv6:::1]"},
      {"root, \"Just A Name\"", "root| ; Just A Name|"},
      {"", ""},
      {" , ,", ""},
      {"=?utf-8?Q?Doe,_J=C3=BCrgen?= <a@b>", "Doe, J\xC3\xBCrgen|a@b"},
      {"\"=?iso-8859-1?q?J=FCrgen?=\" <a@b>", "J\xC3\xBCrgen|a@b"},
      {"=?utf-8?B?R3LDtg==?= =?utf-8?b?w59l?= <a@b>",
       "Gr\xC3\xB6\xC3\x9F"
       "e|a@b"},
      // As message repair leaves them.
      {"\"\" < a@b >,\"Jim\" < c@d >", "|a@b ; Jim|c@d"},
      {"\"Surname\" <  >,\"Given\\\"\" < a@b >", "Surname, Given|a@b"},
      {"\"\" < Friends: a@b >,\"\" < c@d; >,\"X\" < e@f >", "|a@b ; |c@d ; X|e@f"},
      {"\"Team: John\" < a@b >,\"\" < c@d; >", "John|a@b ; |c@d"},
      {"\"undisclosed-recipients:;\" <  >", ""},
      {"\"\" <  >", ""},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(Show(Tessary::ParseAddressList(Utf8ToUtf16(row.list))), row.expected) << row.list;
  }
}

// However a list is cut off, no address before the cut is lost, and nothing hangs.
TEST(AddressList, KeepsItsAddressesAtEveryTruncation) {
  const std::u16string list =
      u"A <a@x>, \"B, \\\"C\" <b@x>, G: c@x, (d\\)) d@x; =?utf-8?Q?E,_F?= <@r:e@x>, f@[1:2], g@x";
  for (std::size_t size = 0; size <= list.size(); ++size) {
    const auto found = Tessary::ParseAddressList(list.substr(0, size));
    const std::string shown = Show(found);
    for (const auto& [until, address] :
         {std::pair{u", \"B", "|a@x"}, {u", G:", "|b@x"}, {u", (d", "|c@x"}, {u"; =?", "|d@x"}}) {
      if (list.find(until) < size) {
        EXPECT_NE(shown.find(address), std::string::npos) << size << shown;
      }
    }
  }
}

// A list that fills a large message is read in pieces; none parts a mailbox or a name that repair
// has cut.
TEST(AddressList, ReadsTheSameInPieces) {
  std::string list;
  for (int i = 0; i < 20'000; ++i) {
    const std::string number = std::to_string(i);
    list += "\"Doe " + number + "\" <  >,\"J. >,\\\"" + number + "\\\"\" < j" + number + "@b >,";
  }
  const auto whole = Tessary::ParseAddressList(Utf8ToUtf16(list));
  std::vector<MailBox> inPieces;
  int pieces = 0;
  for (std::string_view rest = list; !rest.empty(); ++pieces) {
    const auto found = Tessary::ParseAddressList(Utf8ToUtf16(Tessary::TakePiece(rest)));
    inPieces.insert(inPieces.end(), found.begin(), found.end());
  }
  EXPECT_GT(pieces, 3);
  EXPECT_EQ(inPieces, whole);
  // Without any place to cut, in no more than a few bytes or in one go.
  const std::string commas(1'000'000, ',');
  std::string_view rest = commas;
  EXPECT_LT(Tessary::TakePiece(rest).size(), commas.size() / 2);
  const std::string quotes(1'000'000, '"');
  rest = quotes;
  EXPECT_EQ(Tessary::TakePiece(rest).size(), quotes.size());
}

TEST(AddressList, TakesLinearTimeOnHostileLists) {
  // Of the process's own time, whatever else the machine does (Windows counts all time).
  const auto seconds = [](const std::u16string& list) {
    double least = 1e9;
    for (int run = 0; run < 5; ++run) {
      const std::clock_t start = std::clock();
      Tessary::ParseAddressList(list);
      least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
  };
  for (const char16_t* piece : {u"<", u"<a,", u"\"", u"(", u"=?", u"[", u"a:", u"a@b ", u",<>",
                                u"\"a\" <>,", u"?=", u"=?u?Q?a,", u"x\","}) {
    for (const bool closed : {false, true}) {
      const auto list = [&](std::size_t size) {
        std::u16string text;
        while (text.size() < size) text += piece;
        return closed ? text + u" a@b " + std::u16string(size / 2, u':') + u">;" : text;
      };
      // Eight times the text: eight times the time, where a quadratic step makes it 64 times.
      EXPECT_LT(seconds(list(160'000)), 40 * std::max(seconds(list(20'000)), 0.001))
          << Utf16ToUtf8(piece) << closed;
    }
  }
}

TEST(AppendMailBox, QuotesNamesThatNeedIt) {
  const std::pair<MailBox, const char16_t*> cases[] = {
      {{u"Ann Smith", u"a@b"}, u"Ann Smith <a@b>"},
      {{u"Smith, \"Ann\"", u"a@b"}, u"\"Smith, \\\"Ann\\\"\" <a@b>"},
      {{u"", u"a@b"}, u"a@b"},
      {{u"Ann", u""}, u"Ann"},
  };
  for (const auto& [mailbox, text] : cases) {
    std::u16string formatted;
    Tessary::AppendMailBox(mailbox, formatted);
    EXPECT_EQ(formatted, text);
    EXPECT_EQ(Tessary::ParseAddressList(text), std::vector<MailBox>{mailbox});
  }
}

}  // namespace
