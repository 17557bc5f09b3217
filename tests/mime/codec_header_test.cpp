#include <gtest/gtest.h>

#include "mime/charset_naming.h"
#include "mime/content_coding.h"
#include "mime/text_decoding.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::Utf16ToUtf8;

struct Case {
  const char* name;
  const char* input;
  const char* output;
};

TEST(ContentCoding, DecodesEncodedWords) {
  const Case kCases[] = {
      {"base64", "=?utf-8?B?SGVsbG8=?=", "Hello"},
      {"lower-case letter", "=?UTF-8?b?SGVsbG8?=", "Hello"},
      {"any other letter is Q", "=?utf-8?x?a=41_b?=", "aA b"},
      {"the space between words stays", "=?utf-8?Q?a?= =?utf-8?Q?b?=", "a b"},
      {"text around words", "Re: =?iso-8859-1?q?K=F8benhavn?= (2)",
       "Re: K\xC3\xB8"
       "benhavn (2)"},
      {"8bit is UTF-8", "=?8BIT?Q?=C3=A6?=", "\xC3\xA6"},
      {"unknown charset: bytes as they are", "=?x-none?Q?=E6?=", "\xE6"},
      {"empty word", "a=?utf-8?Q?\?=b", "ab"},
      {"undecodable base64", "a=?utf-8?B?!!!?=b", "ab"},
      {"unpadded base64", "=?utf-8?B?SGVsbG8?=", "Hello"},
      {"cut after the letter", "before =?utf-8?Q", "before "},
      {"no end", "before =?utf-8?Q?abc", "before "},
      {"no mark after the charset", "before =?utf-8", "before "},
      {"no letter", "before =?utf-8?\?a?=", "before "},
      {"word begins with an escape", "=?iso-8859-1?Q?=E6=F8?=", "\xC3\xA6\xC3\xB8"},
      {"question marks inside", "=?utf-8?Q?Why?_Really?\?=", "Why? Really?"},
      {"stray =", "=?utf-8?Q?1=2_=zz=?=", "1=2 =zz="},
      {"control and C1 bytes are dropped", "=?utf-8?Q?a\x01\t\x7F\x85 b?=", "a b"},
      {"ISO-2022-JP", "=?ISO-2022-JP?B?GyRCRnxLXBsoQg==?=", "\xE6\x97\xA5\xE6\x9C\xAC"},
      {"gb2312 as its superset", "=?gb2312?B?lHKCRA==?=", "\xE6\x94\x94\xE4\xBE\xB1"},
      {"latin-1 as windows-1252", "=?iso-8859-1?Q?=8010?=",
       "\xE2\x82\xAC"
       "10"},
      {"language suffix", "=?us-ascii*en?Q?hi?=", "hi"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(ContentCoding::DecodeEncodedWords(c.input), c.output) << c.name;
  }
}

TEST(ContentCoding, ShowsHeadersWhateverTheirBytes) {
  const struct {
    const char* name;
    const char* input;
    const char* charset;
    const char* output;
  } kCases[] = {
      {"raw UTF-8", "Sm\xC3\xB8r", "koi8-r", "Sm\xC3\xB8r"},
      {"raw text in the message's charset", "\xF0\xD2\xC9", "koi8-r", "\xD0\x9F\xD1\x80\xD0\xB8"},
      {"raw text without a charset", "Sm\xF8r", "", "Sm\xC3\xB8r"},
      {"raw text beside a word", "\xF8 =?utf-8?Q?=C3=A6?=", "", "\xC3\xB8 \xC3\xA6"},
      {"an unknown charset goes on", "=?x-none?Q?=F8?=", "", "\xC3\xB8"},
      {"an ASCII word that is none", "=?us-ascii?Q?caf=E9?=", "", "caf\xC3\xA9"},
      {"a UTF-8 word that is none", "=?utf-8?Q?bl=E5?=", "", "bl\xC3\xA5"},
      {"no word: marks are text", "a=?b", "", "a=?b"},
      {"character cut between two words", "=?utf-8?B?4oI=?= =?utf-8?B?rCA1?=", "",
       "\xE2\x82\xAC  5"},
      {"cut one byte in", "=?utf-8?Q?a=E2?=\r\n =?utf-8?Q?=82=ACb?=", "", "a\xE2\x82\xAC\r\n b"},
      {"cut double-byte character", "=?shift_jis?Q?=93?= =?shift_jis?Q?=FA?=", "", "\xE6\x97\xA5 "},
      {"raw ISO-2022-JP", "\x1B$BF|K\\\x1B(B", "", "\xE6\x97\xA5\xE6\x9C\xAC"},
      {"a word that is cut off", "=?utf-8?Q?a?= =?utf-8?Q?b", "", "a =?utf-8?Q?b"},
      {"cut behind its letter", "a?B?b =?utf-8?Q", "", "a?B?b =?utf-8?Q"},
      {"a malformed word before a good one", "=?utf-8 a =?utf-8?Q?b?=", "", "=?utf-8 a b"},
      {"words without an end", "=?a?q?b =?a?q?c", "", "=?a?q?b =?a?q?c"},
      {"undecodable base64", "=?utf-8?B?!!!?= =?utf-8?B?=?=.", "", "=?utf-8?B?!!!?= ."},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ContentCoding::DecodeHeader(c.input, c.charset), c.output) << c.name;
  }
}

