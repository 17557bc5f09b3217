// Nodes, blocks, references and space through whole sessions.
#include <array>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pstfile/ndb/header.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/node_database.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

using platform::Status;
using platform::StatusCode;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char16_t kPath[] = u"mail.pst";

struct NodeDatabaseTest : ::testing::Test {
  MemoryFiles files;
  std::unique_ptr<NodeDatabase> db;

  void Create(const CreateOptions& options = {}) {
    auto created = NodeDatabase::Create(files, kPath, options);
    ASSERT_OK(created);
    db = std::move(*created);
  }
  void Open(OpenMode mode = OpenMode::kReadWrite, const OpenOptions& options = {}) {
    db.reset();
    auto opened = NodeDatabase::Open(files, kPath, mode, options);
    ASSERT_OK(opened);
    db = std::move(*opened);
  }
  BlockId Write(const Bytes& bytes) {
    DataTreeWriter writer(*db);
    EXPECT_TRUE(writer.Append(bytes).ok());
    auto root = writer.Finish();
    EXPECT_TRUE(root.ok()) << root.status().message();
    return root.ok() ? *root : BlockId();
  }
  void Put(std::uint32_t nid, const Bytes& data, BlockId sub = {}) {
    ASSERT_OK(db->PutNode({NodeId(nid), Write(data), sub, NodeId()}));
  }
  Bytes Get(std::uint32_t nid) {
    auto node = db->FindNode(NodeId(nid));
    if (!node.ok() || !*node) return {};
    auto tree = DataTree::Open(*db, (*node)->data);
    if (!tree.ok()) return {};
    auto all = tree->ReadAll();
    return all.ok() ? *all : Bytes();
  }
  FileHeader HeaderInFile() {
    return FileHeader::Decode(std::span(files[kPath]).first<kHeaderSize>());
  }
  void CloseAndCheck() {
    ASSERT_OK(db->Close());
    Open(OpenMode::kRead);
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
    EXPECT_EQ(files[kPath].size(), db->FileSize());
  }
};

TEST_F(NodeDatabaseTest, NewFileIsCompleteAndAsSmallAsCanBe) {
  Create();
  Put(0x21, Pattern(100, 1));
  EXPECT_FALSE(files.contents.contains(kPath)) << "visible before it is published";
  ASSERT_OK(db->Publish());
  EXPECT_EQ(files.contents.size(), 1U);
  EXPECT_EQ(files[kPath].size(), kSmallestFile);
  EXPECT_EQ(Get(0x21), Pattern(100, 1));
  EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
  const auto counters = HeaderInFile().counters;
  EXPECT_EQ(counters[2], 0x400U);
  EXPECT_EQ(counters[4], 0x10000U);
  // The rest of the header page, where a copy of the header was, is zero again.
  const Bytes& file = files[kPath];
  EXPECT_TRUE(std::all_of(file.begin() + 564, file.begin() + kDListOffset,
                          [](std::byte b) { return b == std::byte{0}; }));
}

TEST_F(NodeDatabaseTest, UnpublishedFileDisappears) {
  Create();
  Put(0x21, Pattern(100, 1));
  auto beside = NodeDatabase::Create(files, kPath);
  ASSERT_OK(beside);
  EXPECT_EQ(files.contents.size(), 2U) << "each has a name of its own until it is published";
  beside->reset();
  db.reset();
  EXPECT_TRUE(files.contents.empty());
  // One that was there already, and empty, is so again.
  files[kPath];
  CreateOptions claimed;
  claimed.inPlace = true;
  Create(claimed);
  Put(0x21, Pattern(100, 1));
  db.reset();
  EXPECT_EQ(files[kPath].size(), 0U);
}

