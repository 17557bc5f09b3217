// Files of other programs, damaged files, failing disks.
#include <array>
#include <random>

#include <gtest/gtest.h>

#include "platform/path.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/subnode_tree.h"
#include "pstfile/store/name_map.h"
#include "tests/pstfile/ndb_inspection.h"
#include "tests/pstfile/store_fixture.h"
#include "tests/pstfile/store_walk.h"

namespace parvane::pstfile {
namespace {

using platform::StatusCode;

constexpr char16_t kPath[] = u"mail.pst";

#ifdef PARVANE_PST_SAMPLES
TEST(StoreSamples, EverythingIsReadAndNothingTouched) {
  const struct {
    const char* file;
    std::size_t folders, messages, attachments;
  } samples[] = {{"Empty.pst", 6, 0, 0}, {"sample1.pst", 7, 1, 1}, {"submessage.pst", 6, 1, 1}};
  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.file);
    auto opened =
        PstStore::Open(platform::FileSystem::Default(),
                       platform::PathFromNative(std::string(PARVANE_PST_SAMPLES "/") + sample.file),
                       StoreOpenMode::kRead);
    STORE_OK(opened);
    const WalkResult walk = StoreWalker(**opened).Walk();
    EXPECT_EQ(walk.failures, 0u) << walk.firstFailure;
    // One message size is known to be stale in one of these files.
    EXPECT_LE(walk.differences, 1u);
    EXPECT_EQ(walk.folders, sample.folders);
    EXPECT_EQ(walk.messages, sample.messages);
    EXPECT_EQ(walk.attachments, sample.attachments);
    STORE_OK((*opened)->Close());
  }
}
#endif

// ---- Damage ------------------------------------------------------------------------------------

// A map of one name, by what its entry and its string stream say.
TEST(NameMapDamage, NothingIsReadBeyondTheStreams) {
  constexpr std::uint32_t kFar = 0x70000000;
  const struct {
    const char* name;
    std::uint32_t offset, length;
    std::uint16_t set;
    bool sound;
  } cases[] = {
      {"sound", 4, 2, 3, true},          {"a string far away", kFar, 2, 3, false},
      {"a cut length", 7, 2, 3, false},  {"a string longer than all", 4, kFar, 3, false},
      {"one byte more", 4, 3, 3, false}, {"a set far away", 4, 2, 0x7000, false},
  };
  for (const auto& c : cases) {
    MemoryFiles files;
    auto database = NodeDatabase::Create(files, kPath);
    STORE_OK(database);
    std::array<std::byte, 16> set{};
    std::array<std::byte, 8> entry{};
    std::array<std::byte, 10> strings{};
    StoreU32(entry, 0, c.offset);
    StoreU16(entry, 4, static_cast<std::uint16_t>(c.set << 1 | 1));
    StoreU32(strings, 4, c.length);
    strings[8] = std::byte{'x'};
    PropertyList map;
    map.SetInt32(PropTag(0x00010003), 251);
    map.SetBytes(PropTag(0x00020102), set);
    map.SetBytes(PropTag(0x00030102), entry);
    map.SetBytes(PropTag(0x00040102), strings);
    auto written = WritePropertyContext(**database, map);
    STORE_OK(written);
    STORE_OK((*database)->PutNode({kNidNameToIdMap, written->data, written->subnodes, NodeId()}));
    auto names = NameMap::Load(**database);
    STORE_OK(names);
    EXPECT_EQ(names->NameOf(0x8000).ok(), c.sound) << c.name;
  }
}

struct StoreDamage : StoreTest {
  MemoryFiles memory;
  Bytes pristine;

