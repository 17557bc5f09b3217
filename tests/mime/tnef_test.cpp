#include <gtest/gtest.h>

#include "mime/tnef/property_reader.h"
#include "mime/tnef/rtf_compression.h"
#include "mime/tnef/rtf_text.h"
#include "mime/tnef/tnef_reader.h"
#include "tests/mime/tnef_bytes.h"

namespace parvane::tnef {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::uint32_t kRendering = 0x00069002;
constexpr std::uint32_t kTitle = 0x00018010;
constexpr std::uint32_t kData = 0x0006800F;

// "title:data|..." of what was read, "-" for none.
std::string Told(std::string_view bytes) {
  const auto message = ReadTnef(bytes);
  if (!message) return "-";
  std::string told = message->whole ? "" : "cut ";
  for (const Attachment& attachment : message->attachments)
    told += std::string(UpToZero(attachment.title)) + ":" + std::string(attachment.data) + "|";
  return told;
}

TEST(Tnef, FindsAttachmentsHoweverTheyAreLaidOut) {
  const std::string begins = AttributeOf(2, kRendering, "\1\0"sv);
  const std::string title = AttributeOf(2, kTitle, "a.txt\0rest"sv);
  const std::string data = AttributeOf(2, kData, "text");
  std::string wrongSum = data;
  wrongSum.back() ^= 1;
  const struct {
    const char* name;
    std::string bytes;
    const char* told;
  } kCases[] = {
      {"in order", Stream(begins + title + data), "a.txt:text|"},
      {"data before name", Stream(begins + data + title), "a.txt:text|"},
      {"two", Stream(begins + title + data + begins + data), "a.txt:text|:text|"},
      {"nothing begins them", Stream(title + data + title + data), "a.txt:text|a.txt:text|"},
      {"an unknown attribute between", Stream(begins + AttributeOf(2, 0x12345, "x") + title),
       "a.txt:|"},
      {"empty ones", Stream(begins + begins), ":|:|"},
      {"wrong checksum", Stream(begins + title + wrongSum), "a.txt:text|"},
      {"no last checksum", Stream(title + data).substr(0, Stream(title + data).size() - 2),
       "a.txt:text|"},
      {"zeros at the end", Stream(title) + "\0\r\n\0"s, "a.txt:|"},
      {"rubbish at the end", Stream(title + data) + "-- \nfooter", "cut a.txt:text|"},
      {"cut in the data", Stream(title + data).substr(0, Stream(title + data).size() - 4),
       "cut a.txt:|"},
      {"a size beyond all", Stream(title + Number(2, 1) + Number(kData, 4) + "\xff\xff\xff\xff"),
       "cut a.txt:|"},
      {"no signature", "x" + Stream(title), "-"},
      {"nothing at all", "", "-"},
  };
  for (const auto& c : kCases) EXPECT_EQ(Told(c.bytes), c.told) << c.name;
  std::string many;
  for (std::size_t i = 0; i <= kMostAttachments; ++i) many += begins;
  EXPECT_EQ(Told(Stream(many)).substr(0, 5), "cut :");
}

TEST(Tnef, ReadsTheAttributesOfAMessage) {
  const std::string from =
      Number(4, 2) + Number(24, 2) + Number(4, 2) + Number(9, 2) + "Ann\0"s + "smtp:a@b\0"s;
  const std::string date = Number(2026, 2) + Number(2, 2) + Number(3, 2) + Number(4, 2) +
                           Number(5, 2) + Number(6, 2) + Number(2, 2);
  const std::string bytes = Stream(
      AttributeOf(1, 0x00069007, Number(1251, 4) + Number(0, 4)) + AttributeOf(1, 0x8000, from) +
      AttributeOf(1, 0x00018004, "Subject\0"sv) + AttributeOf(1, 0x00038005, date));
  const auto message = ReadTnef(bytes);
  ASSERT_TRUE(message && message->whole);
  EXPECT_EQ(message->codePage, 1251u);
  EXPECT_EQ(UpToZero(message->subject), "Subject");
  const auto sender = ReadOriginator(message->from);
  ASSERT_TRUE(sender);
  EXPECT_EQ(sender->name, "Ann");
  EXPECT_EQ(sender->address, "a@b");
  EXPECT_FALSE(ReadOriginator(message->from.substr(0, 16)));
  const auto sent = ReadDate(message->dateSent);
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->year, 2026);
  EXPECT_EQ(sent->second, 6);
  EXPECT_FALSE(ReadDate(message->dateSent.substr(0, 11)));
}