TEST_F(NodeDatabaseTest, ADiskThatWasFullTakesNoMore) {
  Create();
  ASSERT_OK(db->Publish());
  Put(0x21, Pattern(100, 1));
  files.diskSize = files[kPath].size();
  const auto fill = [&] {
    std::vector<BlockId> blocks;
    for (;;) {
      auto block = db->WriteBlock(Pattern(kMaximumBlockData, 1));
      if (block.ok()) {
        blocks.push_back(*block);
        continue;
      }
      for (const BlockId bid : blocks) db->AbandonBlock(bid);
      return block.status().code();
    }
  };
  EXPECT_EQ(fill(), StatusCode::kDiskFull);
  files.diskSize = UINT64_MAX;
  EXPECT_EQ(fill(), StatusCode::kDiskFull) << "though there is room again";
  ASSERT_OK(db->Commit());
  EXPECT_EQ(db->DeleteNode(NodeId(0x21)).code(), StatusCode::kDiskFull);
  ASSERT_OK(db->Close());
  Open(OpenMode::kRead);
  EXPECT_EQ(Get(0x21), Pattern(100, 1));
}

TEST_F(NodeDatabaseTest, OpenedFileThatIsNotModifiedIsNotWrittenNorLocked) {
  Create();
  ASSERT_OK(db->Publish());
  files.writes = files.flushes = 0;
  Open();
  auto second = NodeDatabase::Open(files, kPath, OpenMode::kReadWrite);
  ASSERT_OK(second);
  ASSERT_OK((*second)->PrepareToModify());
  EXPECT_EQ(db->PrepareToModify().code(), StatusCode::kLocked);
  second->reset();
  EXPECT_EQ(db->PrepareToModify().code(), StatusCode::kLocked) << "changed meanwhile";
  const std::size_t writes = files.writes;
  ASSERT_OK(db->Close());
  EXPECT_EQ(files.writes, writes);
}

TEST_F(NodeDatabaseTest, DataOfEverySizeComesBackUnderEveryEncoding) {
  for (const CryptMethod crypt :
       {CryptMethod::kNone, CryptMethod::kPermute, CryptMethod::kCyclic}) {
    CreateOptions options;
    options.crypt = crypt;
    options.replace = true;
    Create(options);
    const std::size_t sizes[] = {1,       47,      48,     49,    3580,   8175,
                                 8176,    8177,    16352,  16353, 100000, 8347696 - 8176,
                                 8347696, 8347697, 9000000};
    std::uint32_t nid = 0x21;
    for (const std::size_t size : sizes) {
      if (size > 1'000'000 && crypt != CryptMethod::kPermute) break;
      Put(nid += 0x20, Pattern(size, size));
    }
    ASSERT_OK(db->Publish());
    nid = 0x21;
    for (const std::size_t size : sizes) {
      if (size > 1'000'000 && crypt != CryptMethod::kPermute) break;
      EXPECT_EQ(Get(nid += 0x20), Pattern(size, size)) << size;
    }
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
  }
}

TEST_F(NodeDatabaseTest, SharedBlockIsFreedWithItsLastReference) {
  Create();
  const BlockId shared = Write(Pattern(20000, 1));
  for (std::uint32_t nid : {0x21, 0x41, 0x61}) {
    ASSERT_OK(db->PutNode({NodeId(nid), shared, {}, {}}));
  }
  ASSERT_OK(db->Publish());
  ASSERT_OK(db->DeleteNode(NodeId(0x21)));
  ASSERT_OK(db->PutNode({NodeId(0x41), {}, {}, {}}));
  ASSERT_OK(db->Commit());
  EXPECT_EQ(Get(0x61), Pattern(20000, 1));
  // Taken from its last place and put elsewhere, within one transaction.
  ASSERT_OK(db->DeleteNode(NodeId(0x61)));
  ASSERT_OK(db->PutNode({NodeId(0x81), shared, {}, {}}));
  ASSERT_OK(db->Commit());
  EXPECT_EQ(Get(0x81), Pattern(20000, 1));
  ASSERT_OK(db->DeleteNode(NodeId(0x81)));
  CloseAndCheck();
  EXPECT_TRUE(Inspection(files, kPath).blocks.empty());
}

