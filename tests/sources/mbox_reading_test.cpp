#include "sources/mbox_reading.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "platform/memory_input_stream.h"
#include "sources/bytes_stream.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using parvane::platform::MemoryInputStream;
using Lines = std::vector<std::string>;

std::string Text(const ByteVector& bytes) { return {bytes.begin(), bytes.end()}; }

// All messages of a file, empty ones included, read `step` bytes at a time.
Lines Messages(std::string_view file, std::size_t step) {
  const auto stream = MemoryInputStream(file, step);
  Lines messages;
  while (!stream->Buffer().empty()) {
    ByteVector message;
    ScanMBOXStream(stream.get(), message);
    messages.push_back(Text(message));
  }
  return messages;
}

TEST(MboxLines, EndAndAreUnquotedAsStated) {
  struct Case {
    const char* name;
    std::string file;
    Lines lines;
    std::vector<bool> results;
  };
  const Case cases[] = {
      {"nothing", "", {""}, {false}},
      {"LF", "a\nb\n", {"a", "b", ""}, {true, true, false}},
      {"no end on the last line", "a\nb", {"a", "b", ""}, {true, true, false}},
      {"a bare CR ends a line", "a\rb\r", {"a", "b", ""}, {true, true, false}},
      {"CR CR LF ends two lines", "a\r\r\nb", {"a", "", "b"}, {true, true, true}},
      {"LF CR ends two lines", "a\n\rb", {"a", "", "b"}, {true, true, true}},
      {"separator", "From a\nx", {"From a", "x"}, {false, true}},
      {"five bytes separate", "From \nx", {"From ", "x"}, {false, true}},
      {"four bytes do not", "From\nx", {"From", "x"}, {true, true}},
      {"case and place matter", "from a\n From a\n", {"from a", " From a"}, {true, true}},
      {"one quote is removed", ">From me\n>>From me\n", {"From me", ">From me"}, {true, true}},
      {"no separator behind it",
       ">From\n>Fromage\n> From x\n",
       {">From", ">Fromage", "> From x"},
       {true, true, true}},
  };
  for (const Case& test : cases) {
    for (const std::size_t step :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
      SCOPED_TRACE(std::string(test.name) + ", step " + std::to_string(step));
      const auto stream = MemoryInputStream(test.file, step);
      ByteVector line = {'o', 'l', 'd'};
      for (std::size_t i = 0; i < test.lines.size(); ++i) {
        EXPECT_EQ(ReadLineMBOX(stream.get(), line), test.results[i]);
        EXPECT_EQ(Text(line), test.lines[i]);
      }
    }
  }
}

TEST(MboxMessages, AreCutAtSeparators) {
  struct Case {
    const char* name;
    std::string file;
    Lines messages;
  };
  const Case cases[] = {
      {"one header without a line end", "From a\nX: y", {"X: y\r\n"}},
      {"the first line is a separator, whatever it holds", "garbage\nX: y\n", {"X: y\r\n"}},
      {"empty lines are kept", "From a\n\nb\n\n\nFrom c\nd\n", {"\r\nb\r\n\r\n\r\n", "d\r\n"}},
      {"separators in a row", "From a\nFrom b\nx\nFrom c", {"", "x\r\n"}},
      {"unquoting", "From a\n>From b\n>>From c\n>Frog\n", {"From b\r\n>From c\r\n>Frog\r\n"}},
      {"mixed line ends", "From a\r\nb\rc\nd\r\n", {"b\r\nc\r\nd\r\n"}},
      {"zeros and 8-bit bytes",
       std::string("From a\n\0\xFF\n", 10),
       {std::string("\0\xFF\r\n", 4)}},
  };
  for (const Case& test : cases) {
    for (const std::size_t step : {std::size_t{0}, std::size_t{1}, std::size_t{4}}) {
      SCOPED_TRACE(std::string(test.name) + ", step " + std::to_string(step));
      EXPECT_EQ(Messages(test.file, step), test.messages);
    }
  }
}

// The rules once more, byte by byte and without a thought of speed.
Lines SlowMessages(std::string_view file) {
  Lines lines;
  for (std::size_t at = 0; at < file.size();) {
    std::string line;
    while (at < file.size() && file[at] != '\r' && file[at] != '\n') line += file[at++];
    if (at < file.size() && file[at++] == '\r' && at < file.size() && file[at] == '\n') ++at;
    lines.push_back(line);
  }
  Lines messages;
  bool open = false;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    std::string line = lines[i];
    if (!open) messages.emplace_back();
    open = line.substr(0, 5) != "From ";
    if (!open) continue;
    const std::size_t text = line.find_first_not_of('>');
    if (text != 0 && text != line.npos && line.substr(text, 5) == "From ") line.erase(0, 1);
    messages.back() += line + "\r\n";
  }
  return messages;
}