  // A small store with something of everything.
  void SetUp() override {
    auto created = PstStore::Create(memory, kPath, {.displayName = u"Damage"});
    STORE_OK(created);
    store = std::move(*created);
    const NodeId inbox = Folder(u"Inbox");
    for (int i = 0; i < 60; ++i) {
      std::vector<StoredAttachment> attachments;
      if (i % 20 == 0) attachments.push_back(Attachment(u"a.bin", std::string(20'000, 'x')));
      if (i % 30 == 0) {
        attachments.push_back(*store->WriteAttachment({}, Write(Message(u"inner", u"text"))));
      }
      Insert(inbox, Write(Message(std::u16string(i == 5 ? 5000 : 40, u's'),
                                  std::u16string(i == 7 ? 30'000 : 300, u'b')),
                          {Recipient(u"Ann", u"ann@example.com")}, std::move(attachments)));
    }
    STORE_OK(store->Close());
    store.reset();
    pristine = memory[kPath];
  }
  void TearDown() override { store.reset(); }

  // Whether the store opened; whatever it holds is read, and then added to.
  bool Use(bool append) {
    auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite);
    if (!opened.ok()) return false;
    StoreWalker(**opened).Walk();
    if (append) {
      auto folder = (*opened)->FindFolder((*opened)->ipmSubtree(), u"Inbox");
      if (folder.ok()) {
        auto message = (*opened)->WriteMessage(Message(u"x", u"y"), ListRowSource({}), {});
        if (message.ok()) (void)(*opened)->InsertMessage(*folder, std::move(*message));
      }
      (void)(*opened)->CreateFolder((*opened)->ipmSubtree(), u"More");
      (void)(*opened)->Close();
    }
    return true;
  }
};

// Neither opening nor the first page of a folder depends on how much the file holds.
TEST_F(StoreDamage, OpeningCostsAFewPages) {
  std::uint64_t costs[2];
  for (std::uint64_t& cost : costs) {
    auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite);
    STORE_OK(opened);
    store = std::move(*opened);
    auto inbox = store->FindFolder(store->ipmSubtree(), u"Inbox");
    STORE_OK(inbox);
    for (int i = 0; i < 3000; ++i) Insert(*inbox, Message(u"one of many", u"text"));
    STORE_OK(store->Close());
    memory.bytesRead = 0;
    opened = PstStore::Open(memory, kPath, StoreOpenMode::kRead);
    STORE_OK(opened);
    cost = memory.bytesRead;
    STORE_OK((*opened)->OpenContentsTable(*inbox));
    EXPECT_LT(memory.bytesRead, 64u << 10);
  }
  EXPECT_LT(costs[0], 16u << 10);
  EXPECT_LE(costs[1], costs[0] + 4 * 512) << "at most a page more for each tree that grew";
}

// Damage below the check sums: the blocks of heaps and tables hold nonsense that is whole.
TEST_F(StoreDamage, NonsenseInHeapsIsSurvived) {
  std::mt19937 random(3);
  for (int round = 0; round < 250; ++round) {
    memory[kPath] = pristine;
    auto database = NodeDatabase::Open(memory, kPath, OpenMode::kReadWrite);
    STORE_OK(database);
    std::vector<NodeRecord> nodes;
    for (const auto& [nid, node] : Inspection(memory, kPath).nodes) {
      if (node.data) nodes.push_back(node);
    }
    NodeRecord victim = nodes[random() % nodes.size()];
    const bool below = victim.sub && random() % 2 == 0;
    SubnodeEntry entry;
    if (below) {
      auto tree = SubnodeTree::Open(**database, victim.sub);
      auto entries = tree->Entries();
      STORE_OK(entries);
      entry = (*entries)[random() % entries->size()];
    }
    const BlockId root = below ? entry.data : victim.data;
    auto tree = DataTree::Open(**database, root);
    STORE_OK(tree);
    auto bytes = tree->ReadAll();
    STORE_OK(bytes);
    for (std::size_t i = 0; i < 1 + random() % 3 && !bytes->empty(); ++i) {
      const std::size_t at =
          random() % std::min<std::size_t>(bytes->size(), random() % 2 == 0 ? 64 : bytes->size());
      (*bytes)[at] = static_cast<std::byte>(random());
    }
    DataTreeWriter writer(**database);
    STORE_OK(writer.Append(*bytes));
    auto written = writer.Finish();
    STORE_OK(written);
    if (below) {
      auto editor = SubnodeTreeEditor::Open(**database, victim.sub);
      STORE_OK(editor);
      STORE_OK(editor->Put({entry.nid, *written, entry.sub}));
      victim.sub = *editor->Flush();
    } else {
      victim.data = *written;
    }
    STORE_OK((*database)->PutNode(victim));
    STORE_OK((*database)->Close());
    Use(round % 2 == 0);
  }
}

// A table that cannot be read on may be met in the middle of a change, half of which must not be
// committed then.
TEST_F(StoreDamage, WhatBreaksOffInTheMiddleIsGivenUp) {
  auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite);
  STORE_OK(opened);
  store = std::move(*opened);
  const NodeId inbox = *store->FindFolder(store->ipmSubtree(), u"Inbox");
  std::vector<NodeId> nodes;
  for (int i = 0; i < 300; ++i) nodes.push_back(Insert(inbox, Message(u"one of many", u"text")));
  STORE_OK(store->Close());
  const Bytes whole = memory[kPath];
  std::size_t brokenOff = 0;
  for (std::size_t page = 1, pages = 3; page + 1 < pages; ++page) {
    store.reset();
    memory[kPath] = whole;
    auto database = NodeDatabase::Open(memory, kPath, OpenMode::kReadWrite);
    STORE_OK(database);
    NodeRecord table = **(*database)->FindNode(inbox.Sibling(NodeKind::kContentsTable));
    auto bytes = DataTree::Open(**database, table.data)->ReadAll();
    STORE_OK(bytes);
    pages = bytes->size() / kMaximumBlockData + 1;
    (*bytes)[page * kMaximumBlockData + 1] = std::byte{0xFF};  // where the page's map is
    DataTreeWriter writer(**database);
    STORE_OK(writer.Append(*bytes));
    table.data = *writer.Finish();
    STORE_OK((*database)->PutNode(table));
    STORE_OK((*database)->Close());

    opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite);
    STORE_OK(opened);
    store = std::move(*opened);
    platform::Status status;
    for (std::size_t i = 0; i < nodes.size() && status.ok(); ++i) {
      status = store->DeleteMessage(nodes[i]);
    }
    EXPECT_EQ(status.code(), StatusCode::kCorrupt);
    if (store->status().ok()) continue;  // nothing was changed yet
    ++brokenOff;
    EXPECT_EQ(store->Close().code(), StatusCode::kCorrupt);
    opened = PstStore::Open(memory, kPath, StoreOpenMode::kRead);
    STORE_OK(opened);
    store = std::move(*opened);
    for (const NodeId node : nodes) STORE_OK(store->OpenMessage(node));
  }
  EXPECT_GT(brokenOff, 0u);
}

// ---- Failing disks -----------------------------------------------------------------------------

TEST_F(StoreDamage, AFullDiskKeepsWhatWasComplete) {
  for (const std::uint64_t extra : {300u, 900u, 901u, 2000u, 5000u}) {
    memory[kPath] = pristine;
    // A full disk, or a limit on the file.
    const bool limited = extra % 2 != 0;
    StoreOptions options;
    (limited ? options.sizeLimit : memory.diskSize) = pristine.size() + extra * 1024;
    auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite, options);
    STORE_OK(opened);
    store = std::move(*opened);
    auto inbox = store->FindFolder(store->ipmSubtree(), u"Inbox");
    STORE_OK(inbox);
    std::size_t accepted = 0;
    StatusCode failure = StatusCode::kOk;
    for (int i = 0; i < 5000 && failure == StatusCode::kOk; ++i) {
      auto message =
          store->WriteMessage(Message(u"more", std::u16string(2000, u'm')), ListRowSource({}), {});
      auto node = message.ok() ? store->InsertMessage(*inbox, std::move(*message))
                               : platform::Result<NodeId>(message.status());
      if (node.ok()) {
        ++accepted;
      } else {
        failure = node.status().code();
      }
    }
    EXPECT_EQ(failure, StatusCode::kDiskFull);
    EXPECT_EQ(store->status().code(), StatusCode::kDiskFull);
    EXPECT_EQ(store->database().sizeLimitReached(), limited);
    EXPECT_EQ(store->CreateFolder(store->ipmSubtree(), u"no").status().code(),
              StatusCode::kDiskFull);
    EXPECT_EQ(store->statistics().messagesSaved, accepted);
    EXPECT_EQ(store->statistics().messagesCommitted, accepted);
    EXPECT_EQ(store->Close().code(), StatusCode::kDiskFull);
    memory.diskSize = UINT64_MAX;
    auto again = PstStore::Open(memory, kPath, StoreOpenMode::kRead);
    STORE_OK(again);
    EXPECT_EQ((*again)->CountsOf(*inbox)->messages, 60 + accepted);
    const WalkResult walk = StoreWalker(**again).Walk();
    EXPECT_EQ(walk.failures, 0u) << walk.firstFailure;
    EXPECT_EQ(walk.differences, 0u);
    store = std::move(*again);
  }
}

