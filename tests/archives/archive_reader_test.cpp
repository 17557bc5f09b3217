#include "archives/archive_reader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/text.h"
#include "tests/archives/archive_making.h"
#include "tests/support/temporary_folder.h"

namespace parvane::archives {
namespace {

using namespace std::string_literals;

std::string All(platform::InputStream& stream) {
  std::string text;
  for (auto buffer = stream.Buffer(); !buffer.empty(); buffer = stream.Buffer()) {
    text.append(buffer.data(), buffer.size());
    stream.Skip(buffer.size());
  }
  return text;
}

// "name: bytes" of each entry, "name! bytes" where it ended early; at last "!" when the archive
// did.
std::vector<std::string> Entries(const std::u16string& path) {
  auto archive = OpenArchive(platform::FileSystem::Default(), path);
  if (!archive.ok()) return {"!" + archive.status().message()};
  std::vector<std::string> found;
  Entry entry;
  while ((*archive)->Next(entry)) {
    platform::InputStream& stream = (*archive)->Stream();
    const std::string bytes = All(stream);
    EXPECT_EQ(stream.Position(), bytes.size());
    found.push_back(platform::Utf16ToUtf8(entry.name) + (stream.status().ok() ? ": " : "! ") +
                    bytes);
  }
  if (!(*archive)->status().ok()) found.push_back("!");
  return found;
}

const std::string kZstd = "\x28\xB5\x2F\xFD\x04\x58\x39\x00\x00"s + "From a\n\xC3\xD7\x2F\xC8";
const std::string kGzip =
    "\x1F\x8B\x08\x00\x00\x00\x00\x00\x02\x03\x73\x2B\xCA\xCF\x55\x48\xE4\x02\x00\xAD\x09\x0D\x8A\x07\x00\x00\x00"s;
const std::string kBzip2 =
    "\x42\x5A\x68\x39\x31\x41\x59\x26\x53\x59\x0F\xD9\x83\x52\x00\x00\x01\x55\x80\x00\x10\x40\x00\x01\x00\x20\x02\x90\x00\x20\x00\x22\x18\x02\x18\x04\xCA\x96\xE1\x77\x24\x53\x85\x09\x00\xFD\x98\x35\x20"s;
const std::string kXz =
    "\xFD\x37\x7A\x58\x5A\x00\x00\x04\xE6\xD6\xB4\x46\x02\x00\x21\x01\x16\x00\x00\x00\x74\x2F\xE5\xA3\x01\x00\x06\x46\x72\x6F\x6D\x20\x61\x0A\x00\x00\x99\xBD\x78\xEA\x60\xDD\xAD\x9A\x00\x01\x1F\x07\x16\x2E\xB8\x73\x1F\xB6\xF3\x7D\x01\x00\x00\x00\x00\x04\x59\x5A"s;
// 45,899,235 bytes of zero.
const std::string kZeros =
    "\x42\x5A\x68\x39\x31\x41\x59\x26\x53\x59\x0E\x09\xE2\xDF\x01\x5F\x8E\x40\x00\xC0\x00\x00\x08\x20\x00\x30\x80\x4D\x46\x42\xA0\x25\xA9\x0A\x80\x97\x17\x72\x45\x38\x50\x90\x0E\x09\xE2\xDF"s;

TEST(OpenDecompressed, UnpacksByTheFirstBytesWhateverTheName) {
  struct Case {
    Packing packing;
    std::string bytes;
  };
  const TemporaryFolder folder;
  platform::FileSystem& files = platform::FileSystem::Default();
  for (const Case& test : {Case{Packing::kNone, "From a\n"},
                           {Packing::kGzip, kGzip},
                           {Packing::kBzip2, kBzip2},
                           {Packing::kXz, kXz},
                           {Packing::kZstd, kZstd}}) {
    SCOPED_TRACE(NameOf(test.packing));
    const auto path = folder.Write("1.txt", test.bytes);
    EXPECT_EQ(*PackingOfFile(files, path), test.packing);
    auto stream = OpenDecompressed(files, path);
    if (!IsReadHere(test.packing)) {
      EXPECT_EQ(stream.status().message(),
                "cannot be read on this system: " + std::string(NameOf(test.packing)));
      continue;
    }
    ASSERT_TRUE(stream.ok());
    EXPECT_EQ(All(**stream), "From a\n");
    EXPECT_TRUE((*stream)->status().ok());
    if (test.packing == Packing::kNone) continue;
    // What was compressed in pieces is one; what is cut off ends early and says so.
    stream = OpenDecompressed(files, folder.Write("1.txt", test.bytes + test.bytes));
    EXPECT_EQ(All(**stream), "From a\nFrom a\n");
    for (std::size_t size = 12; size < test.bytes.size(); ++size) {
      stream = OpenDecompressed(files, folder.Write("1.txt", test.bytes.substr(0, size)));
      ASSERT_TRUE(stream.ok());
      EXPECT_TRUE(std::string("From a\n").starts_with(All(**stream)));
      // What follows the bytes themselves may be less than whole.
      EXPECT_TRUE(size >= test.bytes.size() / 2 || !(*stream)->status().ok()) << size;
    }
  }
}

TEST(OpenDecompressed, StopsWhatUnpacksBeyondAllMeasure) {
  const TemporaryFolder folder;
  std::string bomb;
  for (int i = 0; i < 8; ++i) bomb += kZeros;
  auto stream = OpenDecompressed(platform::FileSystem::Default(), folder.Write("bomb.bz2", bomb));
  if (!IsReadHere(Packing::kBzip2)) {
    EXPECT_EQ(stream.status().message(), "cannot be read on this system: bzip2");
    return;
  }
  ASSERT_TRUE(stream.ok());
  while (!(*stream)->Buffer().empty()) (*stream)->Skip((*stream)->Buffer().size());
  EXPECT_EQ((*stream)->status().code(), platform::StatusCode::kTooBig);
  EXPECT_EQ((*stream)->status().message(), "unpacks to more than 1000 times its size");
  EXPECT_LE((*stream)->Position(), kUnpackedAlways + (1u << 20));
}

TEST(ArchiveReader, HandsOutWhatItCanAndNamesTheRest) {
  struct Case {
    const char* name;
    std::string bytes;
    std::vector<std::string> entries;
  };
  const ZipEntry a{"a.mbox", "From a"}, b{"b.mbox", "From b"};
  const ZipEntry damaged{"x.mbox", "not deflated at all", 8};
  const Case cases[] = {
      {"zip", ZipOf({a, b}), {"a.mbox: From a", "b.mbox: From b"}},
      {"an empty zip", ZipOf({}), {}},
      {"names are names",
       ZipOf({{"../../etc/a", "1"}, {"/b", "2"}, {"c/", ""}, {"d\\e:", "3"}}),
       {"../../etc/a: 1", "/b: 2", "d/e:: 3"}},
      {"in UTF-8",
       ZipOf({{"\xC3\xA9\xE6\x97\xA5/\xF0\x9F\x98\x80", "1"}}),
       {"\xC3\xA9\xE6\x97\xA5/\xF0\x9F\x98\x80: 1"}},
      {"zip64", ZipOf({{"a", "From a", 0, 0, 0, 0, true}, b}), {"a: From a", "b.mbox: From b"}},
      {"encrypted",
       ZipOf({a, {"x", "secret of twelve bytes", 0, 0x801}, b}),
       {"a.mbox: From a", "x! ", "b.mbox: From b"}},
      {"damaged",
       ZipOf({a, damaged, b, damaged, a}),
       {"a.mbox: From a", "x.mbox! ", "b.mbox: From b", "x.mbox! ", "a.mbox: From a"}},
      {"a wrong sum", ZipOf({{"x", "From x", 0, 0, 1}, b}), {"x! From x", "b.mbox: From b"}},
      {"no directory", ZipOf({a, b}, false), {"a.mbox: From a", "b.mbox: From b", "!"}},
      {"cut off", ZipOf({a, b}, false).substr(0, 80), {"a.mbox: From a", "b.mbox! Fr", "!"}},
      {"tar",
       TarEntry("m/", "", '5') + TarEntry("../a", "From a") + TarEntry("l", "", '2') +
           TarEntry("b", "From b") + TarEnd(),
       {"../a: From a", "b: From b"}},
      {"a tar cut off",
       TarEntry("a", "From a") + TarEntry("b", std::string(600, 'b')).substr(0, 1000),
       {"a: From a", "b! " + std::string(488, 'b'), "!"}},
      {"not packed", "From a", {"!neither compressed nor an archive"}},
      {"compressed", kGzip, {": From a\n"}},
  };
  const TemporaryFolder folder;
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    const auto path = folder.Write("archive", test.bytes);
    EXPECT_EQ(Entries(path), test.entries);
  }
}

// Whatever becomes of the bytes: nothing hangs, nothing is read beyond them, and what is read is of
// them.
TEST(ArchiveReader, EndsWithWhateverBytes) {
  const TemporaryFolder folder;
  for (const std::string& whole : {ZipOf({{"a", "From a"}, {"b", "From b", 0, 0, 0, 0, true}}),
                                   TarEntry("a", "From a") + TarEnd()}) {
    for (std::size_t i = 0; i<whole.size(); i += whole.size()> 1000 ? 7 : 1) {
      Entries(folder.Write("archive", whole.substr(0, i)));
      std::string changed = whole;
      changed[i] = static_cast<char>(changed[i] ^ 0xFF);
      for (const std::string& entry : Entries(folder.Write("archive", changed)))
        EXPECT_LT(entry.size(), whole.size() + 100);
    }
  }
}

TEST(WithoutPacking, TakesTheExtensionOff) {
  struct Case {
    std::u16string_view name, without;
  };
  for (const Case& test : {Case{u"Inbox.mbox.gz", u"Inbox.mbox"},
                           {u"mail.TGZ", u"mail"},
                           {u"a.tar.gz", u"a"},
                           {u".gz", u".gz"},
                           {u"Inbox", u"Inbox"}})
    EXPECT_EQ(WithoutPacking(test.name), test.without);
}

}  // namespace
}  // namespace parvane::archives
