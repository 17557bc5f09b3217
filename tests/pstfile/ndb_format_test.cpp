// Byte-exact vectors, and real files read and added to.
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/header.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/node_database.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

using platform::StatusCode;
using ::testing::HasSubstr;

Bytes FromText(std::string_view text) {
  Bytes bytes(text.size());
  std::memcpy(bytes.data(), text.data(), text.size());
  return bytes;
}

Bytes FromHex(std::string_view hex) {
  Bytes bytes;
  const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
  for (std::size_t i = 0; i < hex.size(); ++i) {
    if (hex[i] == ' ') continue;
    bytes.push_back(static_cast<std::byte>(digit(hex[i]) << 4 | digit(hex[i + 1])));
    ++i;
  }
  return bytes;
}

TEST(FormatTest, Crc) {
  EXPECT_EQ(Crc({}), 0U);
  EXPECT_EQ(Crc(Bytes(100)), 0U);
  EXPECT_EQ(Crc(FromText("123456789")), 0x2DFD2D88U);
  EXPECT_EQ(Crc(Bytes(496, std::byte{0xFF})), 0xA1AAE76EU);
  EXPECT_EQ(Crc(FromHex("00 01 02 03")), 0xAAFD590FU);
  EXPECT_EQ(Crc(FromText(std::string_view("K\0e\0y\0w\0o\0r\0d\0s\0", 16))), 0x2EDA4D3BU);
}

TEST(FormatTest, Encodings) {
  struct Case {
    CryptMethod method;
    std::uint32_t key;
    Bytes plain, stored;
  };
  const Case cases[] = {
      {CryptMethod::kNone, 0, FromText("Hello"), FromText("Hello")},
      {CryptMethod::kPermute, 0, FromText("Hello, World!"),
       FromHex("07 EA FD FD 86 D8 4C 4B 86 06 FD FA 7D")},
      {CryptMethod::kCyclic, 0x12345678, FromText("Hello, World!"),
       FromHex("FB EA DC 70 6B C5 23 03 D1 53 F0 68 CE")},
      {CryptMethod::kCyclic, 0x1FC, Bytes(8), FromHex("9D 71 C8 8A BF E8 E9 84")},
  };
  for (const Case& c : cases) {
    Bytes bytes = c.plain;
    Encode(c.method, c.key, bytes);
    EXPECT_EQ(bytes, c.stored);
    Decode(c.method, c.key, bytes);
    EXPECT_EQ(bytes, c.plain);
  }
  // Long runs take other paths than short ones; byte by byte is the reference.
  const Bytes plain = Pattern(8176, 9);
  for (const CryptMethod method :
       {CryptMethod::kNone, CryptMethod::kPermute, CryptMethod::kCyclic}) {
    for (const std::uint32_t key : {0U, 0x1FCU, 0xFFFFU, 0xFEDC0BB8U}) {
      Bytes whole(plain.size()), back(plain.size());
      EncodeTo(method, key, plain, whole);
      const std::uint32_t start = (key ^ key >> 16) & 0xFFFF;
      for (std::size_t i = 0; i < plain.size(); ++i) {
        std::byte one = plain[i];
        // A key without high half is its own starting value.
        Encode(method, static_cast<std::uint16_t>(start + i), {&one, 1});
        ASSERT_EQ(one, whole[i]) << i;
      }
      DecodeTo(method, key, whole, back);
      EXPECT_EQ(back, plain);
    }
  }
}

#ifdef PARVANE_PST_SAMPLES