// A read that fails may be met in the middle of a change, half of which must not be committed: not
// by the next commit, nor by Close.
TEST_F(StoreDamage, EveryFailingReadKeepsWholeCommits) {
  std::size_t failures = 0;
  for (std::size_t n = 1; n < 1000; ++n) {
    SCOPED_TRACE(n);
    memory[kPath] = pristine;
    memory.failRead = n;
    StatusCode result = StatusCode::kOk;
    if (auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite); opened.ok()) {
      PstStore& mail = **opened;
      auto inbox = mail.FindFolder(mail.ipmSubtree(), u"Inbox");
      (void)mail.CreateFolder(mail.ipmSubtree(), u"More");
      for (int i = 0; i < 6 && inbox.ok(); ++i) {
        auto message = mail.WriteMessage(Message(u"more", u"text"), ListRowSource({}), {});
        if (message.ok()) (void)mail.InsertMessage(*inbox, std::move(*message));
        if (i % 3 == 2) (void)mail.Commit();
      }
      result = mail.Close().code();
    } else {
      result = opened.status().code();
    }
    if (memory.failRead != 0) break;  // there are fewer reads
    failures += result != StatusCode::kOk ? 1 : 0;
    Findings found;
    const auto checked = CheckFile(memory, kPath, {.acceptUnclosed = true}, found);
    STORE_OK(checked);
    ASSERT_EQ(found.text, "");
  }
  EXPECT_EQ(memory.failRead == 0, false) << "not all reads were tried";
  EXPECT_GT(failures, 20u);
}

