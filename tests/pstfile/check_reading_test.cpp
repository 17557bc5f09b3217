// How the checker reads: what comes through windows is what the file holds, whoever goes where.
#include <random>

#include <gtest/gtest.h>

#include "pstfile/check/read_windows.h"
#include "tests/pstfile/ndb_memory_files.h"

namespace parvane::pstfile::check {
namespace {

class ReadWindowsTest : public ::testing::Test {
 protected:
  static constexpr std::size_t kSize = 1'000'003;
  static constexpr std::size_t kStretch = 32'768;

  ReadWindowsTest() {
    content.resize(kSize);
    for (std::byte& b : content) b = static_cast<std::byte>(random());
    files[u"x"] = content;
    file = files.Open(u"x", platform::FileSystem::OpenMode::kRead).value();
  }

  // False when the bytes cannot be had.
  bool Get(ReadWindows& windows, std::uint64_t offset, std::size_t size) {
    const auto got = windows.Get(*file, kSize, offset, size, status);
    if (!got) return false;
    EXPECT_TRUE(std::ranges::equal(*got, std::span(content).subspan(offset, size)))
        << size << " bytes at " << offset;
    return true;
  }
  std::uint64_t Below(std::uint64_t n) { return random() % n; }

  std::mt19937 random{7};
  MemoryFiles files;
  Bytes content;
  std::unique_ptr<platform::RandomAccessFile> file;
  platform::Status status;
};

TEST_F(ReadWindowsTest, GoesOnReturnsAndLeaps) {
  for (const std::size_t count : {1, 2, 5}) {
    for (const std::size_t behind : {0, 9000}) {
      ReadWindows windows(count, kStretch, behind);
      std::uint64_t at = 0;
      for (int i = 0; i < 20'000; ++i) {
        const auto size = static_cast<std::size_t>(1 + Below(8192));
        const std::uint64_t kind = Below(10);
        if (kind == 0) at = Below(kSize);
        if (kind < 3) at -= std::min(at, Below(12'000));
        if (at + size > kSize) at = kind;
        ASSERT_TRUE(Get(windows, at, size));
        at += kind < 8 ? size : Below(40'000);
      }
    }
  }
  EXPECT_TRUE(status.ok());
}

TEST_F(ReadWindowsTest, ReadsNeighboursOnceWhateverComesBetween) {
  ReadWindows windows(3, kStretch, 0);
  for (std::uint64_t at = 0; at + 5000 <= kSize; at += 5000) {
    ASSERT_TRUE(Get(windows, at, 5000));
    ASSERT_TRUE(Get(windows, at / 5, 512));
  }
  EXPECT_LT(files.bytesRead, kSize + kSize / 5 + 3 * kStretch);
}

TEST_F(ReadWindowsTest, WhatCannotBeReadCostsOnlyItself) {
  files.readable = 500'000;
  ReadWindows windows(2, kStretch, 9000);
  for (std::uint64_t at = 0; at < 500'000; at += 5000) ASSERT_TRUE(Get(windows, at, 5000)) << at;
  EXPECT_TRUE(status.ok());
  EXPECT_FALSE(Get(windows, 499'999, 2));
  EXPECT_FALSE(status.ok());
  EXPECT_TRUE(Get(windows, 1000, 8192));
  files.readable = UINT64_MAX;
  EXPECT_TRUE(Get(windows, 499'999, 2));
  // Cut short by another program meanwhile.
  files[u"x"].resize(600'000);
  EXPECT_FALSE(Get(windows, 599'000, 8000));
  EXPECT_TRUE(Get(windows, 599'000, 1000));
}

}  // namespace
}  // namespace parvane::pstfile::check