Bytes ReadSample(const char* name) {
  std::ifstream in(std::filesystem::path(PARVANE_PST_SAMPLES) / name, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_FALSE(text.empty()) << name;
  return FromText(text);
}

constexpr char16_t kPath[] = u"sample.pst";
constexpr const char* kSamples[] = {"Empty.pst", "sample1.pst", "submessage.pst"};

TEST(SampleTest, OurCodecsReproduceTheBytes) {
  for (const char* name : kSamples) {
    MemoryFiles files;
    const Bytes file = files[kPath] = ReadSample(name);
    FileHeader header = FileHeader::Decode(std::span(file).first<kHeaderSize>());
    const auto encoded = header.Encode();
    EXPECT_TRUE(std::ranges::equal(encoded, std::span(file).first(kHeaderSize))) << name;
    PageBytes dlist{};
    SealPage(dlist, PageType::kDList, FileOffset(kDListOffset), header.nextPageId);
    const auto found = std::span(file).subspan(kDListOffset, kPageSize);
    EXPECT_TRUE(std::ranges::equal(dlist, found)) << name;

    auto db = NodeDatabase::Open(files, kPath, OpenMode::kRead);
    ASSERT_OK(db);
    for (const auto& [bid, block] : Inspection(files, kPath).blocks) {
      auto bytes = (*db)->ReadBlock(bid);
      ASSERT_OK(bytes);
      const auto [offset, dataSize] = block.place;
      Bytes built(BlockSizeOnDisk(dataSize));
      BuildBlock(bytes->bytes(), bid, offset, header.crypt, built);
      const auto stored = std::span(file).subspan(offset.value, built.size());
      EXPECT_TRUE(std::ranges::equal(std::span(built).first(dataSize), stored.first(dataSize)));
      EXPECT_TRUE(std::ranges::equal(std::span(built).last(16), stored.last(16)));
    }
  }
}

#endif

struct HeaderTest : ::testing::Test {
  MemoryFiles files;
  static constexpr char16_t kFile[] = u"file.pst";

  void SetUp() override {
    auto db = NodeDatabase::Create(files, kFile);
    ASSERT_OK(db);
    auto bid = (*db)->WriteBlock(FromHex("3400ECBC2000000000000000"));
    ASSERT_OK(bid);
    ASSERT_OK((*db)->PutNode({kNidMessageStore, *bid, {}, {}}));
    ASSERT_OK((*db)->Publish());
  }
  Bytes& file() { return files[kFile]; }
  platform::Status OpenIt() {
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kRead);
    if (!db.ok()) return db.status();
    auto node = (*db)->FindNode(kNidMessageStore);
    if (!node.ok()) return node.status();
    crypt = (*db)->crypt();
    return (*db)->ReadBlock((*node)->data).status();
  }
  CryptMethod crypt = CryptMethod::kNone;
};

TEST_F(HeaderTest, FilesOfOtherKindsAreRefusedByName) {
  struct Case {
    std::size_t offset;
    Bytes bytes;
    StatusCode code;
    const char* says;
  };
  const Case cases[] = {
      {0, FromText("From"), StatusCode::kCorrupt, "is no PST"},
      {10, FromHex("0E00"), StatusCode::kUnsupported, "ANSI"},
      {10, FromHex("0F00"), StatusCode::kUnsupported, "ANSI"},
      {10, FromHex("2400"), StatusCode::kUnsupported, "4 KiB"},
      {10, FromHex("2500"), StatusCode::kUnsupported, "wVer 37"},
      {8, FromText("SO"), StatusCode::kUnsupported, "OST"},
      {8, FromText("XX"), StatusCode::kCorrupt, "wMagicClient"},
      {12, FromHex("0C00"), StatusCode::kUnsupported, "wVerClient 12"},
      {45, FromHex("77"), StatusCode::kCorrupt, "dwCRCPartial"},
  };
  const Bytes good = file();
  for (const Case& c : cases) {
    file() = good;
    std::ranges::copy(c.bytes, file().begin() + static_cast<std::ptrdiff_t>(c.offset));
    const auto s = OpenIt();
    EXPECT_EQ(s.code(), c.code) << c.says;
    EXPECT_THAT(s.message(), HasSubstr(c.says));
    EXPECT_THAT(s.message(), HasSubstr("file.pst"));
    // What is no PST of this kind is not checked either.
    Findings found;
    const auto checked = CheckFile(files, kFile, {}, found).status();
    const bool isOtherKind = c.code == StatusCode::kUnsupported && c.offset < 12;
    EXPECT_EQ(checked.code() == StatusCode::kUnsupported, isOtherKind) << checked.message();
  }
  for (const std::size_t size : {0U, 100U, 563U}) {
    file() = Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(OpenIt().code(), StatusCode::kCorrupt);
  }
}

