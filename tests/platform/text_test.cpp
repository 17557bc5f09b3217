#include "platform/text.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "platform/code_pages/code_page.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

TEST(Utf8, ReplacesEveryMaximalIllFormedPart) {
  // The rows of Unicode 15, tables 3-8 to 3-11, and what ends too early.
  const struct {
    std::string bytes;
    std::u16string text;
  } kCases[] = {
      {"", u""},
      {"a\xC3\xA6\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u00E6\u20AC\U0001F600z"},
      {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41",
       u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
       u"A"},
      {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41",
       u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
       u"A"},
      {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42",
       u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
       u"A\uFFFD\uFFFD"
       u"B"},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41",
       u"\uFFFD\uFFFD\uFFFD\uFFFD"
       u"A"},
      {"a\xF0\x9F\x98", u"a\uFFFD"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Utf8ToUtf16(c.bytes), c.text);
    const bool valid = c.text.find(u'\uFFFD') == c.text.npos;
    EXPECT_EQ(IsValidUtf8(c.bytes), valid);
    const auto replaced =
        static_cast<std::size_t>(std::count(c.text.begin(), c.text.end(), 0xFFFD));
    EXPECT_EQ(TallyUtf8(c.bytes).invalid, replaced);
  }
  EXPECT_EQ(TallyUtf8("a\xC3\xA6\xE2\x82\xAC\xE2").multiByte, 2U);
}

TEST(Utf8, EveryCharacterRoundTripsAtEveryPlaceOfABlock) {
  for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 97) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    char16_t units[2];
    const std::u16string one(units, PutUtf16(c, units));
    ASSERT_EQ(Utf8ToUtf16(Utf16ToUtf8(one)), one) << static_cast<std::uint32_t>(c);
  }
  for (std::size_t before = 0; before < 40; ++before) {
    const std::u16string text = std::u16string(before, u'x') + u"\u00E6\U0001F600" +
                                std::u16string(40 - before, u'y') + u"\uFFFD";
    const std::string bytes = Utf16ToUtf8(text);
    ASSERT_EQ(Utf8ToUtf16(bytes), text);
    ASSERT_EQ(TallyUtf8(bytes).invalid, 0U);
    ASSERT_FALSE(IsAscii(bytes));
    ASSERT_TRUE(IsAscii(std::string(before, 'x')));
  }
}

TEST(Utf8, LongTextCrossesTheWorkBuffer) {
  for (std::size_t shift = 0; shift < 8; ++shift) {
    std::u16string text(shift, u'-');
    for (int i = 0; i < 5000; ++i) text += u"\U0001F600\u20AC";
    EXPECT_TRUE(Utf8ToUtf16(Utf16ToUtf8(text)) == text);
  }
}

TEST(Utf16, UnpairedSurrogatesAreReplaced) {
  const std::u16string text{u'a', 0xD800, u'b', 0xDC00, 0xD83D, 0xDE00, 0xD83D};
  EXPECT_EQ(Utf16ToUtf8(text),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
  std::u16string repaired = text;
  EXPECT_TRUE(ReplaceUnpairedSurrogates(repaired));
  EXPECT_EQ(repaired, u"a\uFFFDb\uFFFD\U0001F600\uFFFD");
  EXPECT_FALSE(ReplaceUnpairedSurrogates(repaired));
}

TEST(Ansi, FollowsTheChosenPage) {
  SetAnsiCodePage(kCodePageUtf8);
  EXPECT_EQ(AnsiToUtf16("\xC3\xA6"), u"\u00E6");
  SetAnsiCodePage(1251);
  EXPECT_EQ(AnsiToUtf16("\xE6"), u"\u0436");
  EXPECT_EQ(Utf16ToAnsi(u"\u0436\u00E6"), "\xE6?");
  SetAnsiCodePage(kCodePageUtf8);
}

TEST(Text, WhiteSpaceIsUnicodes) {
  std::u16string spaces;
  for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
    if (IsWhiteSpace(static_cast<char16_t>(unit))) spaces += static_cast<char16_t>(unit);
  }
  EXPECT_EQ(spaces,
            u"\t\n\v\f\r \205\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008"
            u"\u2009\u200A\u2028\u2029\u202F\u205F\u3000");
}

TEST(Text, ComparesWithoutRegardToCase) {
  EXPECT_TRUE(EqualsIgnoreCase(u"\u00C6blegr\u00D8D I", u"\u00E6BLEGR\u00F8d i"));
  EXPECT_TRUE(EqualsIgnoreCase(u"\U00010400", u"\U00010428"));
  EXPECT_TRUE(EqualsIgnoreCase(u"\u03A3", u"\u03C2"));
  EXPECT_FALSE(EqualsIgnoreCase(u"a", u"ab"));
  EXPECT_FALSE(EqualsIgnoreCase(u"\u0131", u"i"));
  EXPECT_EQ(FoldCase(u"A\u00C6\u03A3\U00010400"), u"a\u00E6\u03C3\U00010428");
  EXPECT_EQ(ToUpper(u"stra\u00DFe \uFB03"), u"STRASSE FFI");
  EXPECT_EQ(ToUpper(u"plain i"), u"PLAIN I");
  EXPECT_EQ(ComposeAccents(u"Tu\u0308r \u00FC e\u0301x"), u"T\u00FCr \u00FC \u00E9x");
  EXPECT_TRUE(EqualsIgnoreAsciiCase("Content-TYPE", "content-type"));
  EXPECT_FALSE(EqualsIgnoreAsciiCase("\xC6", "\xE6"));
  EXPECT_TRUE(StartsWithIgnoreAsciiCase("From: x", "from:"));
  EXPECT_FALSE(StartsWithIgnoreAsciiCase("Fro", "from"));
  EXPECT_TRUE(EndsWithIgnoreAsciiCase("a.MBOX", ".mbox"));
  EXPECT_FALSE(EndsWithIgnoreAsciiCase("box", ".mbox"));
}

}  // namespace
}  // namespace parvane::platform
