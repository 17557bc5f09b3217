// Data trees and subnode trees: boundaries, editing, hostile shapes.
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/subnode_tree.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

using platform::StatusCode;
using ::testing::IsEmpty;

constexpr char16_t kPath[] = u"trees.pst";
constexpr NodeId kNode(NodeKind::kMessage, 1);

struct TreeTest : ::testing::Test {
  MemoryFiles files;
  std::unique_ptr<NodeDatabase> db;

  void SetUp() override {
    auto created = NodeDatabase::Create(files, kPath);
    ASSERT_OK(created);
    db = std::move(*created);
    ASSERT_OK(db->Publish());
  }
  // Closes, checks the whole file and opens it again.
  void Reopen() {
    ASSERT_OK(db->Close());
    auto opened = NodeDatabase::Open(files, kPath, OpenMode::kReadWrite);
    ASSERT_OK(opened);
    db = std::move(*opened);
    ASSERT_THAT(Problems(files, kPath, true), IsEmpty());
  }
  std::size_t BlocksInFile() { return Inspection(files, kPath).blocks.size(); }
};

// ---- Data trees ---------------------------------------------------------------------------------

// A tree as the list of its blocks' seeds; the last block may be short.
struct Model {
  std::vector<std::uint64_t> seeds;
  std::size_t lastSize = 0;

  std::size_t SizeOf(std::size_t n) const {
    return n + 1 == seeds.size() ? lastSize : kMaximumBlockData;
  }
  void ExpectEqual(const NodeDatabase& db, BlockId root) const {
    auto tree = DataTree::Open(db, root);
    ASSERT_OK(tree);
    ASSERT_EQ(tree->blockCount(), seeds.size());
    // Both ends of every XBLOCK and some in between.
    for (std::size_t n = 0; n < seeds.size(); ++n) {
      const std::size_t place = n % kMaximumXBlockEntries;
      if (place > 1 && place < kMaximumXBlockEntries - 2 && n + 2 < seeds.size() && n % 97 != 0) {
        continue;
      }
      auto block = tree->ReadBlock(n);
      ASSERT_OK(block);
      ASSERT_TRUE(std::ranges::equal(block->bytes(), Pattern(SizeOf(n), seeds[n]))) << n;
    }
    if (seeds.size() < 2) return;
    // Across a block boundary, by byte.
    Bytes middle(20);
    ASSERT_EQ(*tree->ReadAt(kMaximumBlockData - 10, middle),
              std::min<std::size_t>(20, 10 + SizeOf(1)));
    const Bytes first = Pattern(SizeOf(0), seeds[0]);
    EXPECT_TRUE(std::ranges::equal(std::span(middle).first(10), std::span(first).last(10)));
  }
};

TEST_F(TreeTest, EditorFollowsAModelThroughEveryShape) {
  Model model;
  std::uint64_t seed = 0;
  auto editor = DataTreeEditor::Open(*db, {});
  ASSERT_OK(editor);
  const auto append = [&](std::size_t size) {
    ASSERT_OK(editor->AppendBlock(Pattern(size, ++seed)));
    model.seeds.push_back(seed);
    model.lastSize = size;
  };
  const auto replace = [&](std::size_t n, std::size_t size) {
    ASSERT_OK(editor->ReplaceBlock(n, Pattern(size, ++seed)));
    model.seeds[n] = seed;
    if (n + 1 == model.seeds.size()) model.lastSize = size;
  };
  const auto truncate = [&](std::size_t count) {
    ASSERT_OK(editor->Truncate(count));
    model.seeds.resize(count);
    model.lastSize = count == 0 ? 0 : kMaximumBlockData;
  };
  const auto grow = [&](std::size_t count) {
    while (model.seeds.size() < count) append(kMaximumBlockData);
  };
  // `how`: 0 flush only, 1 put, 2 put and commit, 3 close and open everything again.
  const auto put = [&](int how) {
    auto root = editor->Flush();
    ASSERT_OK(root);
    model.ExpectEqual(*db, *root);
    if (how >= 1) ASSERT_OK(db->PutNode({kNode, *root, {}, {}}));
    if (how >= 2) ASSERT_OK(db->Commit());
    if (how < 3) return;
    { auto discarded = std::move(*editor); }
    Reopen();
    editor = DataTreeEditor::Open(*db, *root);
    ASSERT_OK(editor);
  };
  append(100);
  put(0);
  replace(0, 5000);
  put(0);
  put(1);
  replace(0, kMaximumBlockData);
  append(10);
  put(2);
  EXPECT_EQ(editor->AppendBlock(Pattern(1, 1)).code(), StatusCode::kInvalidArgument);
  EXPECT_EQ(editor->ReplaceBlock(0, Pattern(1, 1)).code(), StatusCode::kInvalidArgument);
  replace(1, kMaximumBlockData);
  grow(kMaximumXBlockEntries);
  put(3);
  append(77);  // the first block of a second XBLOCK
  put(3);
  replace(kMaximumXBlockEntries, kMaximumBlockData);
  grow(2 * kMaximumXBlockEntries + 1);
  replace(3, kMaximumBlockData);
  put(0);
  replace(3, kMaximumBlockData);
  replace(2 * kMaximumXBlockEntries, 9);
  put(2);
  truncate(2 * kMaximumXBlockEntries);
  put(3);
  truncate(kMaximumXBlockEntries);
  put(1);
  truncate(kMaximumXBlockEntries - 1);
  append(1234);
  put(3);
  truncate(1);
  put(2);
  EXPECT_EQ(BlocksInFile(), 1U);
  append(50);
  put(3);
  truncate(0);
  put(3);
  EXPECT_EQ(BlocksInFile(), 0U);
}