TEST_F(NodeDatabaseTest, LooseBlocksSurviveCommitsOutsideTheFile) {
  Create();
  ASSERT_OK(db->Publish());
  DataTreeWriter writer(*db);
  const Bytes first = Pattern(9'000'000, 1), second = Pattern(50000, 2);
  ASSERT_OK(writer.Append(first));
  Put(0x21, Pattern(100, 3));
  ASSERT_OK(db->Commit());
  EXPECT_EQ(Inspection(files, kPath).blocks.size(), 1U)
      << "unfinished values are not part of the file";
  ASSERT_OK(writer.Append(second));
  auto root = writer.Finish();
  ASSERT_OK(root);
  ASSERT_OK(db->PutNode({NodeId(0x41), *root, {}, {}}));
  ASSERT_OK(db->Commit());
  Bytes whole = first;
  whole.insert(whole.end(), second.begin(), second.end());
  EXPECT_EQ(Get(0x41), whole);
  db->AbandonBlock(*root);
  EXPECT_EQ(Get(0x41), whole) << "abandoning what is part of the file does nothing";
  CloseAndCheck();
}

TEST_F(NodeDatabaseTest, AbandonedSpaceIsUsedAgainAtOnce) {
  Create();
  ASSERT_OK(db->Publish());
  Put(0x21, Pattern(10, 1));
  const Bytes bytes = Pattern(1'000'000, 1);
  for (int i = 0; i < 50; ++i) {
    DataTreeWriter writer(*db);
    ASSERT_OK(writer.Append(bytes));
    writer.Abandon();
  }
  EXPECT_LT(files[kPath].size(), 6'000'000U);
  CloseAndCheck();
  EXPECT_EQ(db->FileSize(), kSmallestFile);
}

TEST_F(NodeDatabaseTest, CountersOfFoldersMoveTogether) {
  Create();
  auto folder = db->AllocateNodeId(NodeKind::kFolder);
  ASSERT_OK(folder);
  EXPECT_EQ(*folder, NodeId(0x8022));
  ASSERT_OK(db->ReserveNodeId(NodeId(NodeKind::kSearchFolder, 0x5000)));
  EXPECT_EQ(*db->AllocateNodeId(NodeKind::kSearchFolder), NodeId(NodeKind::kSearchFolder, 0x5001));
  EXPECT_EQ(*db->AllocateNodeId(NodeKind::kMessage), NodeId(0x200024));
  EXPECT_EQ(*db->AllocateNodeId(NodeKind::kValue), NodeId(0x803F));
  ASSERT_OK(db->Publish());
  const auto counters = HeaderInFile().counters;
  for (const int kind : {0x02, 0x0D, 0x0E, 0x0F}) EXPECT_EQ(counters[kind], 0x401U) << kind;
  for (const int kind : {0x03, 0x06, 0x07, 0x10}) EXPECT_EQ(counters[kind], 0x5001U) << kind;
  ASSERT_OK(db->ReserveNodeId(NodeId(NodeKind::kMessage, NodeId::kMaximumIndex)));
  EXPECT_EQ(db->AllocateNodeId(NodeKind::kMessage).status().code(), StatusCode::kTooBig);
}

TEST_F(NodeDatabaseTest, RandomSessionsAgreeWithAMap) {
  Create();
  ASSERT_OK(db->Publish());
  std::map<std::uint32_t, Bytes> expected;
  std::mt19937 random(7);
  for (int round = 0; round < 60; ++round) {
    for (int i = 0; i < 60; ++i) {
      // Ids close together, so that pages split, empty and join again.
      const std::uint32_t nid = (random() % 1500 + 1) << 5 | 4;
      if (random() % 10 < (round % 20 < 10 ? 3 : 7)) {
        const auto status = db->DeleteNode(NodeId(nid));
        EXPECT_EQ(status.ok(), expected.erase(nid) == 1) << status.message();
      } else {
        const std::size_t size = random() % 20 == 0 ? random() % 60000 + 1 : random() % 700 + 1;
        expected[nid] = Pattern(size, random());
        Put(nid, expected[nid]);
      }
    }
    switch (round % 4) {
      case 0:
        ASSERT_OK(db->Commit());
        break;
      case 1:
        CloseAndCheck();
        Open();
        break;
      case 2:  // as after a crash: the maps are invalid
        ASSERT_OK(db->Commit());
        Open();
        EXPECT_NE(HeaderInFile().mapState, kMapsValid);
        EXPECT_THAT(Problems(files, kPath, false), IsEmpty());
        break;
      default:
        break;
    }
    for (std::uint32_t nid = 1 << 5 | 4; nid <= (1500 << 5 | 4); nid += 1 << 5) {
      const auto node = db->FindNode(NodeId(nid));
      ASSERT_OK(node);
      ASSERT_EQ(node->has_value(), expected.contains(nid)) << nid;
    }
    for (const auto& [nid, bytes] : expected) ASSERT_EQ(Get(nid), bytes);
  }
  CloseAndCheck();
}

