// Crashes at every step of several sessions, and failures of every write and flush.
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pstfile/ndb/node_database.h"
#include "tests/pstfile/crash_replay.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

using platform::Status;
using platform::StatusCode;
using ::testing::IsEmpty;

constexpr char16_t kPath[] = u"mail.pst";

// What a file should hold: for each node the size and seed of its data.
using State = std::map<std::uint32_t, std::pair<std::size_t, std::uint64_t>>;

Status Put(NodeDatabase& db, State& state, std::uint32_t nid, std::size_t size,
           std::uint64_t seed) {
  DataTreeWriter writer(db);
  if (Status s = writer.Append(Pattern(size, seed)); !s.ok()) return s;
  auto root = writer.Finish();
  if (!root.ok()) return root.status();
  if (Status s = db.PutNode({NodeId(nid), *root, {}, {}}); !s.ok()) {
    db.AbandonBlock(*root);
    return s;
  }
  state[nid] = {size, seed};
  return {};
}

constexpr std::uint32_t kNodes = 60;
NodeId Node(std::uint32_t i) { return NodeId(i << 5 | 4); }

// "" when of those that tests use exactly the nodes of `state` are there, with their data.
std::string Difference(const NodeDatabase& db, const State& state) {
  for (std::uint32_t i = 1; i <= kNodes; ++i) {
    const auto node = db.FindNode(Node(i));
    if (!node.ok()) return node.status().message();
    if (node->has_value() != state.contains(Node(i).value)) return "node " + ToString(Node(i));
  }
  for (const auto& [nid, want] : state) {
    const auto node = db.FindNode(NodeId(nid));
    auto tree = DataTree::Open(db, node.ok() && *node ? (*node)->data : BlockId());
    if (!tree.ok()) return tree.status().message();
    auto bytes = tree->ReadAll();
    if (!bytes.ok()) return bytes.status().message();
    if (*bytes != Pattern(want.first, want.second)) return "data of node " + ToString(NodeId(nid));
  }
  return "";
}

// Sessions with additions, replacements, deletions, growth, reopening and closing. Calls
// `committed(state)` after every successful commit and close; stops at the first failure.
template <typename Committed>
Status RunSessions(MemoryFiles& files, State& state, std::size_t largest,
                   const Committed& committed) {
  std::mt19937 random(3);
  for (int session = 0; session < 3; ++session) {
    OpenOptions options;
    if (session == 2) options.examinedSize = 0;  // as if it were large
    auto db = NodeDatabase::Open(files, kPath, OpenMode::kReadWrite, options);
    if (!db.ok()) return db.status();
    for (int transaction = 0; transaction < 4; ++transaction) {
      for (int i = 0; i < 12; ++i) {
        const std::uint32_t nid = Node(random() % kNodes + 1).value;
        if (random() % 4 == 0 && state.contains(nid)) {
          if (Status s = (*db)->DeleteNode(NodeId(nid)); !s.ok()) return s;
          state.erase(nid);
        } else {
          // Once a value for which the file has to grow within the transaction.
          const bool large = session == 1 && transaction == 2 && i == 5;
          const std::size_t size = large ? largest : random() % 3000 + 1;
          if (Status s = Put(**db, state, nid, size, random()); !s.ok()) return s;
          if (large) {
            if (Status s = (*db)->DeleteNode(NodeId(nid)); !s.ok()) return s;
            state.erase(nid);
          }
        }
      }
      if (Status s = (*db)->Commit(); !s.ok()) return s;
      committed(state);
    }
    // The second session ends as a crash would: without Close.
    if (session == 1) continue;
    if (Status s = (*db)->Close(); !s.ok()) return s;
    committed(state);
  }
  return {};
}

void StartFile(MemoryFiles& files, State& state) {
  auto db = NodeDatabase::Create(files, kPath);
  ASSERT_OK(db);
  for (std::uint32_t i = 1; i <= 40; ++i) ASSERT_OK(Put(**db, state, i << 5 | 4, 100 * i, i));
  ASSERT_OK((*db)->Publish());
}

