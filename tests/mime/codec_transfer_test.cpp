#include <random>

#include <gtest/gtest.h>

#include "mime/transfer_encoding.h"
#include "platform/cpu.h"
#include "tests/support/transfer_encoders.h"

namespace Tessary {

using parvane::test::EncodeBase64;
using parvane::test::EncodeQuotedPrintable;
using parvane::test::InPieces;

namespace {

struct Case {
  const char* name;
  std::string input;
  std::string output;
};

template <typename Decoder>
void Check(const Case& c) {
  for (const std::size_t size : {1, 2, 3, 5, 17, 1000}) {
    EXPECT_EQ(InPieces<Decoder>(c.input, size), c.output) << c.name << ", pieces of " << size;
  }
}

TEST(Base64, AcceptsWhatIsOutThere) {
  const Case kCases[] = {
      {"one line", "SGVsbG8=", "Hello"},
      {"no padding", "SGVsbG8", "Hello"},
      {"two left", "SA", "H"},
      {"a single character holds no byte", "SGVsb", "Hel"},
      {"line ends anywhere", "S\r\nGV\nsbG\r8=\r\n", "Hello"},
      {"noise",
       "S G-V*s\x80"
       "bG8=",
       "Hello"},
      {"runs one after the other", "SGVsbG8=SGVsbG8=", "HelloHello"},
      {"too much padding", "SGVsbG8===\r\nSA==", "HelloH"},
      {"a list's footer", "SGVsbG8=\r\n____________\r\nmailing list\r\nlist\r\nSGVsbG8=\r\n",
       "Hello"},
      {"a footer of one word", "SGVsbG8=\n\nfootnote.\n", "Hello"},
      {"a footer drawn of one character", "SGVsbG8=\n++++++++\n", "Hello"},
      {"a remark behind padding", "SGVsbG8= SGVs bG8=\n", "Hello"},
      {"a further run in lines", "SGVsbG8=\r\n\r\nSGVs \r\nbG8\r\n", "HelloHello"},
      {"zeros in a further run", "SA==\nAAAAAAAA\n", std::string("H\0\0\0\0\0\0", 7)},
      {"a further run without a line end", "SA==" + std::string(400, 'A') + "-",
       "H" + std::string(300, '\0')},
      {"a soft line break", "SGVs=\r\nbG8-=\r\n", "Hello"},
      {"empty", "", ""},
      {"no base64 at all", "\xE6\xF8\xE5 -- ..", ""},
      {"zero bits of the padding are not checked", "SB==", "H"},
  };
  for (const Case& c : kCases) Check<Base64Decoder>(c);
}

class Base64Path : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { parvane::platform::ForcePlainPaths(GetParam()); }
  void TearDown() override { parvane::platform::ForcePlainPaths(false); }
};

TEST_P(Base64Path, RoundTripsEveryLengthAndLayout) {
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 700; length += length < 120 ? 1 : 37) {
    std::string bytes(length, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    for (const std::size_t line : {0, 4, 60, 64, 76, 77, 998}) {
      const std::string encoded = EncodeBase64(bytes, line);
      ASSERT_EQ(DecodeBase64(encoded), bytes) << length << " in lines of " << line;
      ASSERT_EQ(InPieces<Base64Decoder>(encoded, 33), bytes);
    }
    for (const std::size_t piece : {1, 7, 700}) {
      Base64Encoder encoder;
      std::string made(Base64Encoder::RoomFor(length) + 700, '\0');
      std::size_t size = 0;
      for (std::size_t at = 0; at < length; at += piece)
        size += encoder.Encode(std::string_view(bytes).substr(at, piece), made.data() + size);
      size += encoder.Finish(made.data() + size);
      ASSERT_EQ(made.substr(0, size) + (length > 0 ? "\r\n" : ""), EncodeBase64(bytes, 76));
    }
  }
  const std::string big(100'000, 'x');
  EXPECT_EQ(DecodeBase64(EncodeBase64(big)), big);
}

INSTANTIATE_TEST_SUITE_P(FastAndPlain, Base64Path, testing::Bool());

TEST(QuotedPrintable, AcceptsWhatIsOutThere) {
  const Case kCases[] = {
      {"escapes of either case", "a=3D=3d=c3=A6", "a==\xC3\xA6"},
      {"soft line breaks", "a=\r\nb=\nc= \t\r\nd=\re", "abcde"},
      {"soft line break at the end", "a=", "a"},
      {"soft line break with blanks at the end", "a= \t", "a"},
      {"line ends stay", "a\r\nb\nc\rd", "a\r\nb\nc\rd"},
      {"blanks before a line end go", "a \t\r\nb \n  c  ", "a\r\nb\n  c"},
      {"blanks elsewhere stay", " a  b\tc=20\r\n", " a  b\tc \r\n"},
      {"= without hexadecimal digits", "1=2, =zz =4 =4z = x", "1=2, =zz =4 =4z = x"},
      {"= before =", "==3D=", "=="},
      {"digit cut off at the end", "a=4", "a=4"},
      {"raw 8-bit bytes", "bl\xE5", "bl\xE5"},
      {"empty", "", ""},
  };
  for (const Case& c : kCases) Check<QuotedPrintableDecoder>(c);
}

TEST(QuotedPrintable, RoundTripsInLinesOf76) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    std::string bytes;
    for (std::size_t i = random() % 400; i > 0; --i) {
      static constexpr std::string_view kLikely = "  \t=ab\xC3";
      bytes += random() % 4 == 0 ? static_cast<char>(random()) : kLikely[random() % kLikely.size()];
      if (random() % 40 == 0) bytes += "\r\n";
    }
    // A bare LF is a line end too, and comes back as CR LF.
    std::string expected;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      if (bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r')) expected += '\r';
      expected += bytes[i];
    }
    const std::string encoded = EncodeQuotedPrintable(bytes);
    ASSERT_EQ(DecodeQuotedPrintable(encoded), expected);
    for (std::size_t at = 0, end; at < encoded.size(); at = end + 2) {
      end = std::min(encoded.find("\r\n", at), encoded.size());
      ASSERT_LE(end - at, 76U) << encoded;
      if (end > at) {
        ASSERT_NE(encoded[end - 1], ' ');
      }
    }
  }
}