TEST_F(HeaderTest, ValuesThatCannotBeAreRefusedByName) {
  const std::pair<void (*)(FileHeader&), const char*> cases[] = {
      {[](FileHeader& h) { h.crypt = CryptMethod{3}; }, "bCryptMethod 3"},
      {[](FileHeader& h) { h.nextBlockId |= 2; }, "bidNextB"},
      {[](FileHeader& h) { h.endOfFile = kSmallestFile - 64; }, "ibFileEof"},
      {[](FileHeader& h) { h.nodeRoot.offset = FileOffset(h.endOfFile); }, "root page"},
  };
  FileHeader good = FileHeader::Decode(std::span(file()).first<kHeaderSize>());
  for (const auto& [change, says] : cases) {
    FileHeader header = good;
    change(header);
    std::ranges::copy(header.Encode(), file().begin());
    EXPECT_THAT(OpenIt().message(), HasSubstr(says));
  }
}

// A damaged branch must not make entries invisible.
TEST_F(HeaderTest, BranchesThatContradictTheirLeavesAreErrors) {
  const auto nid = [](std::uint64_t i) { return NodeId(NodeKind::kMessage, i); };
  {
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kReadWrite);
    ASSERT_OK(db);
    for (std::uint32_t i = 0; i < 60; ++i) ASSERT_OK((*db)->PutNode({nid(2 * i), {}, {}, {}}));
    ASSERT_OK((*db)->Close());
  }
  const Bytes good = file();
  const std::size_t root =
      FileHeader::Decode(std::span(good).first<kHeaderSize>()).nodeRoot.offset.value;
  const std::uint64_t second = LoadU64(good, root + 24), secondLeaf = LoadU64(good, root + 24 + 16);
  const auto change = [&](std::size_t page, std::size_t at, std::uint64_t value) {
    StoreU64(file(), page + at, value);
    SealPage(std::span(file()).subspan(page).first<kPageSize>(), PageType::kNodeTree,
             FileOffset(page), LoadU64(file(), page + kPageSize - 8));
  };
  struct Case {
    std::size_t page, at;
    std::uint64_t value, asked;
    const char* says;
  };
  const Case cases[] = {
      {root, 24, second + 1, second + 1, "first key"},
      {root, 24, second - 64, second - 64 - 1, "reaches into the next page"},
      {secondLeaf, 488, LoadU64(good, secondLeaf + 488) & ~std::uint64_t{0xFF}, second,
       "no entries"},
      {root, 24 + 16, root, second, "at "},
  };
  for (const Case& c : cases) {
    file() = good;
    change(c.page, c.at, c.value);
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kRead);
    ASSERT_OK(db);
    auto node = (*db)->FindNode(NodeId(static_cast<std::uint32_t>(c.asked)));
    EXPECT_EQ(node.status().code(), StatusCode::kCorrupt) << c.says;
    EXPECT_THAT(node.status().message(), HasSubstr(c.says));
  }
}

TEST_F(HeaderTest, TornHeadersAreMadeUpFor) {
  const Bytes good = file();
  // A whole copy stands in for anything.
  file() = good;
  std::copy_n(good.begin(), kHeaderSize, file().begin() + kHeaderCopyOffset);
  std::fill_n(file().begin(), 512, std::byte{0});
  ASSERT_OK(OpenIt());
  // Without one, the first part is enough.
  for (const CryptMethod method :
       {CryptMethod::kNone, CryptMethod::kPermute, CryptMethod::kCyclic}) {
    CreateOptions options;
    options.crypt = method;
    options.replace = true;
    auto db = NodeDatabase::Create(files, kFile, options);
    ASSERT_OK(db);
    auto bid = (*db)->WriteBlock(FromHex("3400ECBC2000000000000000"));
    ASSERT_OK((*db)->PutNode({kNidMessageStore, *bid, {}, {}}));
    ASSERT_OK((*db)->Publish());
    db->reset();
    const Bytes whole = file();
    const auto nextBlockId = [&] {
      return FileHeader::Decode(std::span(file()).first<kHeaderSize>()).nextBlockId;
    };
    const std::uint64_t next = nextBlockId();
    std::fill_n(file().begin() + 479, 85, std::byte{0x5A});
    ASSERT_OK(OpenIt());
    EXPECT_EQ(crypt, method);
    auto again = NodeDatabase::Open(files, kFile, OpenMode::kReadWrite);
    ASSERT_OK(again);
    ASSERT_OK((*again)->PutNode({NodeId(0x41), {}, {}, {}}));
    ASSERT_OK((*again)->Close());
    EXPECT_EQ(nextBlockId(), next);
    ASSERT_OK(OpenIt());
    for (std::size_t i = 479; i < kHeaderSize; ++i) {
      if (i >= 516 && i < 528) continue;  // bidNextB and the check sum
      EXPECT_EQ(file()[i], whole[i]) << i;
    }
  }
}