TEST_F(TreeTest, EditingTheTailCostsTheTail) {
  {
    DataTreeWriter writer(*db);
    const Bytes block = Pattern(kMaximumBlockData, 1);
    for (std::size_t i = 0; i < 2 * kMaximumXBlockEntries + 5; ++i) ASSERT_OK(writer.Append(block));
    auto root = writer.Finish();
    ASSERT_OK(root);
    ASSERT_OK(db->PutNode({kNode, *root, {}, {}}));
    ASSERT_OK(db->Commit());
  }
  auto editor = DataTreeEditor::Open(*db, (*db->FindNode(kNode))->data);
  ASSERT_OK(editor);
  for (int i = 0; i < 5; ++i) {
    ASSERT_OK(editor->AppendBlock(Pattern(kMaximumBlockData, 2)));
    auto root = editor->Flush();
    ASSERT_OK(root);
    ASSERT_OK(db->PutNode({kNode, *root, {}, {}}));
    EXPECT_LE(db->TransactionBytes(), kMaximumBlockSize + 512);
    files.writes = 0;
    ASSERT_OK(db->Commit());
    EXPECT_LE(files.writes, 12U);
  }
  Reopen();
}

TEST_F(TreeTest, UnflushedEditsLeaveTheOldTreeAsItWas) {
  DataTreeWriter writer(*db);
  const Bytes data = Pattern(50000, 1);
  ASSERT_OK(writer.Append(data));
  auto root = writer.Finish();
  ASSERT_OK(root);
  for (const bool put : {false, true}) {
    if (put) ASSERT_OK(db->PutNode({kNode, *root, {}, {}}));
    {
      auto editor = DataTreeEditor::Open(*db, *root);
      ASSERT_OK(editor);
      ASSERT_OK(editor->ReplaceBlock(0, Pattern(kMaximumBlockData, 2)));
      ASSERT_OK(editor->Truncate(3));
      ASSERT_OK(editor->AppendBlock(Pattern(10, 3)));
    }
    auto tree = DataTree::Open(*db, *root);
    ASSERT_OK(tree);
    EXPECT_EQ(*tree->ReadAll(), data);
  }
  Reopen();
  EXPECT_EQ(BlocksInFile(), 8U);
}