// "tag=first value" of each property, several values joined by "+", "!" where the list breaks off.
std::string ToldList(std::string_view bytes) {
  ByteReader reader(bytes);
  PropertyReader list(reader);
  std::string told;
  for (Property property; list.Next(property);) {
    char tag[9];
    std::snprintf(tag, sizeof tag, "%08X", property.tag());
    told += tag;
    if (property.name)
      told += property.name->isText ? "(" + std::string(property.name->text) + ")"
                                    : "(" + std::to_string(property.name->number) + ")";
    const char* joint = "=";
    ValueReader values(property);
    for (std::string_view value; values.Next(value); joint = "+")
      told += joint + std::string(value);
    told += " ";
  }
  return told + (list.whole() ? "" : "!");
}

TEST(Tnef, ReadsListsOfPropertiesOfEveryWidth) {
  const std::string set(16, 'G');
  const std::string several = Number(0x101F, 2) + Number(0x3001, 2) + Number(3, 4) + Sized("a") +
                              Sized("") + Sized("bcdef");
  const std::string fixed = Number(0x1003, 2) + Number(0x3002, 2) + Number(2, 4) + "abcdefgh";
  const std::string truth = Number(0x000B, 2) + Number(0x0E1F, 2) + "t\0\0\0"s;
  const std::string eight = Number(0x0040, 2) + Number(0x3007, 2) + "12345678";
  const std::string number = Variable(0x8001001E, "v", set + Number(0, 4) + Number(7, 4));
  const std::string named = Variable(0x8002001E, "v", set + Number(1, 4) + Sized("nam\0\0"sv));
  const struct {
    const char* name;
    std::string bytes;
    const char* told;
  } kCases[] = {
      {"text, filled up", Properties({Variable(0x3001001E, "abcde"), Variable(0x3002001E, "f")}),
       "3001001E=abcde 3002001E=f "},
      {"the last not filled up", Number(1, 4) + Variable(0x3001001E, "abcde").substr(0, 17),
       "3001001E=abcde "},
      {"fixed widths", Properties({truth, eight}), "0E1F000B=t 30070040=12345678 "},
      {"several", Properties({several, fixed}), "3001101F=a++bcdef 30021003=abcd+efgh "},
      {"names", Properties({number, named}), "8001001E(7)=v 8002001E(nam)=v "},
      {"none", Properties({}), ""},
      {"no list", "ab", "!"},
      {"an unknown type", Properties({Number(0x0099, 2) + Number(1, 2), truth}), "!"},
      {"more announced than there are", Number(9, 4) + eight, "30070040=12345678 !"},
      {"values without end",
       Properties({Number(0x0102, 2) + Number(0x1009, 2) + "\xff\xff\xff\xff"}), "!"},
      {"a size beyond all",
       Properties({Number(0x0102, 2) + Number(0x1009, 2) + Number(1, 4) + "\xff\xff\xff\x7fzzzz"}),
       "!"},
  };
  for (const auto& c : kCases) {
    std::string told = ToldList(c.bytes);
    std::erase(told, '\0');
    EXPECT_EQ(told, c.told) << c.name;
  }
}