TEST_F(HeaderTest, WrongFileSizeIsPutRightByTheNextWriter) {
  for (const std::ptrdiff_t change : {5000, -20000}) {
    file().resize(static_cast<std::size_t>(static_cast<std::ptrdiff_t>(kSmallestFile) + change));
    ASSERT_OK(OpenIt());
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kReadWrite);
    ASSERT_OK(db);
    ASSERT_OK((*db)->PutNode({NodeId(0x41), {}, {}, {}}));
    ASSERT_OK((*db)->Close());
    ASSERT_OK(OpenIt());
    EXPECT_EQ(file().size(), kSmallestFile);
  }
}

TEST_F(HeaderTest, DamagedFilesNeverDoWorseThanAnError) {
  {
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kReadWrite);
    ASSERT_OK(db);
    for (std::uint32_t i = 2; i < 60; ++i) {
      DataTreeWriter writer(**db);
      ASSERT_OK(writer.Append(Pattern(i == 7 ? 30000 : 200, i)));
      auto root = writer.Finish();
      SubnodeTreeBuilder builder(**db);
      ASSERT_OK(builder.Add({NodeId(0x3F), *root, {}}));
      auto sub = builder.Finish();
      ASSERT_OK((*db)->PutNode({NodeId(NodeKind::kMessage, i), *root, *sub, {}}));
    }
    ASSERT_OK((*db)->Close());
  }
  const Bytes good = file();
  std::mt19937 random(5);
  std::size_t noticed = 0;
  const auto use = [&] {
    auto db = NodeDatabase::Open(files, kFile, OpenMode::kReadWrite);
    if (!db.ok()) return ++noticed, void();
    bool bad = !Problems(files, kFile, true).empty();
    for (std::uint32_t i = 1; i < 60; ++i) {
      auto node = (*db)->FindNode(NodeId(NodeKind::kMessage, i));
      if (!node.ok()) bad = true;
      if (!node.ok() || !*node) continue;
      auto tree = DataTree::Open(**db, (*node)->data);
      if (!tree.ok() || !tree->ReadAll().ok()) bad = true;
      auto sub = SubnodeTree::Open(**db, (*node)->sub);
      if (!sub.ok() || !sub->Find(NodeId(0x3F)).ok()) bad = true;
      if (i % 9 == 0) (void)(*db)->DeleteNode((*node)->nid).ok();
    }
    (void)(*db)->Close().ok();
    noticed += bad ? 1 : 0;
  };
  // Bits anywhere in use; and bytes with every check sum made right again, so that the structures
  // themselves must be doubted.
  std::size_t used = 0;
  std::size_t rounds = 0;
  for (; rounds < 300; ++rounds) {
    file() = good;
    const std::size_t at = rounds % 2 == 0 ? random() % 564 : 0x4400 + random() % 60000;
    file()[at] ^= static_cast<std::byte>(1 << random() % 8);
    use();
  }
  EXPECT_GT(noticed, rounds / 3);
  Bytes resealed = good;
  for (std::uint64_t page = 0x4600; page + kPageSize <= good.size(); page += kPageSize) {
    const auto bytes = std::span(good).subspan(page, kPageSize).first<kPageSize>();
    for (const PageType type : {PageType::kBlockTree, PageType::kNodeTree}) {
      const std::uint64_t id = LoadU64(bytes, 504);
      if (!CheckPage(bytes, type, FileOffset(page), id).ok()) continue;
      for (std::size_t i = 0; i < kPageBodySize; i += i < 480 ? 11 : 1) {
        file() = good;
        const auto target = std::span(file()).subspan(page, kPageSize).first<kPageSize>();
        target[i] ^= static_cast<std::byte>(1 << random() % 8);
        SealPage(target, type, FileOffset(page), id);
        use();
        ++used;
      }
    }
  }
  EXPECT_GT(used, 200U);
  for (std::size_t size = 0; size < good.size(); size += 7177) {
    file().assign(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    use();
  }
}

}  // namespace
}  // namespace parvane::pstfile