TEST_F(StoreDamage, WhatOutlivesTheStoresCloseIsHarmless) {
  auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite);
  STORE_OK(opened);
  store = std::move(*opened);
  auto inbox = store->FindFolder(store->ipmSubtree(), u"Inbox");
  STORE_OK(inbox);
  auto table = store->OpenContentsTable(*inbox);
  STORE_OK(table);
  STORE_OK(table->SelectRow(0));
  auto message = store->OpenMessage(NodeId(table->RowId()));
  STORE_OK(message);
  const StoredMessage written = Write(Message(u"never inserted", std::u16string(9000, u'x')));
  {
    auto value = store->NewValue(ValueWriter::Kind::kBytes);
    STORE_OK(value);
    STORE_OK(value->Append(std::vector<std::byte>(100'000)));
    STORE_OK(store->Close());
    EXPECT_FALSE(value->Append(std::vector<std::byte>(100'000)).ok());
  }
  store->Abandon(written);
  // What was read stays; what was not cannot be read any more.
  for (std::uint64_t row = 0; row < 60; ++row) (void)table->SelectRow(row);
  EXPECT_FALSE(message->AttachmentNodes().ok() && message->properties().Text(kBody).ok() &&
               table->SelectRow(59).ok() && store->OpenMessage(NodeId(table->RowId())).ok());
  auto again = PstStore::Open(memory, kPath, StoreOpenMode::kRead);
  STORE_OK(again);
  EXPECT_EQ((*again)->CountsOf(*inbox)->messages, 60u);
}

TEST_F(StoreDamage, CommitsComeByThemselves) {
  static std::uint64_t now;
  now = 0;
  memory[kPath] = pristine;
  StoreOptions options;
  options.commitMessages = 10;
  options.clock = [] { return now; };
  auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite, options);
  STORE_OK(opened);
  store = std::move(*opened);
  auto inbox = store->FindFolder(store->ipmSubtree(), u"Inbox");
  for (int i = 0; i < 25; ++i) Insert(*inbox, Message(u"x", u"y"));
  EXPECT_EQ(store->statistics().messagesCommitted, 20u);
  now += 10'000;
  EXPECT_EQ(store->statistics().messagesCommitted, 20u);
  Insert(*inbox, Message(u"x", u"y"));
  EXPECT_EQ(store->statistics().messagesCommitted, 26u);
  const std::size_t flushes = memory.flushes;
  for (int i = 0; i < 500; ++i) {
    Folder(u"Folder " + platform::Utf8ToUtf16(std::to_string(i)));
  }
  EXPECT_EQ(memory.flushes, flushes);
  STORE_OK(store->Close());
  EXPECT_EQ(store->Commit().code(), StatusCode::kClosed);
  EXPECT_EQ(store->CountsOf(*inbox).status().code(), StatusCode::kClosed);
}

}  // namespace
}  // namespace parvane::pstfile