std::string Unpacked(std::string_view bytes, bool& whole) {
  std::string text;
  whole = DecompressRtf(bytes, [&](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

TEST(Tnef, UnpacksRtf) {
  // [MS-OXRTFCP] 4.1 and 4.2.
  const std::string simple =
      "\x2d\0\0\0\x2b\0\0\0LZFu\xf1\xc5\xc7\xa7\x03\0\x0a\0"
      "rcpg125\x42\x32\x0a\xf3\x20hel\x09\0\x20"
      "bw\x05\xb0ld}\x0a\x80\x0f\xa0"s;
  const std::string crossing =
      "\x1a\0\0\0\x1c\0\0\0LZFu\xe2\xd4\x4b\x51\x41\0\x04\x20WXYZ\x0d\x6e\x7d\x01\x0e\xb0"s;
  bool whole = false;
  EXPECT_EQ(Unpacked(simple, whole), "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");
  EXPECT_TRUE(whole);
  EXPECT_EQ(Unpacked(crossing, whole), "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}");
  EXPECT_TRUE(whole);
  EXPECT_EQ(Unpacked(Number(15, 4) + Number(3, 4) + "MELA" + Number(0, 4) + "{a}", whole), "{a}");
  EXPECT_TRUE(whole);
  for (std::size_t size = 0; size < simple.size(); ++size) {
    Unpacked(std::string_view(simple).substr(0, size), whole);
    EXPECT_FALSE(whole) << size;
    std::string wrong = simple;
    wrong[size] ^= 0x10;
    Unpacked(wrong, whole);
    EXPECT_EQ(whole, size >= 4 && size < 8) << "a bit of byte " << size;
  }
}

TEST(Tnef, ReadsTextOutOfRtf) {
  const struct {
    std::string_view rtf;
    std::u16string_view text;
  } kCases[] = {
      {R"({\rtf1\ansi\ansicpg1252\deff0{\fonttbl{\f0 Arial;}}{\colortbl;\red1;}\pard one\par
two\tab 3\line\{4\}})",
       u"one\r\ntwo\t3\r\n{4}"},
      {R"({\rtf1\ansi\ansicpg1251 \'cf\'f0{\*\generator x;}{\pict ff\bin3 }}}00}!})",
       u"\u041F\u0440!"},
      {R"({\rtf1\ansi{\fonttbl{\f0\fcharset0 A;}{\f1\fcharset204 B;}}\f0\'e9{\f1\'e9}\'e9\f1\'e9\plain\'e9})",
       u"\u00E9\u0439\u00E9\u0439\u00E9"},
      {R"({\rtf1\ansi\ansicpg932\'93\'fa\'96{\b {}}\'83A)", u"\u65E5\uFFFD\u30A2"},
      {R"({\rtf1\uc1 \u8364 ?\u8364\'80\uc2\u-10179 ??\uc0\u-8704 ?\u55357 x\u0 y})",
       u"\u20AC\u20AC\xD83D\xDE00?\uFFFDxy"},
      {R"({\rtf1\fromhtml1{\*\htmltag64 <p>}\htmlrtf {\htmlrtf0 text\htmlrtf\par}\htmlrtf0
{\*\htmltag72 </p>}})",
       u"text\r\n"},
      {R"(\~\_\-\lquote a\rquote\emdash)", u"\u00A0-\u2018a\u2019\u2014"},
      {"}}{{{{", u""},
  };
  for (const auto& c : kCases) {
    for (const std::size_t step : {std::size_t{1}, std::size_t{7}, c.rtf.size()}) {
      std::u16string text;
      RtfText reader([&](std::u16string_view piece) { text += piece; });
      for (std::size_t at = 0; at < c.rtf.size(); at += step) reader.Take(c.rtf.substr(at, step));
      reader.End();
      EXPECT_EQ(text, c.text) << c.rtf << " in pieces of " << step;
    }
  }
}

TEST(Tnef, LetsRtfRunThroughItsRing) {
  // 5,000 literals in groups of eight, then an end where the ring stands.
  std::string contents;
  std::string text;
  for (int i = 0; i < 5000; ++i) {
    if (i % 8 == 0) contents += '\0';
    text += static_cast<char>('a' + i % 26);
    contents += text.back();
  }
  const std::size_t end = (207 + 5000) % 4096;
  contents += "\1"s + static_cast<char>(end >> 4) + static_cast<char>(end << 4 & 0xF0);
  bool whole = false;
  std::uint32_t crc = 0;
  for (const char c : contents) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
  }
  const std::string packed = Number(contents.size() + 12, 4) + Number(5000, 4) + "LZFu";
  EXPECT_EQ(Unpacked(packed + Number(0, 4) + contents, whole), "");
  EXPECT_FALSE(whole);
  EXPECT_EQ(Unpacked(packed + Number(crc, 4) + contents, whole), text);
  EXPECT_TRUE(whole);
}

}  // namespace
}  // namespace parvane::tnef
