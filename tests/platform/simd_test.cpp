// Every path that this machine can run, at all lengths around the steps that it takes.
#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/cpu.h"
#include "platform/simd/ascii.h"
#include "platform/simd/base64.h"
#include "platform/simd/crc32.h"
#include "platform/simd/lines.h"
#include "platform/simd/scan.h"
#include "platform/simd/search.h"
#include "platform/simd/substitute.h"

namespace parvane::platform::simd {
namespace {

std::vector<std::byte> RandomBytes(std::size_t size) {
  std::mt19937 chance(20);
  std::vector<std::byte> bytes(size);
  for (std::byte& b : bytes) b = static_cast<std::byte>(chance());
  return bytes;
}

// The definition, bit by bit.
std::uint32_t CrcByBits(std::span<const std::byte> bytes, std::uint32_t crc) {
  for (const std::byte b : bytes) {
    crc ^= std::to_integer<std::uint32_t>(b);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
  }
  return crc;
}

// The parameter: the first feature that is hidden.
class SimdTest : public testing::TestWithParam<std::optional<CpuFeature>> {
 protected:
  void SetUp() override { HideCpuFeatures(GetParam()); }
  void TearDown() override { HideCpuFeatures(std::nullopt); }
};

TEST_P(SimdTest, RunsWithoutWhatIsHidden) {
  const CpuFeature order[] = {CpuFeature::kNeon,   CpuFeature::kArmCrc32, CpuFeature::kSsse3,
                              CpuFeature::kSse41,  CpuFeature::kPclmul,   CpuFeature::kAvx2,
                              CpuFeature::kAvx512, CpuFeature::kVpclmul,  CpuFeature::kVbmi2};
  for (const CpuFeature feature : order) {
    const bool hidden = GetParam() && feature >= *GetParam();
    EXPECT_FALSE(hidden && CpuHas(feature));
    const bool arm = feature <= CpuFeature::kArmCrc32;
    EXPECT_TRUE(CpuHas(arm ? CpuFeature::kNeon : CpuFeature::kSsse3) || !CpuHas(feature))
        << "it comes with all of them";
  }
}

TEST_P(SimdTest, CrcIsThatOfItsDefinition) {
  const auto bytes = RandomBytes(8192 + 64);
  for (std::size_t size = 0; size <= 8192; size += size < 700 ? 1 : 61) {
    const auto part = std::span(bytes).subspan(size % 64, size);
    EXPECT_EQ(Crc32(part.data(), size, 0), CrcByBits(part, 0)) << size;
    EXPECT_EQ(Crc32(part.data(), size, 0x9E3779B9), CrcByBits(part, 0x9E3779B9)) << size;
  }
}

// What DecodeBase64Groups promises, group by group. Returns how much of `in` was taken.
std::size_t DecodeByGroups(std::string_view in, std::string& out) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::size_t at = 0;
  while (at + 4 <= in.size()) {
    std::size_t bits = 0;
    std::size_t i = 0;
    for (std::size_t value = 0; i < 4; ++i) {
      value = kAlphabet.find(in[at + i]);
      if (value == kAlphabet.npos) break;
      bits = bits << 6 | value;
    }
    const std::size_t lineEnd = in[at] == '\n' ? 1 : in.substr(at, 2) == "\r\n" ? 2 : 0;
    if (i < 4 && lineEnd == 0) break;
    at += i < 4 ? lineEnd : 4;
    for (int shift = 16; i == 4 && shift >= 0; shift -= 8) out += static_cast<char>(bits >> shift);
  }
  return at;
}

TEST_P(SimdTest, Base64StopsAtWhatIsNoneOfIt) {
  std::mt19937 chance(23);
  unsigned char turn = 0;
  const auto letter = [&] { return "AZaz09+/Qq7k"[chance() % 12]; };
  for (const std::string_view lineEnd : {"", "\n", "\r\n"}) {
    std::string text;
    for (int i = 1; i <= 400; ++i) {
      text += letter();
      if (i % 76 == 0) text += lineEnd;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
      std::string in = text;
      // Every byte that is no letter has its turn, the usual ones more often.
      in[at] = at % 2 == 0 ? "=\n\r- \0._"[chance() % 8] : static_cast<char>(turn++);
      for (const std::size_t size : {in.size(), at + 1 + chance() % 70}) {
        const std::string_view part = std::string_view(in).substr(0, size);
        std::string expected;
        const std::size_t taken = DecodeByGroups(part, expected);
        std::vector<char> out(part.size() / 4 * 3 + kBase64Slack);
        const Base64Progress done = DecodeBase64Groups(part.data(), part.size(), out.data());
        EXPECT_EQ(done.taken, taken) << part << at;
        EXPECT_EQ(std::string_view(out.data(), done.made), expected) << at;
      }
    }
  }
}

TEST_P(SimdTest, EveryByteIsReplaced) {
  std::array<std::uint8_t, 256> entries;
  std::iota(entries.begin(), entries.end(), std::uint8_t{0});
  std::shuffle(entries.begin(), entries.end(), std::mt19937(21));
  const ByteTable table(entries);
  std::vector<std::byte> bytes(1024);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::byte>(i * 7);
  for (std::size_t size = 0; size <= 300; ++size) {
    std::vector<std::byte> found(size + 1, std::byte{0xEE});
    table.Apply(bytes.data() + size, size, found.data());
    for (std::size_t i = 0; i < size; ++i) {
      ASSERT_EQ(std::to_integer<int>(found[i]),
                entries[std::to_integer<std::size_t>(bytes[size + i])]);
    }
    EXPECT_EQ(found[size], std::byte{0xEE}) << "written beyond " << size;
  }
  table.Apply(bytes.data(), bytes.size(), bytes.data());
  EXPECT_EQ(std::to_integer<int>(bytes[3]), entries[21]) << "in place";

  // Text at two bytes a character, with one byte that is none, at any place or beyond the end.
  for (std::size_t at = 0; at <= 130; ++at) {
    std::vector<std::byte> text(130);
    for (std::size_t i = 0; i < text.size(); i += 2) text[i] = static_cast<std::byte>(i / 2 + 60);
    if (at < text.size()) text[at] = static_cast<std::byte>(0x80 + at);
    std::vector<std::byte> found = text;
    table.Apply(found.data(), found.size(), found.data());
    for (std::size_t i = 0; i < text.size(); ++i) {
      ASSERT_EQ(std::to_integer<int>(found[i]), entries[std::to_integer<std::size_t>(text[i])]);
    }
  }
}

TEST_P(SimdTest, TheFirstSurrogateIsFoundAtAnyPlace) {
  constexpr std::size_t kUnits = 170;
  for (const char16_t unit : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
    for (std::size_t at = 0; at < kUnits; ++at) {
      std::vector<std::byte> text(1 + 2 * kUnits, std::byte{0xD7});  // U+D7D7
      text[1 + 2 * at] = static_cast<std::byte>(unit);
      text[2 + 2 * at] = static_cast<std::byte>(unit >> 8);
      EXPECT_EQ(SurrogateFreePrefix(text.data() + 1, kUnits), at);
      EXPECT_EQ(SurrogateFreePrefix(text.data() + 1, at), at);
    }
  }
}

TEST_P(SimdTest, AsciiIsWidenedAndNarrowedUpToTheFirstOther) {
  std::string text(170, 'a');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i % 127 + 1);
  for (std::size_t at = 0; at <= text.size(); ++at) {
    std::string other = text;
    if (at < text.size()) other[at] = '\x80';
    std::vector<char16_t> out(text.size());
    ASSERT_EQ(WidenAsciiPrefix(other.data(), other.size(), out.data()), at);
    const std::string prefix = text.substr(0, at);
    ASSERT_TRUE(std::equal(prefix.begin(), prefix.end(), out.begin()));
    ASSERT_EQ(AsciiPrefix(other.data(), other.size()), at);

    // And back, up to a unit whose lower byte is ASCII.
    std::copy(text.begin(), text.end(), out.begin());
    if (at < text.size()) out[at] = u'\x141';
    ASSERT_EQ(NarrowAsciiPrefix(out.data(), out.size(), other.data()), at);
    ASSERT_EQ(other.substr(0, at), prefix);
  }
}