TEST(Uuencode, AcceptsWhatIsOutThere) {
  const std::string data = "#0V%T\n`\n";
  const Case kCases[] = {
      {"whole", "begin 644 cat.txt\n" + data + "end\n", "Cat"},
      {"CR LF and text around", "See:\r\n\r\nbegin 0644 a b\r\n#0V%T\r\n`\r\nend\r\nBye\r\n",
       "Cat"},
      {"no begin line", data + "end\n", "Cat"},
      {"no end line", "begin 644 x\n#0V%T", "Cat"},
      {"blanks cut at the end of a line", "begin 644 x\n\"80\n \nend\n", std::string("a\0", 2)},
      {"full line", "begin 644 x\nM" + std::string(60, '1') + "\n`\nend\n",
       [] {
         std::string out;
         for (int i = 0; i < 15; ++i) out += "E\x14Q";
         return out;
       }()},
      {"'begin' in prose is none", "begin at once\nbegin 644 x\n#0V%T\nend\n", "Cat"},
  };
  for (const Case& c : kCases) Check<UuDecoder>(c);
  UuDecoder decoder;
  std::string out;
  decoder.Append("begin 644 my file.txt\r\n", out);
  EXPECT_EQ(decoder.fileName(), "my file.txt");
}

TEST(TransferEncoding, IsNamedInManyWays) {
  using enum TransferEncoding;
  const std::pair<const char*, TransferEncoding> kCases[] = {{"base64", kBase64},
                                                             {" BASE64 ", kBase64},
                                                             {"\"Base64\";", kBase64},
                                                             {"base64 (comment)", kBase64},
                                                             {"Quoted-Printable", kQuotedPrintable},
                                                             {"x-uuencode", kUuencode},
                                                             {"QuotedPrintable", kQuotedPrintable},
                                                             {"7bit", kIdentity},
                                                             {"8BIT", kIdentity},
                                                             {"binary", kIdentity},
                                                             {"x-unknown", kIdentity},
                                                             {"", kIdentity}};
  for (const auto& [name, encoding] : kCases)
    EXPECT_EQ(TransferEncodingFromName(name), encoding) << name;
  struct Collected : ByteSink {
    bool Take(std::string_view piece) override {
      bytes += piece;
      return true;
    }
    std::string bytes;
  };
  // Whole or as it comes, to the last byte of what breaks off.
  std::string longBody = " ", longText;
  for (int i = 0; i < 60'000; ++i) {
    longBody += "SGVsbG8h";
    longText += "Hello!";
  }
  const std::pair<TransferEncoding, std::pair<std::string, std::string>> kBodies[] = {
      {kBase64, {"SGVsbG8", "Hello"}},
      {kBase64, {longBody, longText}},
      {kQuotedPrintable, {"=41=4", "A=4"}},
      {kUuencode, {"begin 644 x\n#0V%T", "Cat"}},
      {kIdentity, {"=41", "=41"}}};
  for (const auto& [encoding, texts] : kBodies) {
    EXPECT_EQ(DecodeBody(encoding, texts.first), texts.second);
    Collected sink;
    DecodeBodyTo(encoding, texts.first, sink);
    EXPECT_EQ(sink.bytes, texts.second);
  }
}

}  // namespace
}  // namespace Tessary