TEST(MboxMessages, AgreeWithASlowReaderOnRandomFiles) {
  std::mt19937 random(4711);
  const std::string_view pieces[] = {
      "\r",    "\n",   "\r\n",
      "From ", "From", ">",
      "x",     " ",    "a long enough line to outgrow the smallest buffers"};
  for (int round = 0; round < 3000; ++round) {
    std::string file;
    for (auto count = random() % 40; count > 0; --count) file += pieces[random() % 9];
    const std::size_t step = random() % 7;
    // The first line alone leaves nothing to read, which the fast reader reports as one nothing.
    Lines expected = SlowMessages(file);
    Lines actual = Messages(file, step);
    if (expected.empty() && actual == Lines{""}) actual.clear();
    ASSERT_EQ(actual, expected) << testing::PrintToString(file) << " step " << step;
  }
}

TEST(MboxMessages, OfHugeLinesTakeTimeInProportion) {
  // A huge line, and as many line ends: a quadratic reader would not come back.
  std::string file = "From a\n" + std::string(8u << 20, '>') + "From b\n";
  file.append(8u << 20, '\r');
  const auto stream = MemoryInputStream(file, 4096);
  ByteVector message;
  ScanMBOXStream(stream.get(), message);
  // One ">" less; CR LF behind the line and for every CR.
  EXPECT_EQ(message.size(), (8u << 20) - 1 + 6 + 2 + ((8u << 20) - 1) * 2 + 2);
  EXPECT_TRUE(stream->Buffer().empty());
}

TEST(MboxFiles, AreRecognisedByTheirFirstBytes) {
  const TemporaryFolder folder;
  EXPECT_TRUE(IsValidMBOXFile(folder.Write("empty", "")));
  EXPECT_TRUE(IsValidMBOXFile(folder.Write("mbox", "From a\n")));
  EXPECT_TRUE(IsValidMBOXFile(folder.Write("short", "From ")));
  EXPECT_FALSE(IsValidMBOXFile(folder.Write("four", "From")));
  EXPECT_FALSE(IsValidMBOXFile(folder.Write("lower", "from a\n")));
  EXPECT_FALSE(IsValidMBOXFile(folder.Write("space", " From a\n")));
  EXPECT_FALSE(IsValidMBOXFile(folder.Path()));
  EXPECT_FALSE(IsValidMBOXFile(folder.Path("nothing here")));
}

TEST(BytesStreams, KeepTheirAsymmetricBounds) {
  const std::string data = "0123456789";
  using Origin = RelativeToPosition;
  char buffer[16];
  IBytesStream* stream = BytesStream::OpenBytesStream(data.data(), data.size());
  ASSERT_NE(stream, nullptr);
  stream->open();
  EXPECT_EQ(stream->read(buffer, 10), 10u);
  EXPECT_EQ(stream->read(buffer, 11), 9u) << "one byte short of the end";
  EXPECT_EQ(stream->read(buffer, 4), 4u);
  EXPECT_EQ(std::string(buffer, 4), "0123") << "reading never advances";

  struct Step {
    Origin origin;
    std::uint64_t offset;
    bool result;
    std::string read;  // 3 bytes from where the stream then stands
  };
  const Step steps[] = {
      {Origin::kStart, 9, false, "012"},      {Origin::kStart, 8, true, "8"},
      {Origin::kStart, 5, true, "567"},       {Origin::kForward, 2, false, "789"},
      {Origin::kForward, 2, false, "789"},    {Origin::kBackward, 6, false, "123"},
      {Origin::kBackward, 1, false, "123"},   {Origin::kEnd, 9, false, "123"},
      {Origin::kEnd, 8, true, "123"},         {Origin::kEnd, 0, true, ""},
      {static_cast<Origin>(7), 1, false, ""},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(std::to_string(static_cast<int>(step.origin)) + " " + std::to_string(step.offset));
    EXPECT_EQ(stream->seek(step.offset, step.origin), step.result);
    const auto count = stream->read(buffer, 3);
    EXPECT_EQ(std::string(buffer, count), step.read);
  }
  BytesStream::CloseBytesStream(stream);

  BytesStream empty(nullptr, 0);
  EXPECT_EQ(empty.read(nullptr, 0), 0u);
  EXPECT_EQ(empty.read(nullptr, 10), 0u);
  empty.seek(~std::uint64_t{0}, Origin::kBackward);
  EXPECT_EQ(empty.read(nullptr, ~std::uint64_t{0}), 0u);
  BytesStream wrapped(data.data(), data.size());
  wrapped.seek(5, Origin::kStart);
  wrapped.seek(6, Origin::kBackward);
  EXPECT_EQ(wrapped.read(nullptr, 3), 0u) << "a seek that wraps around reads nothing";
  wrapped.seek(2, Origin::kStart);
  EXPECT_EQ(wrapped.read(buffer, ~std::uint64_t{0}), 7u);
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
