// What each code page's bytes mean, taken from other converters when the test was written: Python's
// codecs where it has the page, else GNU iconv or Perl's Encode. For these pages no independent
// table was to be had:
//   10017 20105 20838 20924  ICU's table, or Apple's and ISO's published changes to another one
//   20261 20269 20000 50227  GNU iconv reads part of them, which is what stands here
//   57002 to 57011           letters from the chart of IS 13194:1991
//   20001 20003 20004 20005  never published; only their ASCII is read
//   29001                    never published; read as Windows-1252
#include "platform/code_page.h"

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

constexpr Vector kVectors[] = {
    {37, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u00BF^\u00A7[\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {437, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u00C7\u00E8\u00F4"},
    {500, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {708, "bfc4c9ced3d8e2e7ecf141808a93",
     u"\u061F\u0624\u0629\u062E\u0633\u0638\u0642\u0647\u064C\u0651A\200\212\223"},
    {720, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0629\u062E\u0633\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0638\u0642"
     u"\u0647\u064B\u0650\u221AA\200\u00E8\u00F4"},
    {737, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u03BA\u03BF\u03C4\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u03AD\u03CD"
     u"\u0389\u00B1\u00F7\u221AA\u0391\u039B\u03A5"},
    {775, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u012A\u201D\u00BD\u2591\u0104\u2551\u2510\u2500\u2554\u256C\u0117\u017E\u258C\u014C\u0144"
     u"\u0146\u00B1\u00F7\u00B9A\u0106\u0156\u014D"},
    {850, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u00C1\u2551\u2510\u2500\u2554\u256C\u00CB\u00CF\u00A6\u00D4\u00FE"
     u"\u00FD\u00B1\u00F7\u00B9A\u00C7\u00E8\u00F4"},
    {852, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u017D\u017A\u2591\u00C1\u2551\u2510\u2500\u2554\u256C\u00CB\u011B\u0162\u00D4\u0161"
     u"\u00FD\u02DD\u00F7\u0171A\u00C7\u0150\u00F4"},
    {855, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0410\u0434\u0424\u2591\u0445\u2551\u2510\u2500\u2554\u256C\u041C\u043F\u041F\u0420\u0443"
     u"\u0412\u044B\u0428\u0447A\u0452\u0456\u040A"},
    {857, "a1a6abb0b5babfc4c9ced3d8dde2ecf1f6fb41808a93",
     u"\u00ED\u011E\u00BD\u2591\u00C1\u2551\u2510\u2500\u2554\u256C\u00CB\u00CF\u00A6\u00D4\u00EC"
     u"\u00B1\u00F7\u00B9A\u00C7\u00E8\u00F4"},
    {858, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u00C1\u2551\u2510\u2500\u2554\u256C\u00CB\u00CF\u00A6\u00D4\u00FE"
     u"\u00FD\u00B1\u00F7\u00B9A\u00C7\u00E8\u00F4"},
    {860, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u00C7\u00E8\u00F4"},
    {861, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00D3\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u00C7\u00E8\u00F4"},
    {862, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u05D0\u05DA\u05E3"},
    {863, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B4\u00B3\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u00C7\u00E8\u00F4"},
    {864, "a1abb0b5babfc4c9ced3dde2e7ecf6fb41808a93",
     u"\u00AD\uFE99\u0660\u0665\uFED1\u061F\uFE85\uFE93\uFEA7\uFEB3\u00F7\uFED7\uFEEB\uFECC\uFEF2"
     u"\uFEDDA\u00B0\u251C\u00B1"},
    {865, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ED\u00AA\u00BD\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0393\u03C4"
     u"\u221E\u00B1\u00F7\u221AA\u00C7\u00E8\u00F4"},
    {866, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0431\u0436\u043B\u2591\u2561\u2551\u2510\u2500\u2554\u256C\u2559\u256A\u258C\u0442\u0447"
     u"\u044C\u0451\u040E\u221AA\u0410\u041A\u0423"},
    {869, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418a",
     u"\u0390\u0393\u00BD\u2591\u039A\u2551\u2510\u2500\u2554\u256C\u03A7\u03B3\u03B4\u03B8\u03BD"
     u"\u03C3\u00B1\u03C8\u03CBA\u00A6"},
    {870, "a1a6abb5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u0147\u00A7\u0141\u00D7DI\u00F3LQ\u0165SX\u00D616\u0170\u00A0\u02D8\u015Bl"},
    {874, "a1a6abb0b5babfc4c9ced3d8e2e7ecf1f6fb418093",
     u"\u0E01\u0E06\u0E0B\u0E10\u0E15\u0E1A\u0E1F\u0E24\u0E29\u0E2E\u0E33\u0E38\u0E42\u0E47\u0E4C"
     u"\u0E51\u0E56\u0E5BA\u20AC\u201C"},
    {875, "a1a6abb0b5babfc4c9ced3d8dde2e7f1f6fb41808a93",
     u"~w\u03BE\u00A3\u03AF\u03C2\u03C8DI\u2018LQ\u0387SX16\u00A9\u0391\u0385\u03B1l"},
    {932, "93fa967b8cea83658358836787408160b1",
     u"\u65E5\u672C\u8A9E\u30C6\u30B9\u30C8\u2460\uFF5E\uFF71"},
    {936, "d6d0cec49c79d487", u"\u4E2D\u6587\u6E2C\u8A66"},
    {949, "c7d1b1b9beee208c63", u"\uD55C\uAD6D\uC5B4 \uB620"},
    {950, "a4a4a4e5b4fab8d5", u"\u4E2D\u6587\u6E2C\u8A66"},
    {1026, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00F6w\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX#16\u00DB\u00A0\u00D8\u00ABl"},
    {1047, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u00BF\u00AC\u00A7\u00DD\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1140, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u00BF^\u00A7[\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1141, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00DFw\u00BF\u00A2@\u00AC\u00D7DI\u00F3LQ\u00F9SX\\16\u00DB\u00A0\u00D8\u00ABl"},
    {1142, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00FCw\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0@\u00ABl"},
    {1143, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00FCw\u00BF\u00A2[\u00AC\u00D7DI\u00F3LQ\u00F9SX@16\u00DB\u00A0\u00D8\u00ABl"},
    {1144, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ECw\u00BF\u00A2@\u00AC\u00D7DI\u00F3LQ`SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1145, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A8w\u00BF\u00A2\u00A7^\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1146, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00AFw\u00BF\u00A2\u00A7^\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1147, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A8w\u00BF\u00A2]\u00AC\u00D7DI\u00F3LQ\u00A6SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1148, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {1149, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00F6w\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX^16\u00DB\u00A0\u00D8\u00ABl"},
    {1200, "6100e900e5653dd800de", u"a\u00E9\u65E5\U0001F600"},
    {1201, "006100e965e5d83dde00", u"a\u00E9\u65E5\U0001F600"},
    {1250, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u02C7\u00A6\u00AB\u00B0\u00B5\u015F\u017C\u00C4\u00C9\u00CE\u00D3\u0158\u00DD\u00E2\u00E7"
     u"\u011B\u0144\u00F6\u0171A\u20AC\u0160\u201C"},
    {1251, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u040E\u00A6\u00AB\u00B0\u00B5\u0454\u0457\u0414\u0419\u041E\u0423\u0428\u042D\u0432\u0437"
     u"\u043C\u0441\u0446\u044BA\u0402\u0409\u201C"},
    {1252, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u00DD\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\u20AC\u0160\u201C"},
    {1253, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093",
     u"\u0385\u00A6\u00AB\u00B0\u00B5\u038A\u038F\u0394\u0399\u039E\u03A3\u03A8\u03AD\u03B2\u03B7"
     u"\u03BC\u03C1\u03C6\u03CBA\u20AC\u201C"},
    {1254, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u0130\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\u20AC\u0160\u201C"},
    {1255, "a1a6abb0b5babfc4c9ced3d8e2e7ecf1f6418093",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00F7\u00BF\u05B4\u05B9\u05BE\u05C3\u05F4\u05D2\u05D7\u05DC"
     u"\u05E1\u05E6A\u20AC\u201C"},
    {1256, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u060C\u00A6\u00AB\u00B0\u00B5\u061B\u061F\u0624\u0629\u062E\u0633\u0637\u0641\u00E2\u00E7"
     u"\u0649\u064C\u0650\u00FBA\u20AC\u0679\u201C"},
    {1257, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093",
     u"\u00A6\u00AB\u00B0\u00B5\u0157\u00E6\u00C4\u00C9\u012A\u00D3\u0172\u017B\u0101\u0113\u0123"
     u"\u0144\u00F6\u016BA\u20AC\u201C"},
    {1258, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb418093",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u01AF\u00E2\u00E7"
     u"\u0301\u00F1\u00F6\u00FBA\u20AC\u201C"},
    {1361, "d0658a82b4e120884184612099b120f7d3", u"\uD55C\uAD6D\uC5B4 \u3131\u314F \uB620 \u6F22"},
    {10000, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u00B4\u221E\u00B5\u222B\u00F8\u0192\u2026\u0152\u201D\u00FF\u203A\u201A\u00C1"
     u"\u00CF\u00D2\u02C6\u02DAA\u00C4\u00E4\u00EC"},
    {10001, "93fa967b8ceab1", u"\u65E5\u672C\u8A9E\uFF71"},
    {10002, "a4a4a4e5b4fab8d5", u"\u4E2D\u6587\u6E2C\u8A66"},
    {10003, "c7d1b1b9beee", u"\uD55C\uAD6D\uC5B4"},
    {10004, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"!&+\u0660\u0665:\u061F\u0624\u0629\u062E\u0633\u0638]\u0642\u0647\u064C\u0651\u06D5{"
     u"A\u00C4\u00E4\u2026"},
    {10005, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"!\u20AA+05:?\uF89D\u2026\u05B6\u201D\u05BF\u05B9\u05D2\u05D7\u05DC\u05E1\u05E6}"
     u"A\u00C4\u00E4\u00EC"},
    {10006, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0393\u03A0\u03AA\u0391\u0392\u039A\u03A9\u03A1\u2026\u0388\u201D\u038A\u03AF\u03B2\u03B3"
     u"\u03BB\u03CE\u03C9\u03CAA\u00C4\u00E4\u2122"},
    {10007, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u0402\u221E\u00B5\u0407\u045A\u0192\u2026\u045C\u201D\u040E\u0401\u0432\u0437"
     u"\u043C\u0441\u0446\u044BA\u0410\u041A\u0423"},
    {10008, "d6d0cec4b2e2cad4", u"\u4E2D\u6587\u6D4B\u8BD5"},
    {10010, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u00B4\u221E\u00B5\u222B\u0219\u0192\u2026\u0152\u201D\u00FF\u203A\u201A\u00C1"
     u"\u00CF\u00D2\u02C6\u02DAA\u00C4\u00E4\u00EC"},
    {10021, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb4180",
     u"\u0E01\u0E06\u0E0B\u0E10\u0E15\u0E1A\u0E1F\u0E24\u0E29\u0E2E\u0E33\u0E38\u2013\u0E42\u0E47"
     u"\u0E4C\u0E51\u0E56\u00A9A\u00AB"},
    {10029, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u0119\u012F\u0136\u013C\u0145\u0144\u2026\u0151\u201D\u014D\u203A\u201A\u00C1"
     u"\u017E\u016E\u0172\u017BA\u00C4\u00E4\u010F"},
    {10079, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u00B4\u221E\u00B5\u222B\u00F8\u0192\u2026\u0152\u201D\u00FF\u00F0\u201A\u00C1"
     u"\u00CF\u00D2\u02C6\u02DAA\u00C4\u00E4\u00EC"},
    {10081, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u00B4\u221E\u00B5\u222B\u00F8\u0192\u2026\u0152\u201D\u00FF\u0131\u201A\u00C1"
     u"\u00CF\u00D2\u02C6\u02DAA\u00C4\u00E4\u00EC"},
    {10082, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00B0\u00B6\u00B4\u221E\u00B5\u222B\u00F8\u0192\u2026\u0152\u201D\uF8FF\u203A\u201A\u00C1"
     u"\u00CF\u00D2\u02C6\u02DAA\u00C4\u00E4\u00EC"},
    {20002, "41", u"A"},
    {20106, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZ\u00DC`"
     u"cfilorux\u00E4\u00DF\u00A7\u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF"},
    {20107, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"\u00A4'*-0369<?BEHKNQTWZ\u00C5`cfilorux\u00E4\u203E@"
     u"\u00C4\u00D6\u00C5\u00E4\u00F6\u00E5\u203E"},
    {20108, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZ\u00C5`cfilorux\u00E6\u203E@\u00C6\u00D8\u00C5\u00E6\u00F8\u00E5\u203E"},
    {20127, "24272a2d303336393c3f4245484b4e5154575a5d606366696c6f7275787b7e405b5c5d7b7c7d7e",
     u"$'*-0369<?BEHKNQTWZ]`cfilorux{~@[\\]{|}~"},
    {20273, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00DFw\u00BF\u00A2@\u00AC\u00D7DI\u00F3LQ\u00F9SX\\16\u00DB\u00A0\u00D8\u00ABl"},
    {20277, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00FCw\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0@\u00ABl"},
    {20278, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00FCw\u00BF\u00A2[\u00AC\u00D7DI\u00F3LQ\u00F9SX@16\u00DB\u00A0\u00D8\u00ABl"},
    {20280, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00ECw\u00BF\u00A2@\u00AC\u00D7DI\u00F3LQ`SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {20284, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A8w\u00BF\u00A2\u00A7^\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {20285, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"w\u00BF\u00A2\u00A7^\u00D7DI\u00F3LQ\u00F9SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {20290, "a1c4c9d3d8e2e7f1f6", u"\u203EDILQSX16"},
    {20297, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A8w\u00BF\u00A2]\u00AC\u00D7DI\u00F3LQ\u00A6SX\u00D616\u00DB\u00A0\u00D8\u00ABl"},
    {20420, "a1a6abb0b5babfc4c9d3d8dde2e7f1f6fb41808a93",
     u"\u00F7w\u0641\uFEDB\uFEF8\uFEDF\u0647DILQ\uFEF2SX16\u0666\u00A0\u0634\uFEB7l"},
    {20423, "a1a6abb5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A8w\u03BE\u03AF\u03C3\u03C8DI\u00E4LQ\u00EBSX\u00F416\u00E7\u0391\u00C4\u03B1l"},
    {20424, "a1a6b0b5babfc4c9d3d8e2e7f1f6418a93", u"~w^\u00A7[\u00D7DILQSX16\u05D0\u00ABl"},
    {20833, "a1a6abb0bac4c9d3d8e2e7f1f6808a93", u"~w\uFFD3^\uFFDADILQSX16]\uFFC2l"},
    {20866, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u2551\u2555\u255A\u255F\u2563\u2568\u00A9\u0434\u0438\u043D\u0441\u044C\u0449\u0411\u0413"
     u"\u041B\u042F\u0416\u0428A\u2500\u253C\u2320"},
    {20871, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00F6w\u00BF\u00A2\u00A7\u00AC\u00D7DI\u00F3LQ\u00F9SX^16\u00DB\u00A0\u00D8\u00ABl"},
    {20880, "a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb808a93",
     u"w\u0441\u044C\u0449\u0411\u0413DI\u041BLQ\u042FSX\u041616\u0428\u0446\u0434l"},
    {20905, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb808a93",
     u"\u00F6w\u0108\u00B7\u00A7\u0124\u00D7DI\u00F3LQ\u00F9SX#16\u00DB\u02D8\u0127l"},
    {20936, "d6d0cec4b2e2cad4", u"\u4E2D\u6587\u6D4B\u8BD5"},
    {20949, "c7d1b1b9beee", u"\uD55C\uAD6D\uC5B4"},
    {21025, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"~w\u0441\u044C\u0449\u0411\u0413DI\u041BLQ\u042FSX\u041616\u0428\u00A0\u0446\u0434l"},
    {21866, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u2551\u0456\u255A\u255F\u2563\u2568\u00A9\u0434\u0438\u043D\u0441\u044C\u0449\u0411\u0413"
     u"\u041B\u042F\u0416\u0428A\u2500\u253C\u2320"},
    {28591, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u00DD\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\u20AC\u0160\u201C"},
    {28592, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0104\u015A\u0164\u00B0\u013E\u015F\u017C\u00C4\u00C9\u00CE\u00D3\u0158\u00DD\u00E2\u00E7"
     u"\u011B\u0144\u00F6\u0171A\200\212\223"},
    {28593, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0126\u0124\u011E\u00B0\u00B5\u015F\u017C\u00C4\u00C9\u00CE\u00D3\u011C\u016C\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\200\212\223"},
    {28594, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0104\u013B\u0122\u00B0\u0129\u0113\u014B\u00C4\u00C9\u00CE\u0136\u00D8\u0168\u00E2\u012F"
     u"\u0117\u0146\u00F6\u00FBA\200\212\223"},
    {28595, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u0401\u0406\u040B\u0410\u0415\u041A\u041F\u0424\u0429\u042E\u0433\u0438\u043D\u0442\u0447"
     u"\u044C\u0451\u0456\u045BA\200\212\223"},
    {28596, "bfc4c9ced3d8e2e7ecf141808a93",
     u"\u061F\u0624\u0629\u062E\u0633\u0638\u0642\u0647\u064C\u0651A\200\212\223"},
    {28597, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u2018\u00A6\u00AB\u00B0\u0385\u038A\u038F\u0394\u0399\u039E\u03A3\u03A8\u03AD\u03B2\u03B7"
     u"\u03BC\u03C1\u03C6\u03CBA\200\212\223"},
    {28598, "a6abb0b5bae2e7ecf1f641808a93",
     u"\u00A6\u00AB\u00B0\u00B5\u00F7\u05D2\u05D7\u05DC\u05E1\u05E6A\200\212\223"},
    {28599, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A1\u00A6\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u0130\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\200\212\223"},
    {28603, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u201D\u00A6\u00AB\u00B0\u00B5\u0157\u00E6\u00C4\u00C9\u012A\u00D3\u0172\u017B\u0101\u0113"
     u"\u0123\u0144\u00F6\u016BA\200\212\223"},
    {28605, "a1a6abb0b5babfc4c9ced3d8dde2e7ecf1f6fb41808a93",
     u"\u00A1\u0160\u00AB\u00B0\u00B5\u00BA\u00BF\u00C4\u00C9\u00CE\u00D3\u00D8\u00DD\u00E2\u00E7"
     u"\u00EC\u00F1\u00F6\u00FBA\200\212\223"},
    {38598, "a6abb0b5bae2e7ecf1f641808a93",
     u"\u00A6\u00AB\u00B0\u00B5\u00F7\u05D2\u05D7\u05DC\u05E1\u05E6A\200\212\223"},
    {50220, "1b2442467c4b5c386c1b2842616263", u"\u65E5\u672C\u8A9Eabc"},
    {50221, "1b2442467c4b5c386c1b284936451b2842", u"\u65E5\u672C\u8A9E\uFF76\uFF85"},
    {50222, "1b2442467c4b5c436639711b242843475131391b2428442b311b2842",
     u"\u65E5\u672C\u4E2D\u56FD\uD55C\uAD6D\u00E9"},
    {50225, "1b2429430e475131393e6e0f616263", u"\uD55C\uAD6D\uC5B4abc"},
    {51932, "c6fccbdcb8ec8eb18fb0a1", u"\u65E5\u672C\u8A9E\uFF71\u4E02"},
    {51936, "d6d0cec4b2e2cad4", u"\u4E2D\u6587\u6D4B\u8BD5"},
    {51949, "c7d1b1b9beee", u"\uD55C\uAD6D\uC5B4"},
    {52936, "7e7b56504e447e7d616263", u"\u4E2D\u6587abc"},
    {54936, "d6d0cec4b2e2cad49439fc36a8a6a2e3", u"\u4E2D\u6587\u6D4B\u8BD5\U0001F600\u00E9\u20AC"},
    {65000, "4869202b5a65566e4c49716541483759506434412d", u"Hi \u65E5\u672C\u8A9E~\U0001F600"},
    {65001, "61c3a9e697a5f09f9880", u"a\u00E9\u65E5\U0001F600"},
    {65005, "61000000e9000000e565000000f60100", u"a\u00E9\u65E5\U0001F600"},
    {65006, "00000061000000e9000065e50001f600", u"a\u00E9\u65E5\U0001F600"},
    // From converters or charts that are not at hand as a whole.
    {10017, "a2b6", u"\u0490\u0491"},
    {20000, "c4e3c5c641a121", u"\u4E2D\u6587A\u4E42"},
    {20105, "237e2441", u"#\u203E\u00A4A"},
    {20261, "c265c875a441cfe3", u"\u00E9\u00FC$A\uFFFD\u00AA"},
    {20269, "c265c875a4cb63c220ff", u"\u00E9\u00FC$\u00E7\u00B4\u00AD"},
    {20838, "c1818cd9", u"Aa\u0E1FR"},
    {20924, "9fc1b7b8", u"\u20ACA\u0152\u0153"},
    {50227, "1b2429410e56504e440f6162630f", u"\u4E2D\u6587abc"},
    {57002, "41a4b3da", u"A\u0905\u0915\u093E"},
    {57003, "41a4b3da", u"A\u0985\u0995\u09BE"},
    {57004, "41a4b3da", u"A\u0B85\u0B95\u0BBE"},
    {57005, "41a4b3da", u"A\u0C05\u0C15\u0C3E"},
    {57006, "41a4b3da", u"A\u0985\u0995\u09BE"},
    {57007, "41a4b3da", u"A\u0B05\u0B15\u0B3E"},
    {57008, "41a4b3da", u"A\u0C85\u0C95\u0CBE"},
    {57009, "41a4b3da", u"A\u0D05\u0D15\u0D3E"},
    {57010, "41a4b3da", u"A\u0A85\u0A95\u0ABE"},
    {57011, "41a4b3da", u"A\u0A05\u0A15\u0A3E"},
    {20001, "4162a4a3", u"Ab\uFFFD"},
    {20003, "4162a4a3", u"Ab\uFFFD"},
    {20004, "4162a4a3", u"Ab\uFFFD"},
    {20005, "4162a4a3", u"Ab\uFFFD"},
    {29001, "41e6f8e5", u"A\u00E6\u00F8\u00E5"},
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