TEST_F(TreeTest, ContradictoryDataTreesAreRefused) {
  const BlockId full = *db->WriteBlock(Pattern(kMaximumBlockData, 1));
  const BlockId part = *db->WriteBlock(Pattern(100, 1));
  const auto xblock = [&](std::uint8_t level, std::uint32_t total,
                          std::vector<BlockId> ids) -> BlockId {
    Bytes bytes(8 + 8 * ids.size());
    bytes[0] = std::byte{1};
    bytes[1] = std::byte{level};
    StoreU16(bytes, 2, static_cast<std::uint16_t>(ids.size()));
    StoreU32(bytes, 4, total);
    for (std::size_t i = 0; i < ids.size(); ++i) StoreU64(bytes, 8 + 8 * i, ids[i].value);
    auto bid = db->WriteInternalBlock(bytes);
    return bid.ok() ? *bid : BlockId();
  };
  const BlockId good = xblock(1, 8276, {full, part});
  ASSERT_OK(DataTree::Open(*db, good)->ReadAll());
  const BlockId cases[] = {
      xblock(1, 0xFFFFFFFF, {full, part}),         // more bytes than blocks
      xblock(1, 8000, {full, part}),               // fewer
      xblock(1, 16352, {full, part}),              // the last block is shorter than that
      xblock(1, 8276, {part, full}),               // a short block in the middle
      xblock(1, 8276, {full, good}),               // an internal block among the data
      xblock(2, 8276, {full}),                     // data where an XBLOCK belongs
      xblock(2, 8276, {xblock(2, 8276, {good})}),  // too deep
      xblock(3, 8276, {good}),                     // deeper
      xblock(1, 8276, {full, BlockId(0x7777774)}),
      xblock(2, 8276, {xblock(1, 8275, {full, part})}),  // totals that differ
      xblock(2, 8276, {xblock(2, 8276, {good, good})}),  // too deep, and as many
  };
  auto editor = DataTreeEditor::Open(*db, std::end(cases)[-1]);
  ASSERT_OK(editor);
  EXPECT_EQ(editor->ReadBlock(0).status().code(), StatusCode::kCorrupt);
  for (const BlockId bid : cases) {
    auto tree = DataTree::Open(*db, bid);
    const auto status = tree.ok() ? tree->ReadAll().status() : tree.status();
    EXPECT_EQ(status.code(), StatusCode::kCorrupt) << &bid - cases;
  }
}

// ---- Subnode trees ------------------------------------------------------------------------------

TEST_F(TreeTest, SubnodesFollowAMapThroughRandomEdits) {
  std::map<NodeId, std::uint64_t> expected;
  std::mt19937 random(9);
  BlockId root;
  {
    SubnodeTreeBuilder builder(*db);
    for (std::uint32_t i = 1; i <= 700; ++i) {
      const NodeId nid(NodeKind::kValue, 2 * i);
      ASSERT_OK(builder.Add({nid, *db->WriteBlock(Pattern(8, i)), {}}));
      expected[nid] = i;
    }
    EXPECT_EQ(builder.Add({NodeId(0x3F), {}, {}}).code(), StatusCode::kInvalidArgument);
    auto built = builder.Finish();
    ASSERT_OK(built);
    root = *built;
  }
  const auto verify = [&](const NodeDatabase& database, BlockId at) {
    auto tree = SubnodeTree::Open(database, at);
    ASSERT_OK(tree);
    auto entries = tree->Entries();
    ASSERT_OK(entries);
    ASSERT_EQ(entries->size(), expected.size());
    auto want = expected.begin();
    for (const SubnodeEntry& entry : *entries) {
      ASSERT_EQ(entry.nid, want->first);
      auto data = database.ReadBlock(entry.data);
      ASSERT_OK(data);
      ASSERT_TRUE(std::ranges::equal(data->bytes(), Pattern(8, want->second)));
      ASSERT_EQ(*tree->Find(entry.nid), entry);
      const auto next = tree->Next(NodeId(entry.nid.value + 1));
      ASSERT_OK(next);
      ASSERT_EQ(next->has_value(), std::next(want) != expected.end());
      ++want;
    }
    ASSERT_EQ(*tree->Find(NodeId(NodeKind::kMessage, 5)), std::nullopt);
  };
  for (int round = 0; round < 40; ++round) {
    auto editor = SubnodeTreeEditor::Open(*db, root);
    ASSERT_OK(editor);
    const bool shrinking = round % 20 > 12;
    const auto before = expected;
    for (int i = 0; i < 150; ++i) {
      const std::uint32_t edge = 3000 + static_cast<std::uint32_t>(round) * 100;
      const NodeId nid(NodeKind::kValue, 1 + random() % (round % 3 == 0 ? edge : 1500));
      if (random() % 10 < (shrinking ? 8U : 2U)) {
        ASSERT_OK(editor->Remove(nid));
        expected.erase(nid);
      } else {
        const std::uint64_t seed = random();
        ASSERT_OK(editor->Put({nid, *db->WriteBlock(Pattern(8, seed)), {}}));
        expected[nid] = seed;
      }
      ASSERT_EQ((*editor->Find(nid)).has_value(), expected.contains(nid));
    }
    if (round % 7 == 3) {  // dropped without Flush
      expected = before;
      continue;
    }
    auto flushed = editor->Flush();
    ASSERT_OK(flushed);
    root = *flushed;
    verify(*db, root);
    if (round % 3 == 1) ASSERT_OK(db->PutNode({kNode, {}, root, {}}));
    if (round % 3 == 2 && (*db->FindNode(kNode))->sub == root) Reopen();
  }
  ASSERT_OK(db->PutNode({kNode, {}, root, {}}));
  Reopen();
  ASSERT_OK(db->PutNode({kNode, {}, {}, {}}));
  Reopen();
  EXPECT_EQ(BlocksInFile(), 0U);
}

