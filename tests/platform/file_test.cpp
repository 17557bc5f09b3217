#include "platform/file.h"

#include <gtest/gtest.h>

#include "platform/input_stream.h"
#include "platform/memory_input_stream.h"
#include "platform/path.h"
#include "tests/pstfile/ndb_memory_files.h"
#include "tests/support/temporary_folder.h"

namespace parvane::platform {
namespace {

using Mode = FileSystem::OpenMode;

FileSystem& Files() { return FileSystem::Default(); }

std::span<const std::byte> Bytes(std::string_view text) { return std::as_bytes(std::span(text)); }

std::string Content(const std::u16string& path) {
  auto content = ReadWholeFile(Files(), path);
  return content.ok() ? *content : "error: " + content.status().message();
}

TEST(Path, TakesNamesApart) {
  const struct {
    const char16_t* path;
    const char16_t* name;
    const char16_t* stem;
    const char16_t* extension;
    const char16_t* parent;
  } kCases[] = {
      {u"/a/b.c.mbox", u"b.c.mbox", u"b.c", u".mbox", u"/a"},
      {u"/a/b//", u"b", u"b", u"", u"/a"},
      {u"/a.d/b", u"b", u"b", u"", u"/a.d"},
      {u"/b", u"b", u"b", u"", u"/"},
      {u"b.", u"b.", u"b", u".", u"."},
      {u".profile", u".profile", u"", u".profile", u"."},
      {u"a//b", u"b", u"b", u"", u"a"},
      {u"", u"", u"", u"", u"."},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(FileNameOfPath(c.path), c.name);
    EXPECT_EQ(StemOfPath(c.path), c.stem);
    EXPECT_EQ(ExtensionOfPath(c.path), c.extension);
    EXPECT_EQ(ParentOfPath(c.path), c.parent);
  }
  EXPECT_EQ(JoinPath(u"a/", u"b"), u"a/b");
  EXPECT_EQ(JoinPath(u"", u"b"), u"b");
  EXPECT_EQ(JoinPath(u"a", u"b"), std::u16string(u"a") + kPathSeparator + u"b");
}

TEST(Path, EveryByteStringRoundTrips) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      for (const std::string_view tail :
           {"", "\x80", "\xBF\xBF", "\xED\xB2\x80", "\xF0\x9F\x98\x80"}) {
        std::string native{static_cast<char>(first), static_cast<char>(second)};
        native += tail;
        ASSERT_EQ(PathToNative(PathFromNative(native)), native);
      }
    }
  }
  EXPECT_EQ(PathFromNative("\xC3\xA6\xE6"), (std::u16string{0xE6, 0xDCE6}));
  EXPECT_EQ(PathForDisplay(PathFromNative("a\xE6")), "a\xEF\xBF\xBD");
}