TEST(ContentCoding, DecodesFileNames) {
  const Case kCases[] = {
      {"plain", "=?not a word", "=?not a word"},
      {"Q", "=?iso-8859-1?Q?=E6.txt?=", "\xC3\xA6.txt"},
      {"q", "=?iso-8859-1?q?=E6.txt?=", "\xC3\xA6.txt"},
      {"cut off", "a =?utf-8?Q?b.txt", "a "},
      {"q cut off", "a =?utf-8?q?b.txt", "a =?utf-8?q?b.txt"},
      {"raw escape sequences", "\x1B$BF|K\\\x1B(B.txt", "\xE6\x97\xA5\xE6\x9C\xAC.txt"},
      {"escape sequences inside a word",
       "=?utf-8?B?GyRCRnxLXBsoQi50eHQ=?=", "\xE6\x97\xA5\xE6\x9C\xAC.txt"},
  };
  for (const Case& c : kCases)
    EXPECT_EQ(ContentCoding::DecodeFileName(c.input), c.output) << c.name;
  EXPECT_EQ(ContentCoding::DecodeExtendedParameter("iso-8859-1'da'bl%E5%b"), "bl\xC3\xA5%b");
  EXPECT_EQ(ContentCoding::DecodeExtendedParameter("UTF-8''%e2%82%ac%20rates"),
            "\xE2\x82\xAC rates");
  EXPECT_EQ(ContentCoding::DecodeExtendedParameter("bl%E5"), "bl\xC3\xA5");
}

TEST(DecodeText, ClimbsTheLadder) {
  const struct {
    const char* name;
    std::string bytes;
    const char* declared;
    const char* fallback;
    unsigned page;
  } kCases[] = {
      {"declared", "\xF0\xD2", "koi8-r", "", 20866},
      {"quoted, upper case", "\xF0", " \"KOI8-R\" ", "", 20866},
      {"declared wins over UTF-8", "\xC3\xA6", "iso-8859-1", "", 28591},
      {"unknown, UTF-8", "\xC3\xA6", "x-unknown", "koi8-r", 65001},
      {"unknown, fallback", "\xE6", "x-unknown", "koi8-r", 20866},
      {"nothing known", "\xE6", "", "", 1252},
      {"ASCII that is not", "\xC3\xA6", "us-ascii", "", 65001},
      {"broken UTF-8 keeps its good part", "\xC3\xA6\xC3\xA6\xE6", "utf-8", "koi8-r", 65001},
      {"UTF-8 that is mostly not", "\xE6\xE6\xC3\xA6 ", "utf-8", "koi8-r", 20866},
      {"neither rung is UTF-8", "\xE6\xE6", "utf-8", "utf8", 1252},
      {"marked UTF-16",
       std::string("\xFF\xFE"
                   "a\0",
                   4),
       "", "", 1200},
      {"marked, the other way round", std::string("\xFE\xFF\0a", 4), "", "", 1201},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ChooseCodePage(c.bytes, c.declared, c.fallback), c.page) << c.name;
  }
  EXPECT_EQ(DecodeText("\xEF\xBB\xBFx\xC3\xA6\xE6", "utf-8", ""), u"x\u00E6\uFFFD");
  EXPECT_EQ(DecodeTextToUtf8("\xEF\xBB\xBFx", "", ""), "x");
}

TEST(CharsetNaming, NamesEveryPageAndFindsItAgain) {
  std::size_t found = 0;
  for (unsigned page = 0; page < 70000; ++page) {
    const auto name = CharsetNaming::NameOfCodePage(page);
    if (!name) continue;
    ++found;
    EXPECT_EQ(CharsetNaming::CodePageOfName(*name), page == 50220 ? 50222 : page);
  }
  EXPECT_EQ(found, 139U);
  EXPECT_EQ(CharsetNaming::NameOfCodePage(936), "gb2312");
  EXPECT_EQ(CharsetNaming::NameOfCodePage(1201), "unicodefffe");
  EXPECT_FALSE(CharsetNaming::NameOfCodePage(28600));
}

TEST(CharsetNaming, KnowsTheAliasesOfMail) {
  const struct {
    const char* name;
    unsigned page;
  } kCases[] = {{"UTF8", 65001},
                {"'utf-8'", 65001},
                {"iso_8859-1:1987", 28591},
                {"Latin1", 28591},
                {"x-sjis", 932},
                {"Windows-31J", 932},
                {"GBK", 936},
                {"x-gbk", 936},
                {"cp936", 936},
                {"EUC-KR", 51949},
                {"ks_c_5601-1989", 949},
                {"big5-hkscs", 950},
                {"iso-2022-jp-2", 50222},
                {"csISO2022JP", 50221},
                {"win-1251", 1251},
                {"cp1252", 1252},
                {"IBM850", 850},
                {"ibm-273", 20273},
                {"ansi_x3.4-1968", 20127},
                {"tis-620", 874},
                {"macroman", 10000},
                {"utf-16be", 1201},
                {"iso-8859-1*en", 28591},
                {"koi8-ru", 21866},
                {"utf-8; format=flowed", 65001}};
  for (const auto& c : kCases) EXPECT_EQ(CharsetNaming::CodePageOfName(c.name), c.page) << c.name;
  for (const char* name : {"", "\"\"", "x-unknown", "cp99999", "unknown-8bit", "cp"}) {
    EXPECT_FALSE(CharsetNaming::CodePageOfName(name)) << name;
  }
}

}  // namespace
}  // namespace Tessary