TEST_F(TreeTest, GrowingSubnodesRewriteOnlyTheirRightEdge) {
  SubnodeTreeBuilder builder(*db);
  for (std::uint32_t i = 1; i <= 5000; ++i) {
    ASSERT_OK(builder.Add({NodeId(NodeKind::kValue, i), {}, {}}));
  }
  auto root = builder.Finish();
  ASSERT_OK(root);
  ASSERT_OK(db->PutNode({kNode, {}, *root, {}}));
  ASSERT_OK(db->Commit());
  auto editor = SubnodeTreeEditor::Open(*db, *root);
  ASSERT_OK(editor);
  for (std::uint32_t i = 5001; i <= 5600; ++i) {
    ASSERT_OK(editor->Put({NodeId(NodeKind::kValue, i), {}, {}}));
  }
  root = editor->Flush();
  ASSERT_OK(root);
  EXPECT_LE(db->TransactionBytes(), 4 * kMaximumBlockSize);
  ASSERT_OK(db->PutNode({kNode, {}, *root, {}}));
  Reopen();
  EXPECT_EQ(BlocksInFile(), (5600 + 339) / 340 + 1U);
}

TEST_F(TreeTest, DamagedSubnodeTreesAreRefusedAndGarbageIsIgnored) {
  const auto write = [&](std::uint8_t level, std::size_t size,
                         std::vector<std::uint64_t> values) -> BlockId {
    Bytes bytes(8 + 8 * values.size());
    bytes[0] = std::byte{2};
    bytes[1] = std::byte{level};
    StoreU16(bytes, 2, static_cast<std::uint16_t>(8 * values.size() / size));
    for (std::size_t i = 0; i < values.size(); ++i) StoreU64(bytes, 8 + 8 * i, values[i]);
    auto bid = db->WriteInternalBlock(bytes);
    return bid.ok() ? *bid : BlockId();
  };
  const std::uint64_t data = (*db->WriteBlock(Pattern(9, 1))).value;
  const BlockId garbage = write(0, 24, {0xDEADBEEF00000025, data, 0, 0xABC00000045, data, 0});
  auto tree = SubnodeTree::Open(*db, garbage);
  ASSERT_OK(tree);
  EXPECT_EQ((*tree->Find(NodeId(0x25)))->data.value, data);
  EXPECT_EQ((*tree->Find(NodeId(0x45)))->data.value, data);
  const BlockId cases[] = {
      write(0, 24, {0x45, data, 0, 0x25, data, 0}),  // out of order
      write(1, 16, {0x99, garbage.value}),           // not the first nid below
      write(1, 16, {0x25, garbage.value, 0x30, garbage.value}),
      write(1, 16, {0x25, data}),  // data where an SLBLOCK belongs
      write(1, 16, {0x25, write(1, 16, {0x25, garbage.value}).value}),
      write(2, 16, {0x25, garbage.value}),
      BlockId(data),
  };
  for (const BlockId bid : cases) {
    auto opened = SubnodeTree::Open(*db, bid);
    const auto status = opened.ok() ? opened->Entries().status() : opened.status();
    EXPECT_EQ(status.code(), StatusCode::kCorrupt) << &bid - cases;
  }
}

}  // namespace
}  // namespace parvane::pstfile