TEST(File, ReadsWritesResizesAndAllocates) {
  const ::TemporaryFolder folder;
  const std::u16string path = folder / u"\u00E6\U0001F600";
  auto opened = Files().Open(path, Mode::kCreateNew);
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  RandomAccessFile& file = **opened;
  EXPECT_TRUE(file.WriteAt(4, Bytes("data")).ok());
  EXPECT_EQ(*file.Size(), 8U);
  char buffer[16] = {};
  EXPECT_EQ(*file.ReadAt(2, std::as_writable_bytes(std::span(buffer))), 6U);
  EXPECT_EQ(std::string_view(buffer, 6), std::string_view("\0\0data", 6));
  EXPECT_EQ(*file.ReadAt(100, std::as_writable_bytes(std::span(buffer))), 0U);
  EXPECT_TRUE(file.Resize(5).ok());
  EXPECT_TRUE(file.Allocate(200'000).ok());
  EXPECT_EQ(*file.Size(), 200'000U);
  EXPECT_TRUE(file.Allocate(10).ok());
  EXPECT_EQ(*file.Size(), 200'000U);
  EXPECT_TRUE(file.Flush().ok());
  EXPECT_EQ(Content(path), std::string("\0\0\0\0d", 5) + std::string(199'995, '\0'));
  EXPECT_TRUE(Files().FlushFolder(folder.Path()).ok());
}

TEST(File, OpensOnlyWhatItShould) {
  const ::TemporaryFolder folder;
  const std::u16string path = folder.Write(u"here", "x");
  EXPECT_EQ(Files().Open(path, Mode::kCreateNew).status().code(), StatusCode::kExists);
  const auto missing = Files().Open(folder / u"missing", Mode::kReadWrite);
  EXPECT_EQ(missing.status().code(), StatusCode::kNotFound);
  EXPECT_NE(missing.status().message().find("missing"), std::string::npos);
  EXPECT_EQ(Files().Open(folder.Path(), Mode::kRead).status().code(), StatusCode::kUnsupported);
  EXPECT_FALSE(Files().Open(path + u'\0' + u"x", Mode::kRead).ok());
  auto reader = Files().Open(path, Mode::kRead);
  ASSERT_TRUE(reader.ok());
  EXPECT_FALSE((*reader)->WriteAt(0, Bytes("y")).ok());
}

TEST(File, LocksOutEveryOtherHandle) {
  const ::TemporaryFolder folder;
  const std::u16string path = folder.Write(u"locked", "x");
  // Where opening for writing locks already, it fails the same way.
  const auto lock = [&path](std::unique_ptr<RandomAccessFile>& file) {
    auto opened = Files().Open(path, Mode::kReadWrite);
    if (!opened.ok()) return opened.status();
    file = std::move(opened).value();
    return file->LockExclusive();
  };
  std::unique_ptr<RandomAccessFile> first, second;
  EXPECT_TRUE(lock(first).ok());
  EXPECT_EQ(lock(second).code(), StatusCode::kLocked);
  EXPECT_EQ(Content(path), "x");
  second.reset();
  first.reset();
  EXPECT_TRUE(lock(second).ok());
}

TEST(Folder, ListsSortedByUnit) {
  const ::TemporaryFolder folder;
  for (const char16_t* name : {u"b", u"C", u"a", u"\u00E6", u"\U0001F600", u"\uFFF0", u".hidden"}) {
    folder.Write(name, "12345");
  }
  ASSERT_TRUE(Files().CreateFolder(folder / u"d", false).ok());
  ASSERT_TRUE(Files().CreateFolder(folder / u"d", false).ok());
  EXPECT_EQ(Files().CreateFolder(folder / u"a", false).code(), StatusCode::kExists);
  const auto entries = Files().List(folder.Path());
  ASSERT_TRUE(entries.ok());
  std::vector<std::u16string> names;
  for (const DirectoryEntry& entry : *entries) {
    names.push_back(entry.name);
    const bool isFolder = entry.name == u"d";
    EXPECT_EQ(entry.kind, isFolder ? FileKind::kFolder : FileKind::kFile);
    EXPECT_EQ(entry.size, isFolder ? 0U : 5U);
  }
  EXPECT_EQ(names, (std::vector<std::u16string>{u".hidden", u"C", u"a", u"b", u"d", u"\u00E6",
                                                u"\U0001F600", u"\uFFF0"}));
  EXPECT_EQ(Files().List(folder / u"none").status().code(), StatusCode::kNotFound);
}

TEST(Folder, IsCreatedWhereItIsMissing) {
  const ::TemporaryFolder folder;
  EXPECT_TRUE(Files().CreateFolder(folder / u"x", true).ok());
  EXPECT_TRUE(Files().CreateFolder(folder / u"x", true).ok());
  EXPECT_TRUE(Files().FolderExists(folder / u"x"));
  EXPECT_FALSE(Files().CreateFolder(JoinPath(folder.Write(u"file", ""), u"y"), true).ok());
}

TEST(File, RenamesAndRemoves) {
  const ::TemporaryFolder folder;
  const std::u16string a = folder.Write(u"a", "a");
  const std::u16string b = folder.Write(u"b", "b");
  EXPECT_EQ(Files().Rename(a, b, false).code(), StatusCode::kExists);
  EXPECT_EQ(Content(b), "b");
  EXPECT_TRUE(Files().Rename(a, b, true).ok());
  EXPECT_EQ(Content(b), "a");
  EXPECT_TRUE(Files().Rename(b, folder / u"c", false).ok());
  EXPECT_FALSE(Files().FileExists(b));
  EXPECT_EQ(Files().Remove(b).code(), StatusCode::kNotFound);
  EXPECT_TRUE(Files().Remove(folder / u"c").ok());
  EXPECT_EQ(Files().Rename(a, b, true).code(), StatusCode::kNotFound);
}

TEST(File, AppendsPieces) {
  const ::TemporaryFolder folder;
  const std::span<const std::byte> pieces[] = {Bytes("one "), Bytes(""), Bytes("two\n")};
  EXPECT_TRUE(Files().AppendPrivate(folder / u"dump", pieces).ok());
  EXPECT_TRUE(Files().AppendPrivate(folder / u"dump", pieces).ok());
  EXPECT_EQ(Content(folder / u"dump"), "one two\none two\n");
  // More pieces than one call of the system takes.
  const std::vector<std::span<const std::byte>> many(5000, Bytes("x"));
  EXPECT_TRUE(Files().AppendPrivate(folder / u"many", many).ok());
  EXPECT_EQ(Content(folder / u"many"), std::string(5000, 'x'));
}

TEST(File, ReadsWholeUpToALimit) {
  const ::TemporaryFolder folder;
  const std::u16string path = folder.Write(u"f", "12345");
  EXPECT_EQ(*ReadWholeFile(Files(), path, 5), "12345");
  EXPECT_EQ(ReadWholeFile(Files(), path, 4).status().code(), StatusCode::kTooBig);
  EXPECT_EQ(*ReadWholeFile(Files(), folder.Write(u"empty", ""), 0), "");
}

std::string Drain(InputStream& stream, std::size_t step) {
  std::string all;
  for (auto buffer = stream.Buffer(); !buffer.empty(); buffer = stream.Buffer()) {
    const std::size_t count = std::min(step, buffer.size());
    all.append(buffer.data(), count);
    stream.Skip(count);
    EXPECT_EQ(stream.Position(), all.size());
  }
  EXPECT_TRUE(stream.status().ok());
  return all;
}

TEST(InputStream, GivesTheSameBytesForEveryBuffer) {
  const ::TemporaryFolder folder;
  std::string content;
  for (int i = 0; i < 1000; ++i) content += std::to_string(i);
  const std::u16string path = folder.Write(u"f", content);
  for (const std::size_t size : {1U, 7U, 4096U}) {
    for (const std::size_t step : {1U, 5U, 100000U}) {
      auto stream = OpenInputStream(Files(), path, size);
      ASSERT_TRUE(stream.ok());
      EXPECT_EQ(Drain(**stream, step), content);
      EXPECT_EQ(Drain(*MemoryInputStream(content, size), step), content);
    }
  }
  EXPECT_EQ(Drain(*MemoryInputStream(content), 3), content);
  EXPECT_EQ(Drain(*MemoryInputStream(""), 3), "");
  EXPECT_EQ(OpenInputStream(Files(), folder / u"none").status().code(), StatusCode::kNotFound);
}

TEST(InputStream, GivesEverythingBeforeABadSector) {
  constexpr std::uint64_t kGood = 3 * 512;
  pstfile::MemoryFiles disk;
  disk[u"f"].resize(kGood + 512);
  disk.readable = kGood;
  auto stream = OpenInputStream(disk, u"f", 4096);
  ASSERT_TRUE(stream.ok());
  for (auto buffer = (*stream)->Buffer(); !buffer.empty(); buffer = (*stream)->Buffer()) {
    (*stream)->Skip(buffer.size());
  }
  EXPECT_EQ((*stream)->Position(), kGood);
  EXPECT_EQ((*stream)->status().code(), StatusCode::kIoError);
  EXPECT_EQ(ReadWholeFile(disk, u"f").status().code(), StatusCode::kIoError);
}

}  // namespace
}  // namespace parvane::platform
