#include "platform/code_pages/posix/single_byte.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/code_pages/posix/icu_converter.h"
#include "platform/code_pages/posix/single_byte_tables.h"
#include "platform/simd/ascii.h"

namespace parvane::platform {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr std::size_t kChunk = 4096;

// Where a page's characters come from: ICU's converter `icu`, or `table`, of 128 characters above
// ASCII or of all 256; then `changes` apply, pairs of a byte and its character.
struct Source {
  unsigned codePage;
  const char* icu;
  std::u16string_view table;
  std::u16string_view changes;
};

constexpr const char* kAscii = "US-ASCII";

constexpr std::u16string_view High(const char16_t (&table)[129]) { return {table, 128}; }
constexpr std::u16string_view Whole(const char16_t (&table)[257]) { return {table, 256}; }

// Where Windows' tables and IBM's differ, `changes` follow Windows.
constexpr Source kSources[] = {
    {37, "ibm-37", {}, {}},
    {437, "ibm-437", {}, u"\u00E6\u00B5"},
    {500, "ibm-500", {}, {}},
    {708, nullptr, High(kAsmo708), {}},
    {720, "ibm-720", {}, u"\200\200\201\201\204\204\206\206\215\215\216\216\217\217\220\220"},
    {737, "ibm-737", {}, {}},
    {775, "ibm-775", {}, {}},
    {850, "ibm-850", {}, {}},
    {852, "ibm-852", {}, u"\u00AA\u00AC"},
    {855, "ibm-855", {}, {}},
    {857, "ibm-857", {}, {}},
    {858, "ibm-858", {}, {}},
    {860, "ibm-860", {}, u"\u00E6\u00B5"},
    {861, "ibm-861", {}, u"\u00E6\u00B5"},
    {862, "ibm-862", {}, u"\u00E6\u00B5"},
    {863, "ibm-863", {}, u"\u00E6\u00B5"},
    {864, "ibm-864", {}, u"\233\233\234\234\237\237\u00D7\uFEC1\u00D8\uFEC5\u00F1\u0651"},
    {865, "ibm-865", {}, u"\u00E6\u00B5"},
    {866, "ibm-866", {}, {}},
    {869,
     "ibm-869",
     {},
     u"\200\200\201\201\202\202\203\203\204\204\205\205\207\207\210\u00B7\223\223\224\224"
     u"\u00EF\u0384"},
    {870, "ibm-870", {}, {}},
    {874, "windows-874-2000", {}, {}},
    {875, "ibm-875", {}, {}},
    {1026, "ibm-1026", {}, u"\232\u00AA"},
    {1047, "ibm-1047", {}, {}},
    {1140, "ibm-1140", {}, {}},
    {1141, "ibm-1141", {}, {}},
    {1142, "ibm-1142", {}, {}},
    {1143, "ibm-1143", {}, {}},
    {1144, "ibm-1144", {}, {}},
    {1145, "ibm-1145", {}, {}},
    {1146, "ibm-1146", {}, {}},
    {1147, "ibm-1147", {}, {}},
    {1148, "ibm-1148", {}, {}},
    {1149, "ibm-1149", {}, {}},
    {1250, "ibm-5346", {}, {}},
    {1251, "ibm-5347", {}, {}},
    {1252, "ibm-5348", {}, {}},
    {1253, "ibm-5349", {}, {}},
    {1254, "ibm-5350", {}, {}},
    {1255, "ibm-9447", {}, u"\u00CA\u05BA"},
    {1256, "ibm-9448", {}, {}},
    {1257, "ibm-9449", {}, {}},
    {1258, "ibm-5354", {}, {}},
    {10000, "macintosh", {}, {}},
    {10004, nullptr, High(kMacArabic), {}},
    {10005, nullptr, High(kMacHebrew), {}},
    {10006, "x-mac-greek", {}, {}},
    {10007, "x-mac-cyrillic", {}, {}},
    {10010, nullptr, High(kMacRomanian), {}},
    // Apple made the Ukrainian set part of the Cyrillic one.
    {10017, "x-mac-cyrillic", {}, {}},
    {10021, nullptr, High(kMacThai), {}},
    {10029, "x-mac-ce", {}, {}},
    {10079, nullptr, High(kMacIcelandic), {}},
    {10081, "x-mac-turkish", {}, {}},
    {10082, nullptr, High(kMacCroatian), {}},
    // ISO 646: the reference version of 1983, then the German, Swedish and Norwegian ones.
    {20105, kAscii, {}, u"$\u00A4~\u203E"},
    {20106, kAscii, {}, u"@\u00A7[\u00C4\\\u00D6]\u00DC{\u00E4|\u00F6}\u00FC~\u00DF"},
    {20107, kAscii, {}, u"$\u00A4[\u00C4\\\u00D6]\u00C5{\u00E4|\u00F6}\u00E5~\u203E"},
    {20108, kAscii, {}, u"[\u00C6\\\u00D8]\u00C5{\u00E6|\u00F8}\u00E5~\u203E"},
    {20127, kAscii, {}, {}},
    {20273, "ibm-273", {}, {}},
    {20277, "ibm-277", {}, {}},
    {20278, "ibm-278", {}, {}},
    {20280, "ibm-280", {}, {}},
    {20284, "ibm-284", {}, {}},
    {20285, "ibm-285", {}, {}},
    {20290, "ibm-290", {}, {}},
    {20297, "ibm-297", {}, {}},
    {20420, "ibm-420", {}, {}},
    {20423, nullptr, Whole(kEbcdicGreek), {}},
    {20424, "ibm-424", {}, {}},
    // The single bytes of the mixed Korean set are the extended Korean one.
    {20833, "ibm-933", {}, {}},
    {20838, "ibm-838", {}, {}},
    {20866, "koi8-r", {}, {}},
    {20871, "ibm-871", {}, {}},
    {20880, nullptr, Whole(kEbcdicCyrillic), {}},
    {20905, nullptr, Whole(kEbcdicTurkish), {}},
    // 1047 with the eight characters by which Latin 9 differs from Latin 1.
    {20924, "ibm-1047", {}, {}},
    {21025, "ibm-1025", {}, {}},
    // With the two letters of Belarusian that Windows added.
    {21866, "koi8-u", {}, u"\u00AE\u045E\u00BE\u040E"},
    // What says ISO 8859-1 is Windows-1252 in mail.
    {28591, "ibm-5348", {}, {}},
    {28592, "ibm-912", {}, {}},
    {28593, "ibm-913", {}, {}},
    {28594, "ibm-914", {}, {}},
    {28595, "ibm-915", {}, {}},
    {28596, "ibm-1089", {}, {}},
    // Windows has the quotation marks of 1987; what the edition of 2003 added (the euro sign) is
    // kept.
    {28597, "ibm-9005", {}, u"\u00A1\u02BD\u00A2\u02BC"},
    {28598, "ibm-5012", {}, u"\u00AF\u203E"},
    {28599, "ibm-920", {}, {}},
    {28600, "iso-8859-10", {}, {}},
    {28603, "ibm-921", {}, {}},
    {28604, "iso-8859-14", {}, {}},
    {28605, "ibm-923", {}, {}},
    {28606,
     "ibm-923",
     {},
     u"\u00A1\u0104\u00A2\u0105\u00A3\u0141\u00A5\u201E\u00AA\u0218\u00AC"
     u"\u0179\u00AE\u017A\u00AF\u017B\u00B2\u010C\u00B3\u0142\u00B5\u201D"
     u"\u00B9\u010D\u00BA\u0219\u00BF\u017C\u00C3\u0102\u00C5\u0106\u00D0"
     u"\u0110\u00D1\u0143\u00D5\u0150\u00D7\u015A\u00D8\u0170\u00DD\u0118"
     u"\u00DE\u021A\u00E3\u0103\u00E5\u0107\u00F0\u0111\u00F1\u0144\u00F5"
     u"\u0151\u00F7\u015B\u00F8\u0171\u00FD\u0119\u00FE\u021B"},
    // No table of this set was ever published; it is Latin, so it is read as such.
    {29001, "ibm-5348", {}, {}},
    {38598, "ibm-5012", {}, u"\u00AF\u203E"},
};

static_assert(std::is_sorted(std::begin(kSources), std::end(kSources),
                             [](const Source& a, const Source& b) {
                               return a.codePage < b.codePage;
                             }));

const Source* Find(unsigned codePage) {
  const auto* at = std::lower_bound(
      std::begin(kSources), std::end(kSources), codePage,
      [](const Source& source, unsigned wanted) { return source.codePage < wanted; });
  return at != std::end(kSources) && at->codePage == codePage ? at : nullptr;
}

struct Table {
  std::array<char16_t, 256> decode;
  bool ascii;                                     // the lower half is
  std::vector<std::pair<char16_t, char>> encode;  // sorted
};

std::unique_ptr<const Table> Build(const Source& source) {
  auto table = std::make_unique<Table>();
  for (std::size_t byte = 0; byte < 256; ++byte) {
    char16_t& character = table->decode[byte];
    if (source.icu != nullptr) {
      const char c = static_cast<char>(byte);
      std::u16string one;
      IcuDecode(source.icu, {&c, 1}, one);
      // A shift, which gives no character, stands for its control.
      character =
          one.empty() ? static_cast<char16_t>(byte) : (one.size() == 1 ? one[0] : kReplacement);
    } else if (source.table.size() == 256) {
      character = source.table[byte];
    } else {
      character = byte < 128 ? static_cast<char16_t>(byte) : source.table[byte - 128];
    }
  }
  // IBM's PC pages move three control characters about; no text means that.
  if (table->decode['A'] == u'A') {
    for (const std::size_t control : {0x1A, 0x1C, 0x7F}) {
      table->decode[control] = static_cast<char16_t>(control);
    }
  }
  if (source.codePage == 20924) {
    // By character, not by byte: the code of 1047 for the one is that of 924 for the other.
    constexpr std::u16string_view kLatin9 =
        u"\u00A4\u20AC\u00A6\u0160\u00A8\u0161\u00B4\u017D"
        u"\u00B8\u017E\u00BC\u0152\u00BD\u0153\u00BE\u0178";
    for (char16_t& character : table->decode) {
      for (std::size_t i = 0; i < kLatin9.size(); i += 2) {
        if (character == kLatin9[i]) {
          character = kLatin9[i + 1];
          break;
        }
      }
    }
  } else {
    for (std::size_t i = 0; i + 1 < source.changes.size(); i += 2) {
      table->decode[source.changes[i] & 0xFF] = source.changes[i + 1];
    }
  }
  table->ascii = true;
  for (std::size_t byte = 0; byte < 128; ++byte) {
    table->ascii = table->ascii && table->decode[byte] == byte;
  }
  for (std::size_t byte = 0; byte < 256; ++byte) {
    if (table->decode[byte] != kReplacement) {
      table->encode.emplace_back(table->decode[byte], static_cast<char>(byte));
    }
  }
  // The lowest byte first, where two stand for one character.
  std::stable_sort(table->encode.begin(), table->encode.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  return table;
}

// Built when first asked for; kept for the life of the process.
const Table& TableOf(unsigned codePage) {
  static std::array<std::once_flag, std::size(kSources)> built;
  static std::array<std::unique_ptr<const Table>, std::size(kSources)> tables;
  const Source* source = Find(codePage);
  const auto index = static_cast<std::size_t>(source - kSources);
  std::call_once(built[index], [&] { tables[index] = Build(*source); });
  return *tables[index];
}

}  // namespace

bool IsSingleBytePage(unsigned codePage) { return Find(codePage) != nullptr; }

std::size_t SingleByteDecode(unsigned codePage, std::string_view bytes, std::u16string& out) {
  const Table& table = TableOf(codePage);
  std::size_t invalid = 0;
  char16_t chunk[kChunk];
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), kChunk);
    std::size_t i = 0;
    while (i < count) {
      if (table.ascii) i += simd::WidenAsciiPrefix(bytes.data() + i, count - i, chunk + i);
      // Then a few by the table, for where one character beyond ASCII stands there are more.
      for (const std::size_t end = std::min(count, i + 16); i < end; ++i) {
        chunk[i] = table.decode[static_cast<unsigned char>(bytes[i])];
        invalid += chunk[i] == kReplacement ? 1 : 0;
      }
    }
    out.append(chunk, count);
    bytes.remove_prefix(count);
  }
  return invalid;
}

std::size_t SingleByteEncode(unsigned codePage, std::u16string_view text, std::string& out) {
  const auto& encode = TableOf(codePage).encode;
  const auto find = [&encode](char16_t unit) {
    const auto at =
        std::lower_bound(encode.begin(), encode.end(), unit,
                         [](const auto& entry, char16_t wanted) { return entry.first < wanted; });
    return at != encode.end() && at->first == unit ? &at->second : nullptr;
  };
  const char* const mark = find(u'?');
  std::size_t replaced = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (const char* byte = find(text[i])) {
      out += *byte;
      continue;
    }
    // A pair of surrogates is one character.
    if ((text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
      ++i;
    }
    out += mark != nullptr ? *mark : '?';
    ++replaced;
  }
  return replaced;
}

}  // namespace parvane::platform
