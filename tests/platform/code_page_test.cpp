// What each code page's bytes mean, taken from other converters when the test was written: Python's
// codecs where it has the page, else GNU iconv or Perl's Encode; where Windows differs
// (docs/text.md), the table that Microsoft published. For these pages no independent table was to
// be had:
//   10017 20105 20838 20924  ICU's table, or Apple's and ISO's published changes to another one
//   20261 20269 20000 50227  GNU iconv reads part of them, which is what stands here
//   57002 to 57011           letters from the chart of IS 13194:1991
//   20001 20003 20004 20005  never published; only their ASCII is read
//   29001                    never published; read as Windows-1252
#include "platform/code_pages/code_page.h"

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/text.h"
#include "tests/platform/lacking_pages.h"

namespace parvane::platform {
namespace {

struct Vector {
  unsigned codePage;
  const char* bytes;  // hexadecimal
  const char16_t* text;
};

// What most pages are read from, all over their upper half, and what those of the Indic scripts.
constexpr const char* kSpread = "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93";
constexpr const char* kIndic = "41a4b3da";

constexpr Vector kVectors[] = {
    {37, kSpread, u"~w¿^§[×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {437, kSpread, u"íª½░╡║┐─╔╬╙╪▌Γτ∞±÷√AÇèô"},
    {500, kSpread, u"~w¿¢§¬×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {708, "bfc4c9ced3d8e2e7ecf14180938aa1",
     u"\u061F\u0624\u0629\u062E\u0633\u0638\u0642\u0647\u064C\u0651A│ôè┴"},
    {720, kSpread, u"\u0629\u062E\u0633░╡║┐─╔╬╙╪▌\u0638\u0642\u0647\u064B\u0650√A\200èô"},
    {737, kSpread, u"κοτ░╡║┐─╔╬╙╪▌έύΉ±÷√AΑΛΥ"},
    {775, kSpread, u"Ī”½░Ą║┐─╔╬ėž▌Ōńņ±÷¹AĆŖō"},
    {850, kSpread, u"íª½░Á║┐─╔╬ËÏ¦Ôþý±÷¹AÇèô"},
    {852, kSpread, u"íŽź░Á║┐─╔╬ËěŢÔšý˝÷űAÇŐô"},
    {855, kSpread, u"АдФ░х║┐─╔╬МпПРуВыШчAђіЊ"},
    {857, "a1a6abb0b5babfc4c9ced3d8dde2ecf1f6fb41808a93", u"íĞ½░Á║┐─╔╬ËÏ¦Ôì±÷¹AÇèô"},
    {858, kSpread, u"íª½░Á║┐─╔╬ËÏ¦Ôþý±÷¹AÇèô"},
    {860, kSpread, u"íª½░╡║┐─╔╬╙╪▌Γτ∞±÷√AÇèô"},
    {861, kSpread, u"íÓ½░╡║┐─╔╬╙╪▌Γτ∞±÷√AÇèô"},
    {862, kSpread, u"íª½░╡║┐─╔╬╙╪▌Γτ∞±÷√A\u05D0\u05DA\u05E3"},
    {863, kSpread, u"´³½░╡║┐─╔╬╙╪▌Γτ∞±÷√AÇèô"},
    {864, "d7d8f19ba1abb0b5babfc4c9ced3dde2e7ecf6fb41808a93",
     u"\uFEC1\uFEC5\u0651\233\u00AD\uFE99\u0660\u0665\uFED1\u061F\uFE85\uFE93\uFEA7\uFEB3÷\uFED7"
     u"\uFEEB\uFECC\uFEF2\uFEDDA"
     u"°├±"},
    {865, kSpread, u"íª½░╡║┐─╔╬╙╪▌Γτ∞±÷√AÇèô"},
    {866, kSpread, u"бжл░╡║┐─╔╬╙╪▌тчьёЎ√AАКУ"},
    {869, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418a", u"ΐΓ½░Κ║┐─╔╬Χγδθνσ±ψϋA¦"},
    {870, "a1a6abb5babfc4c9ced3d8dde2e7ecf1f6fb41808a93", u"~wŇ§Ł×DIóLQťSXÖ16Ű\u00A0˘śl"},
    {874, "a1a6abb0b5babfc4c9ced3d8e2e7ecf1f6fb418093", u"กฆซฐตบฟฤษฮำ\u0E38โ\u0E47\u0E4C๑๖๛A€“"},
    {875, "a1a6abb0b5babfc4c9ced3d8dde2e7f1f6fb41808a93", u"~wξ£ίςψDI‘LQ\u0387SX16©Α΅αl"},
    {932, "93fa967b8cea83658358836787408160b1", u"日本語テスト①～ｱ"},
    {936, "d6d0cec49c79d487", u"中文測試"},
    {949, "c7d1b1b9beee208c63", u"한국어 똠"},
    {950, "a4a4a4e5b4fab8d5", u"中文測試"},
    {1026, kSpread, u"öw¿¢§¬×DIóLQùSX#16Û\u00A0Ø«l"},
    {1047, kSpread, u"~w¿¬§Ý×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {1140, kSpread, u"~w¿^§[×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {1141, kSpread, u"ßw¿¢@¬×DIóLQùSX\\16Û\u00A0Ø«l"},
    {1142, kSpread, u"üw¿¢§¬×DIóLQùSXÖ16Û\u00A0@«l"},
    {1143, kSpread, u"üw¿¢[¬×DIóLQùSX@16Û\u00A0Ø«l"},
    {1144, kSpread, u"ìw¿¢@¬×DIóLQ`SXÖ16Û\u00A0Ø«l"},
    {1145, kSpread, u"¨w¿¢§^×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {1146, kSpread, u"¯w¿¢§^×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {1147, kSpread, u"¨w¿¢]¬×DIóLQ¦SXÖ16Û\u00A0Ø«l"},
    {1148, kSpread, u"~w¿¢§¬×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {1149, kSpread, u"öw¿¢§¬×DIóLQùSX^16Û\u00A0Ø«l"},
    {1200, "6100e900e5653dd800de", u"aé日\U0001F600"},
    {1201, "006100e965e5d83dde00", u"aé日\U0001F600"},
    {1250, kSpread, u"ˇ¦«°µşżÄÉÎÓŘÝâçěńöűA€Š“"},
    {1251, kSpread, u"Ў¦«°µєїДЙОУШЭвзмсцыAЂЉ“"},
    {1252, kSpread, u"¡¦«°µº¿ÄÉÎÓØÝâçìñöûA€Š“"},
    {1253, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093", u"΅¦«°µΊΏΔΙΞΣΨέβημρφϋA€“"},
    {1254, kSpread, u"¡¦«°µº¿ÄÉÎÓØİâçìñöûA€Š“"},
    {1255, "caa1a6abb0b5babfc4c9ced3d8e2e7ecf1f6418093",
     u"\u05BA¡¦«°µ÷¿\u05B4\u05B9\u05BE\u05C3\u05F4\u05D2\u05D7\u05DC\u05E1\u05E6A€“"},
    {1256, kSpread,
     u"،¦«°µ\u061B\u061F\u0624\u0629\u062E\u0633\u0637\u0641âç\u0649\u064C\u0650ûA€\u0679“"},
    {1257, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093", u"¦«°µŗæÄÉĪÓŲŻāēģńöūA€“"},
    {1258, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093", u"¡¦«°µº¿ÄÉÎÓØƯâç\u0301ñöûA€“"},
    {1361, "d0658a82b4e120884184612099b120f7d3", u"한국어 ㄱㅏ 똠 漢"},
    {10000, kSpread, u"°¶´∞µ∫øƒ…Œ”ÿ›‚ÁÏÒˆ˚AÄäì"},
    {10001, "93fa967b8ceab1", u"日本語ｱ"},
    {10002, "a4a4a4e5b4fab8d5", u"中文測試"},
    {10003, "c7d1b1b9beee", u"한국어"},
    {10004, kSpread,
     u"!&+\u0660\u0665:\u061F\u0624\u0629\u062E\u0633\u0638]\u0642\u0647\u064C\u0651\u06D5{AÄä…"},
    {10005, kSpread, u"!₪+05:?\uF89D…\u05B6”\u05BF\u05B9\u05D2\u05D7\u05DC\u05E1\u05E6}AÄäì"},
    {10006, kSpread, u"ΓΠΪΑΒΚΩΡ…Έ”ΊίβγλώωϊAÄä™"},
    {10007, kSpread, u"°¶Ђ∞µЇњƒ…ќ”ЎЁвзмсцыAАКУ"},
    {10008, "d6d0cec4b2e2cad4", u"中文测试"},
    {10010, kSpread, u"°¶´∞µ∫șƒ…Œ”ÿ›‚ÁÏÒˆ˚AÄäì"},
    {10021, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb4180", u"กฆซฐตบฟฤษฮำ\u0E38–โ\u0E47\u0E4C๑๖©A«"},
    {10029, kSpread, u"°¶ęįĶļŅń…ő”ō›‚ÁžŮŲŻAÄäď"},
    {10079, kSpread, u"°¶´∞µ∫øƒ…Œ”ÿð‚ÁÏÒˆ˚AÄäì"},
    {10081, kSpread, u"°¶´∞µ∫øƒ…Œ”ÿı‚ÁÏÒˆ˚AÄäì"},
    {10082, kSpread, u"°¶´∞µ∫øƒ…Œ”\uF8FF›‚ÁÏÒˆ˚AÄäì"},
    {20002, "41", u"A"},
    {20106, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZÜ`cfiloruxäß§ÄÖÜäöüß"},
    {20107, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"¤'*-0369<?BEHKNQTWZÅ`cfiloruxä‾@ÄÖÅäöå‾"},
    {20108, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZÅ`cfiloruxæ‾@ÆØÅæøå‾"},
    {20127, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZ]`cfilorux{~@[\\]{|}~"},
    {20273, kSpread, u"ßw¿¢@¬×DIóLQùSX\\16Û\u00A0Ø«l"},
    {20277, kSpread, u"üw¿¢§¬×DIóLQùSXÖ16Û\u00A0@«l"},
    {20278, kSpread, u"üw¿¢[¬×DIóLQùSX@16Û\u00A0Ø«l"},
    {20280, kSpread, u"ìw¿¢@¬×DIóLQ`SXÖ16Û\u00A0Ø«l"},
    {20284, kSpread, u"¨w¿¢§^×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {20285, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93", u"w¿¢§^×DIóLQùSXÖ16Û\u00A0Ø«l"},
    {20290, "a1c4c9d3d8e2e7f1f6", u"‾DILQSX16"},
    {20297, kSpread, u"¨w¿¢]¬×DIóLQ¦SXÖ16Û\u00A0Ø«l"},
    {20420, "a1a6abb0b5babfc4c9d3d8dde2e7f1f6fb41808a93",
     u"÷w\u0641\uFEDB\uFEF8\uFEDF\u0647DILQ\uFEF2SX16\u0666\u00A0\u0634\uFEB7l"},
    {20423, "a1a6abb5babfc4c9ced3d8dde2e7ecf1f6fb41808a93", u"¨wξίσψDIäLQëSXô16çΑÄαl"},
    {20424, "a1a6b0b5babfc4c9d3d8e2e7f1f6418a93", u"~w^§[×DILQSX16\u05D0«l"},
    {20833, "a1a6abb0bac4c9d3d8e2e7f1f6808a93", u"~wￓ^ￚDILQSX16]ￂl"},
    {20866, kSpread, u"║╕╚╟╣╨©динсьщБГЛЯЖШA─┼⌠"},
    {20871, kSpread, u"öw¿¢§¬×DIóLQùSX^16Û\u00A0Ø«l"},
    {20880, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb808a93", u"wсьщБГDIЛLQЯSXЖ16Шцдl"},
    {20905, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb808a93", u"öwĈ·§Ĥ×DIóLQùSX#16Û˘ħl"},
    {20936, "d6d0cec4b2e2cad4", u"中文测试"},
    {20949, "c7d1b1b9beee", u"한국어"},
    {21025, kSpread, u"~wсьщБГDIЛLQЯSXЖ16Ш\u00A0цдl"},
    {21866, "aebea1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93", u"ўЎ║і╚╟╣╨©динсьщБГЛЯЖШA─┼⌠"},
    {28591, kSpread, u"¡¦«°µº¿ÄÉÎÓØÝâçìñöûA€Š“"},
    {28592, kSpread, u"ĄŚŤ°ľşżÄÉÎÓŘÝâçěńöűA\200\212\223"},
    {28593, kSpread, u"ĦĤĞ°µşżÄÉÎÓĜŬâçìñöûA\200\212\223"},
    {28594, kSpread, u"ĄĻĢ°ĩēŋÄÉÎĶØŨâįėņöûA\200\212\223"},
    {28595, kSpread, u"ЁІЋАЕКПФЩЮгинтчьёіћA\200\212\223"},
    {28596, "bfc4c9ced3d8e2e7ecf141808a93",
     u"\u061F\u0624\u0629\u062E\u0633\u0638\u0642\u0647\u064C\u0651A\200\212\223"},
    {28597, kSpread, u"\u02BD¦«°΅ΊΏΔΙΞΣΨέβημρφϋA\200\212\223"},
    {28598, "afa6abb0b5bae2e7ecf1f641808a93", u"‾¦«°µ÷\u05D2\u05D7\u05DC\u05E1\u05E6A\200\212\223"},
    {28599, kSpread, u"¡¦«°µº¿ÄÉÎÓØİâçìñöûA\200\212\223"},
    {28603, kSpread, u"”¦«°µŗæÄÉĪÓŲŻāēģńöūA\200\212\223"},
    {28605, kSpread, u"¡Š«°µº¿ÄÉÎÓØÝâçìñöûA\200\212\223"},
    {38598, "afa6abb0b5bae2e7ecf1f641808a93", u"‾¦«°µ÷\u05D2\u05D7\u05DC\u05E1\u05E6A\200\212\223"},
    {50220, "1b2442467c4b5c386c1b2842616263", u"日本語abc"},
    {50221, "1b2442467c4b5c386c1b284936451b2842", u"日本語ｶﾅ"},
    {50222, "1b2442467c4b5c436639711b242843475131391b2428442b311b2842", u"日本中国한국é"},
    {50225, "1b2429430e475131393e6e0f616263", u"한국어abc"},
    {51932, "c6fccbdcb8ec8eb18fb0a1", u"日本語ｱ丂"},
    {51936, "d6d0cec4b2e2cad4", u"中文测试"},
    {51949, "c7d1b1b9beee", u"한국어"},
    {52936, "7e7b56504e447e7d616263", u"中文abc"},
    {54936, "d6d0cec4b2e2cad49439fc36a8a6a2e3", u"中文测试\U0001F600é€"},
    {65000, "4869202b5a65566e4c49716541483759506434412d", u"Hi 日本語~\U0001F600"},
    {65001, "61c3a9e697a5f09f9880", u"aé日\U0001F600"},
    {65005, "61000000e9000000e565000000f60100", u"aé日\U0001F600"},
    {65006, "00000061000000e9000065e50001f600", u"aé日\U0001F600"},
    // From converters or charts that are not at hand as a whole.
    {10017, "a2b6", u"Ґґ"},
    {20000, "c4e3c5c641a121", u"中文A乂"},
    {20105, "237e2441", u"#‾¤A"},
    {20261, "c265c875a441cfe3", u"éü$A�ª"},
    {20269, "c265c875a4cb63c220ff", u"éü$ç´\u00AD"},
    {20838, "c1818cd9", u"AaฟR"},
    {20924, "9fc1b7b8", u"€AŒœ"},
    {50227, "1b2429410e56504e440f6162630f", u"中文abc"},
    {57002, kIndic, u"Aअक\u093E"},
    {57003, kIndic, u"Aঅক\u09BE"},
    {57004, kIndic, u"Aஅக\u0BBE"},
    {57005, kIndic, u"Aఅక\u0C3E"},
    {57006, kIndic, u"Aঅক\u09BE"},
    {57007, kIndic, u"Aଅକ\u0B3E"},
    {57008, kIndic, u"Aಅಕ\u0CBE"},
    {57009, kIndic, u"Aഅക\u0D3E"},
    {57010, kIndic, u"Aઅક\u0ABE"},
    {57011, kIndic, u"Aਅਕ\u0A3E"},
    {20001, "4162a4a3", u"Ab�"},
    {20003, "4162a4a3", u"Ab�"},
    {20004, "4162a4a3", u"Ab�"},
    {20005, "4162a4a3", u"Ab�"},
    {29001, "41e6f8e5", u"Aæøå"},
};

std::string FromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

std::u16string Decode(unsigned codePage, std::string_view bytes, std::size_t* invalid = nullptr) {
  std::u16string out;
  const std::size_t count = DecodeCodePage(codePage, bytes, out);
  if (invalid != nullptr) *invalid = count;
  return out;
}

// The vectors of the pages that can be read here.
std::vector<Vector> Vectors() {
  std::vector<Vector> vectors;
  for (const Vector& v : kVectors) {
    if (!MayLack(v.codePage)) vectors.push_back(v);
  }
  return vectors;
}

TEST(CodePage, ReadsTheSameInPieces) {
  // Characters of one to four bytes, shift states, and invalid bytes, across the ends of pieces.
  for (const auto& [codePage, bytes] :
       {std::pair<unsigned, std::string>{65001, "\xF0\x9F\x98\x80\xC3\xA9\xFF y"},
        {932, "\x82\xA0\x83\x5C "},
        {54936, "\x81\x30\x81\x30 z"},
        {1252, "\xE9t\xE9 "},
        {50220, "\x1B$B$\"\x1B(B "},
        {1200, std::string("a\0 \0", 4)},
        {950, "\xA4\x40"}}) {
    std::string text;
    while (text.size() < 200'001) text += bytes;
    std::u16string whole;
    DecodeCodePage(codePage, text, whole);
    std::u16string inPieces;
    int pieces = 0;
    DecodeInPieces(codePage, text, [&](std::u16string_view piece) {
      inPieces += piece;
      ++pieces;
    });
    EXPECT_EQ(inPieces == whole, true) << codePage;
    EXPECT_EQ(pieces > 1, codePage != 50220 && codePage != 1200 && codePage != 950) << codePage;
  }
}

TEST(CodePage, ReadsAsOtherConvertersDo) {
  std::set<unsigned> pages;
  std::string lacking;
  for (const Vector& v : kVectors) {
    pages.insert(v.codePage);
    if (MayLack(v.codePage)) {
      lacking += " " + std::to_string(v.codePage);
      continue;
    }
    EXPECT_EQ(Decode(v.codePage, FromHex(v.bytes)), v.text) << v.codePage;
    EXPECT_TRUE(IsCodePageSupported(v.codePage)) << v.codePage;
  }
  EXPECT_EQ(pages.size(), 139U);
  if (!lacking.empty()) std::printf("Lacking or different in this system:%s\n", lacking.c_str());
}

TEST(CodePage, WritesWhatItReads) {
  for (const Vector& v : Vectors()) {
    const std::u16string text = v.text;
    if (text.find(u'\uFFFD') != text.npos) continue;
    std::string bytes;
    EXPECT_EQ(EncodeCodePage(v.codePage, text, bytes), 0U) << v.codePage;
    EXPECT_EQ(Decode(v.codePage, bytes), text) << v.codePage;
  }
}

TEST(CodePage, NoByteIsLostOnEightBitPages) {
  // Every byte that a page defines comes back from its character as a byte of the same meaning.
  for (const Vector& v : Vectors()) {
    for (int byte = 0; byte < 256; ++byte) {
      const std::string one(1, static_cast<char>(byte));
      std::size_t invalid = 0;
      const std::u16string text = Decode(v.codePage, one, &invalid);
      if (invalid != 0 || text.size() != 1) continue;
      std::string back;
      ASSERT_EQ(EncodeCodePage(v.codePage, text, back), 0U) << v.codePage << " byte " << byte;
      ASSERT_EQ(Decode(v.codePage, back), text) << v.codePage << " byte " << byte;
    }
  }
}

TEST(CodePage, InvalidBytesBecomeTheReplacementAndAreCounted) {
  const struct {
    const char* name;
    unsigned codePage;
    std::string bytes;
    std::u16string text;
    std::size_t invalid;
  } kCases[] = {
      {"UTF-8", 65001, "a\xE6z\xC3", u"a\uFFFDz\uFFFD", 2},
      {"Shift-JIS cut", 932, "a\x93", u"a\uFFFD", 1},
      {"Shift-JIS, bad trail", 932,
       "\x93\x1F"
       "a",
       u"\uFFFD\u001Fa", 1},
      {"GBK, the euro sign", 936,
       "\x80"
       "a\xFF",
       u"\u20ACa\uFFFD", 1},
      {"ISO-2022-JP, half a pair", 50222, "\x1B$BF|K", u"\u65E5\uFFFD", 1},
      {"ISO-2022-JP, unknown escape", 50222, "\x1B(Za", u"\uFFFD(Za", 1},
      {"ASCII", 20127, "a\xE6", u"a\uFFFD", 1},
      {"UTF-16, odd byte and lone surrogate", 1200, std::string("a\0\x00\xD8z\0z", 7),
       u"a\uFFFDz\uFFFD", 2},
      {"UTF-16, cut pair", 1201, std::string("\xD8\x3D", 2), u"\uFFFD", 1},
      {"UTF-16, foreign mark", 1200, std::string("\xFE\xFF\0a", 4), u"a", 0},
      {"UTF-32, beyond Unicode", 65005, std::string("\0\0\x11\0", 4), u"\uFFFD", 1},
      {"UTF-7, half a pair", 65000, "a+3gA-z", u"a\uFFFDz", 1},
      {"Johab", 1361, "a\x80z", u"a\uFFFDz", 1},
      {"T.61, accent on nothing", 20261, "\xC1", u"\uFFFD", 1},
      {"unknown page", 12345, "\x80", u"\u20AC", 0},
  };
  for (const auto& c : kCases) {
    if (MayLack(c.codePage)) continue;
    std::size_t invalid = 0;
    EXPECT_EQ(Decode(c.codePage, c.bytes, &invalid), c.text) << c.name;
    EXPECT_EQ(invalid, c.invalid) << c.name;
  }
}

TEST(CodePage, ReadsJapaneseMailOfEveryKind) {
  const struct {
    const char* name;
    std::string bytes;
    const char16_t* text;
  } kCases[] = {
      {"JIS C 6226", "\x1B$@F|K\\\x1B(J!", u"\u65E5\u672C!"},
      {"katakana by escape", "\x1B(I6E\x1B(B.", u"\uFF76\uFF85."},
      {"katakana by shift",
       "\x0E"
       "6E\x0F.",
       u"\uFF76\uFF85."},
      {"katakana by the eighth bit", "\xB6\xC5.", u"\uFF76\uFF85."},
      {"NEC's row 13", "\x1B$B-!-j\x1B(B", u"\u2460\u3231"},
      {"full-width tilde", "\x1B$B!A\x1B(B", u"\uFF5E"},
      {"line end without an escape", "\x1B$BF|\r\nK\\\x1B(B", u"\u65E5\r\n\u672C"},
  };
  for (const auto& c : kCases) {
    for (const unsigned page : {50220U, 50221U, 50222U}) {
      EXPECT_EQ(Decode(page, c.bytes), c.text) << c.name;
    }
  }
}

TEST(CodePage, ReplacesCharactersThePageLacks) {
  for (const unsigned page : {1252U, 20127U, 932U, 37U, 1361U, 20269U, 10001U, 20000U}) {
    if (MayLack(page)) continue;
    std::string bytes;
    EXPECT_EQ(EncodeCodePage(page, u"a\U0001F600b", bytes), 1U) << page;
    EXPECT_EQ(Decode(page, bytes), u"a?b") << page;
  }
}

TEST(CodePage, PiecesOfTheWorkBufferJoinSeamlessly) {
  // Longer than the buffers, the double byte at every distance from their ends.
  for (const Vector& v : Vectors()) {
    if (v.codePage == 65000 || v.codePage == 50225 || v.codePage == 52936) continue;
    std::string bytes;
    std::u16string text;
    while (text.size() < 9000) {
      bytes += FromHex(v.bytes);
      text += v.text;
    }
    ASSERT_TRUE(Decode(v.codePage, bytes) == text) << v.codePage;
  }
}

}  // namespace
}  // namespace parvane::platform