TEST(CrashTest, EveryStepLeavesTheLastCommitOrTheNext) {
  MemoryFiles files;
  State state;
  StartFile(files, state);
  const Bytes start = files[kPath];
  files.recording = true;
  std::vector<std::pair<std::size_t, State>> commits{{0, state}};
  ASSERT_OK(RunSessions(files, state, 5'000'000,
                        [&](const State& s) { commits.emplace_back(files.steps.size(), s); }));

  std::size_t next = 0, torn = 0;
  const auto judge = [&](const Crash& crash, Bytes file) {
    SCOPED_TRACE("step " + std::to_string(crash.step) + " variant " +
                 std::to_string(crash.variant));
    while (next + 1 < commits.size() && commits[next + 1].first <= crash.step) ++next;
    MemoryFiles after;
    after[kPath] = std::move(file);
    torn += FileHeader::CheckFullCrc(std::span(after[kPath]).first<kHeaderSize>()).ok() ? 0 : 1;
    auto db = NodeDatabase::Open(after, kPath, OpenMode::kReadWrite);
    ASSERT_OK(db);
    State found = commits[next].second;
    std::string difference = Difference(**db, found);
    if (!difference.empty() && next + 1 < commits.size()) {
      found = commits[next + 1].second;
      difference = Difference(**db, found);
    }
    ASSERT_EQ(difference, "");
    if ((crash.step + crash.variant) % 5 != 0) return;
    // And the file can be gone on with.
    ASSERT_OK(Put(**db, found, 0x999 << 5 | 4, 5000, crash.step));
    ASSERT_OK((*db)->Close());
    auto again = NodeDatabase::Open(after, kPath, OpenMode::kRead);
    ASSERT_OK(again);
    ASSERT_EQ(Difference(**again, found), "");
    ASSERT_THAT(Problems(after, kPath, true), IsEmpty());
  };
  EXPECT_GT(ReplayCrashes(start, files.steps, judge), 600U);
  EXPECT_GT(torn, 5U) << "no header was ever torn";
}

TEST(CrashTest, CreatedFileIsWholeWhenItGetsItsName) {
  MemoryFiles files;
  State state;
  files.recording = true;
  StartFile(files, state);
  Bytes durable;
  std::size_t flushed = 0;
  for (std::size_t i = 0; i < files.steps.size(); ++i) {
    const auto& step = files.steps[i];
    if (step.act == MemoryFiles::Act::kFlush) {
      for (; flushed <= i; ++flushed) MemoryFiles::Apply(files.steps[flushed], durable);
    }
    if (step.act != MemoryFiles::Act::kRename) continue;
    MemoryFiles after;
    after[kPath] = durable;
    auto db = NodeDatabase::Open(after, kPath, OpenMode::kRead);
    ASSERT_OK(db);
    EXPECT_EQ(Difference(**db, state), "");
    EXPECT_THAT(Problems(after, kPath, true), IsEmpty());
    return;
  }
  FAIL() << "never renamed";
}

TEST(CrashTest, EveryFailingReadWriteOrFlushKeepsWhatWasCommitted) {
  State first;
  MemoryFiles fresh;
  StartFile(fresh, first);
  const Bytes start = fresh[kPath];
  std::size_t failures = 0;
  for (std::size_t MemoryFiles::*fail :
       {&MemoryFiles::failRead, &MemoryFiles::failWrite, &MemoryFiles::failFlush}) {
    for (std::size_t n = 1;; ++n) {
      MemoryFiles files;
      files[kPath] = start;
      files.*fail = n;
      State state = first, committed = first;
      const Status s =
          RunSessions(files, state, 300'000, [&](const State& now) { committed = now; });
      if (s.ok()) break;  // fewer than n
      ++failures;
      ASSERT_EQ(s.code(), StatusCode::kIoError) << s.message();
      files.*fail = 0;
      auto db = NodeDatabase::Open(files, kPath, OpenMode::kReadWrite);
      ASSERT_TRUE(db.ok()) << db.status().message();
      // A failed flush may have written everything all the same.
      if (const std::string difference = Difference(**db, committed); !difference.empty()) {
        ASSERT_EQ(Difference(**db, state), "") << n << ": " << difference;
      }
      ASSERT_THAT(Problems(files, kPath, false), IsEmpty());
    }
  }
  EXPECT_GT(failures, 60U);
}

TEST(CrashTest, NothingIsAcceptedAfterAFailedFlush) {
  MemoryFiles files;
  State state;
  StartFile(files, state);
  auto db = NodeDatabase::Open(files, kPath, OpenMode::kReadWrite);
  ASSERT_OK(db);
  ASSERT_OK(Put(**db, state, 0x24, 100, 1));
  files.failFlush = 1;
  EXPECT_EQ((*db)->Commit().code(), StatusCode::kIoError);
  const std::size_t writes = files.writes, flushes = files.flushes;
  EXPECT_EQ(Put(**db, state, 0x44, 100, 1).code(), StatusCode::kIoError);
  EXPECT_EQ((*db)->DeleteNode(NodeId(0x24)).code(), StatusCode::kIoError);
  EXPECT_EQ((*db)->Commit().code(), StatusCode::kIoError);
  EXPECT_EQ((*db)->Close().code(), StatusCode::kIoError);
  EXPECT_EQ(files.writes, writes);
  EXPECT_EQ(files.flushes, flushes);
}

}  // namespace
}  // namespace parvane::pstfile