// What CopyMailLines promises, one byte at a time. Returns how much of `in` was taken.
std::size_t CopyLinesByBytes(std::string_view in, std::string& out) {
  std::size_t line = 0;
  while (line < in.size()) {
    const std::string_view rest = in.substr(line);
    const std::size_t text = std::min(rest.find_first_not_of('>'), rest.size());
    const bool mayQuote = rest[0] == '>' || rest[0] == 'F';
    if (mayQuote && (rest.size() - text < 5 || rest.substr(text, 5) == "From ")) break;
    const std::size_t end = rest.find_first_of("\r\n");
    if (end == rest.npos || (rest[end] == '\r' && end + 1 == rest.size())) break;
    out.append(rest.substr(0, end)).append("\r\n");
    line += end + (rest.substr(end, 2) == "\r\n" ? 2 : 1);
  }
  return line;
}

TEST_P(SimdTest, LinesAreCopiedUpToOneThatNeedsALook) {
  std::mt19937 chance(22);
  constexpr std::string_view kEnds[] = {"\n", "\r\n", "\r", "\n", "\n\r"};
  constexpr std::string_view kStarts[] = {"",     "F",        "Fro",       ">", ">>x",
                                          "From", ">>>>From", "Fro\nFrom", "",  ""};
  for (int round = 0; round < 3000; ++round) {
    std::string in;
    for (unsigned lines = chance() % 6; lines > 0; --lines) {
      in.append(kStarts[chance() % std::size(kStarts)]).append(chance() % 90, 'x');
      in.append(kEnds[chance() % std::size(kEnds)]);
    }
    if (chance() % 4 == 0) in.append(chance() % 2 ? ">From a" : "From a");
    if (chance() % 4 == 0) in.append(chance() % 40, 'y');
    std::string expected;
    const std::size_t taken = CopyLinesByBytes(in, expected);
    std::string out(MailLinesRoom(in.size()), '\0');
    const MailLines done = CopyMailLines(in.data(), in.size(), out.data());
    EXPECT_EQ(done.taken, taken) << in;
    EXPECT_EQ(out.substr(0, done.made), expected) << in;
    EXPECT_EQ(done.any, taken > 0);
    const bool empty = expected == "\r\n" || expected.ends_with("\r\n\r\n");
    EXPECT_EQ(done.lastWasEmpty, empty) << in;
  }
}