TEST_F(NodeDatabaseTest, ManyNodesInOrderFillTheirPages) {
  Create();
  ASSERT_OK(db->Publish());
  constexpr std::uint32_t kCount = 30000;
  for (std::uint32_t i = 1; i <= kCount; ++i) {
    auto bid = db->WriteBlock(Pattern(20, i));
    ASSERT_OK(bid);
    ASSERT_OK(db->PutNode({NodeId(NodeKind::kMessage, i), *bid, {}, kNidIpmSubtree}));
    if (i % 1000 == 0) ASSERT_OK(db->Commit());
  }
  CloseAndCheck();
  Inspection all(files, kPath);
  EXPECT_EQ(all.nodes.size(), kCount);
  // Leaves of 15 and 20 entries, and one page in twenty above them.
  const std::size_t nodePages = all.pages[check::TreeKind::kNodes];
  const std::size_t blockPages = all.pages[check::TreeKind::kBlocks];
  EXPECT_LE(nodePages, kCount / 15 * 106 / 100);
  EXPECT_LE(blockPages, kCount / 20 * 106 / 100);
  const std::uint64_t useful = kCount * 64 + (nodePages + blockPages) * kPageSize;
  EXPECT_LT(db->FileSize(), useful * 105 / 100 + kAMapInterval);
}

TEST_F(NodeDatabaseTest, ManyShortSessionsDoNotLetTheFileGrow) {
  Create();
  ASSERT_OK(db->Publish());
  for (std::uint32_t i = 1; i <= 100; ++i) {
    Put(i << 5 | 4, Pattern(1000, i));
    ASSERT_OK(db->Close());
    Open();
  }
  EXPECT_EQ(db->FileSize(), kSmallestFile);
  EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
}

// Files too large to be examined: the maps of their old part are corrected, or, when they were not
// to be trusted, rebuilt.
TEST_F(NodeDatabaseTest, LargeFilesAreAddedToAtTheirEnd) {
  Create();
  for (std::uint32_t i = 1; i <= 100; ++i) Put(i << 5 | 4, Pattern(20'000, i));
  ASSERT_OK(db->Publish());
  OpenOptions options;
  options.examinedSize = 0;
  enum How { kClosed, kAbandoned, kMapDamaged };
  for (const How how : {kClosed, kAbandoned, kMapDamaged}) {
    Open(OpenMode::kReadWrite, options);
    if (how == kAbandoned) {
      Put(0x24, Pattern(9000, 5));
      ASSERT_OK(db->Commit());
      Open(OpenMode::kReadWrite, options);
    }
    if (how == kClosed) {  // by another program, which lost count of the free space
      FileHeader header = FileHeader::Decode(std::span(files[kPath]).first<kHeaderSize>());
      header.freeBytes -= 640;
      std::ranges::copy(header.Encode(), files[kPath].begin());
      Open(OpenMode::kReadWrite, options);
    }
    if (how == kMapDamaged) files[kPath][IntervalOffset(1) + 100] ^= std::byte{0x10};
    const std::uint64_t end = db->FileSize();
    for (std::uint32_t i = 10; i <= 50; ++i) {
      Put(i << 5 | 4, Pattern(15'000, i));
      if (i % 10 == 0) ASSERT_OK(db->Commit());
    }
    EXPECT_EQ(db->mapsWereRebuilt(), false);
    ASSERT_OK(db->DeleteNode(NodeId(60 << 5 | 4)));
    ASSERT_OK(db->PutNode({NodeId(60 << 5 | 4), {}, {}, {}}));
    EXPECT_GT(db->FileSize(), end);
    ASSERT_OK(db->Close());
    EXPECT_EQ(db->mapsWereRebuilt(), how != kClosed);
    Open(OpenMode::kRead);
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
    EXPECT_EQ(files[kPath].size(), db->FileSize());
    EXPECT_EQ(Get(50 << 5 | 4), Pattern(15'000, 50));
    EXPECT_EQ(Get(51 << 5 | 4), Pattern(20'000, 51));
  }
  // A session that writes nothing lasting cuts nothing off.
  Open(OpenMode::kReadWrite, options);
  ASSERT_OK(db->PrepareToModify());
  CloseAndCheck();
  EXPECT_EQ(Get(51 << 5 | 4), Pattern(20'000, 51));
  // Emptied, it shrinks once it is examined.
  Open(OpenMode::kReadWrite, options);
  for (std::uint32_t i = 2; i <= 100; ++i) ASSERT_OK(db->DeleteNode(NodeId(i << 5 | 4)));
  CloseAndCheck();
  for (int i = 0; i < 2; ++i) {
    Open();
    ASSERT_OK(db->DeleteNode(NodeId((i == 0 ? 0x24 : 0x44))));
    Put(0x44, Pattern(10, 1));
    CloseAndCheck();
  }
  EXPECT_LE(db->FileSize(), 3'000'000U);
}

// Files from before Outlook 2007 SP2 set groups of pages aside in their page map. It is dropped
// with the first change, so that nothing leaks, however the session ends.
TEST_F(NodeDatabaseTest, OldPageMapsAreGivenUp) {
  for (const bool large : {false, true}) {
    db.reset();
    files.contents.clear();
    Create();
    for (std::uint32_t i = 1; i <= 300; ++i) Put(i << 5 | 4, Pattern(900, i));
    ASSERT_OK(db->Publish());
    db.reset();
    constexpr std::size_t kPage = 300;  // of the second interval
    Bytes& file = files[kPath];
    FileHeader header = FileHeader::Decode(std::span(file).first<kHeaderSize>());
    std::ranges::fill(std::span(header.raw).subspan(256, 8), std::byte{0x11});
    StoreU64(header.raw, 208, kPageSize);
    const auto map = [&](PageType type, std::size_t offset) {
      const auto page = std::span(file).subspan(offset, kPageSize).first<kPageSize>();
      if (type == PageType::kAMap) page[kPage] = std::byte{0xFF};
      if (type == PageType::kPMap) page[62 + kPage / 8] &= ~(std::byte{0x80} >> kPage % 8);
      SealPage(page, type, FileOffset(offset), offset);
    };
    map(PageType::kAMap, IntervalOffset(1));
    map(PageType::kPMap, kFirstAMapOffset + kPageSize);
    header.freeBytes -= kPageSize;
    std::ranges::copy(header.Encode(), file.begin());
    EXPECT_THAT(Problems(files, kPath, true), HasSubstr("reserved for pages by the PMap"));

    OpenOptions options;
    if (large) options.examinedSize = 0;
    for (const bool abandoned : {true, false}) {
      Open(OpenMode::kReadWrite, options);
      EXPECT_EQ(HeaderInFile().oldPageMapInUse, abandoned) << "it takes one change";
      Put(0x24, Pattern(5000, abandoned ? 7 : 8));
      ASSERT_OK(db->Commit());
    }
    ASSERT_OK(db->Close());
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
    Open(OpenMode::kRead);
    EXPECT_EQ(Get(0x24), Pattern(5000, 8));
    EXPECT_EQ(db->DeleteNode(NodeId(0x24)).code(), StatusCode::kAccessDenied);
  }
}

// A header with right sums can still tell ids that are in use. Handing them out again would replace
// what has them.
TEST_F(NodeDatabaseTest, IdsInUseAreNotHandedOutAgain) {
  for (const bool large : {false, true}) {
    db.reset();
    files.contents.clear();
    Create();
    const auto folder = [](std::uint32_t i) { return NodeId(NodeKind::kFolder, 0x400 + i); };
    const auto message = [](std::uint32_t i) { return NodeId(NodeKind::kMessage, 0x10000 + i); };
    for (std::uint32_t i = 1; i <= 60; ++i) {
      Put(folder(i).value, Pattern(100, i));
      Put(message(i).value, Pattern(900, i));
    }
    ASSERT_OK(db->Publish());
    db.reset();
    FileHeader header = FileHeader::Decode(std::span(files[kPath]).first<kHeaderSize>());
    header.counters.fill(0x3F0);
    header.nextBlockId = 0;
    header.nextPageId = 1;
    header.freeBytes += 64;
    std::ranges::copy(header.Encode(), files[kPath].begin());

    OpenOptions options;
    if (large) options.examinedSize = 0;
    Open(OpenMode::kReadWrite, options);
    const NodeId newFolder = *db->AllocateNodeId(NodeKind::kFolder);
    const NodeId newMessage = *db->AllocateNodeId(NodeKind::kMessage);
    EXPECT_EQ(newFolder, folder(61));
    EXPECT_EQ(newMessage, message(61));
    Put(newMessage.value, Pattern(20'000, 99));
    ASSERT_OK(db->Close());
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
    Open(OpenMode::kRead);
    for (std::uint32_t i = 1; i <= 60; ++i) {
      ASSERT_EQ(Get(folder(i).value), Pattern(100, i));
      ASSERT_EQ(Get(message(i).value), Pattern(900, i));
    }
    EXPECT_EQ(Get(newMessage.value), Pattern(20'000, 99));
  }
}

TEST_F(NodeDatabaseTest, FilesThatWereCutOffAreLeftAlone) {
  Create();
  for (std::uint32_t i = 1; i <= 100; ++i) Put(i << 5 | 4, Pattern(5000, i));
  ASSERT_OK(db->Publish());
  // Data at the end, and the trees back where they were before.
  for (const std::size_t size : {300'000, 100}) {
    Put(size == 100 ? 0x44 : 0x24, Pattern(size, 1));
    ASSERT_OK(db->Commit());
  }
  ASSERT_OK(db->Close());
  db.reset();
  const Bytes whole = files[kPath];
  const std::uint64_t last = IntervalOffset(IntervalOf(whole.size() - 1));
  for (const std::uint64_t examined : {std::uint64_t{0}, OpenOptions().examinedSize}) {
    Bytes& file = files[kPath];
    file.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(last) + 900);
    const Bytes before = file;
    OpenOptions options;
    options.examinedSize = examined;
    Open(OpenMode::kReadWrite, options);
    const Status refused = db->PrepareToModify();
    EXPECT_EQ(refused.code(), StatusCode::kCorrupt);
    EXPECT_THAT(refused.message(), HasSubstr("the file is cut off"));
    EXPECT_EQ(file, before);
    // With nothing but unused space lost it can be gone on with.
    file.assign(whole.begin(), whole.end() - 64);
    Open(OpenMode::kReadWrite, options);
    Put(0x24, Pattern(5000, 7));
    ASSERT_OK(db->Close());
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
  }
}

TEST_F(NodeDatabaseTest, AnEndFarBeyondTheFileIsNotBelieved) {
  Create();
  Put(0x24, Pattern(5000, 1));
  ASSERT_OK(db->Publish());
  ASSERT_OK(db->Close());
  db.reset();
  const std::uint64_t size = files[kPath].size();
  for (const bool oldPageMap : {false, true}) {
    SCOPED_TRACE(oldPageMap);
    Bytes& file = files[kPath];
    FileHeader header = FileHeader::Decode(std::span(file).first<kHeaderSize>());
    header.endOfFile = std::uint64_t{1} << 46;
    if (oldPageMap) StoreU64(header.raw, 208, kPageSize);
    std::ranges::copy(header.Encode(), file.begin());
    Open(OpenMode::kReadWrite);
    Put(0x44, Pattern(5000, 2));
    ASSERT_OK(db->Close());
    EXPECT_EQ(files[kPath].size(), size);
    EXPECT_THAT(Problems(files, kPath, true), IsEmpty());
  }
}

}  // namespace
}  // namespace parvane::pstfile