TEST_P(SimdTest, BytesAreFoundAtAnyPlace) {
  const std::string blank(300, 'a');
  for (std::size_t size = 0; size < 140; ++size) {
    for (std::size_t at = 0; at <= size; ++at) {
      std::string text = blank.substr(0, size + 8);
      if (at < size) {
        text[at] = '-';
        text[at + 5] = '!';
      }
      EXPECT_EQ(FindPair(text.data(), 0, size, 5, '-', '!'), at);
      EXPECT_EQ(FindPair(text.data(), 0, size, 6, '-', '!'), size);
      for (const char mark : {'=', '\r', '\n', ':', ' ', '\x7F', '\x01', '?', '~', '\x80'}) {
        text[at] = mark;
        const bool lineEnd = mark == '\r' || mark == '\n';
        EXPECT_EQ(FindLineEnd(text.data(), size), lineEnd ? at : size);
        const bool quoted = lineEnd || mark == '=';
        EXPECT_EQ(FindQuotedPrintableMark(text.data(), size), quoted ? at : size);
        const bool named = mark == '=' || mark == '?' || mark == '~' || mark == '\x80';
        EXPECT_EQ(FindHeaderNameEnd(text.data(), size), named ? size : at);
        const bool plain = mark == '=' || mark == ':' || mark == ' ' || mark == '~';
        EXPECT_EQ(FindNotPlain(text.data(), size), plain ? size : at);
        const bool low = lineEnd || mark == ' ' || mark == '\x01';
        EXPECT_EQ(FindBlank(text.data(), size), low ? at : size);
      }
    }
  }
}

TEST_P(SimdTest, LineFeedsAreFoundInTurn) {
  std::mt19937 chance(24);
  for (std::size_t size = 0; size < 200; ++size) {
    std::string text(size + 4, ' ');
    for (char& c : text) c = "\n\nm\r\x8A"[chance() % 5];
    LineFeeds lineFeeds(text.data(), size);
    for (std::size_t at = 0; at < size; ++at) {
      if (text[at] == '\n') {
        EXPECT_EQ(lineFeeds.Next(), at);
      }
    }
    EXPECT_EQ(lineFeeds.Next(), size);
    EXPECT_EQ(lineFeeds.Next(), size);
  }
}

constexpr const char* kPathNames[] = {"All", "Avx2", "Narrow", "Plain"};

INSTANTIATE_TEST_SUITE_P(Paths, SimdTest,
                         testing::Values(std::nullopt, CpuFeature::kAvx512, CpuFeature::kAvx2,
                                         CpuFeature::kNeon),
                         [](const auto& param) { return kPathNames[param.index]; });

}  // namespace
}  // namespace parvane::platform::simd
