// A store whose writer dies at any step: what was committed is there, and nothing is wrong with it.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/pstfile/crash_replay.h"
#include "tests/pstfile/store_fixture.h"

namespace parvane::pstfile {
namespace {

constexpr char16_t kPath[] = u"mail.pst";
// No commits but those asked for, however slow the machine.
constexpr StoreOptions kOptions{.commitMilliseconds = UINT32_MAX};

class StoreCrash : public StoreTest {
 protected:
  MemoryFiles memory;

  // Folders and messages of the last commit, and how many steps it took.
  struct Committed {
    std::size_t steps;
    std::uint64_t folders, messages;
    friend bool operator==(const Committed& a, const CheckSummary& b) {
      return a.folders == b.folders && a.messages == b.messages;
    }
  };
  std::vector<Committed> commits;
  std::uint64_t folders = 0, messages = 0;

  void Commit() {
    STORE_OK(store->Commit());
    commits.push_back({memory.steps.size(), folders, messages});
  }
  void Reopen() {
    STORE_OK(store->Close());
    commits.push_back({memory.steps.size(), folders, messages});
    auto opened = PstStore::Open(memory, kPath, StoreOpenMode::kReadWrite, kOptions);
    STORE_OK(opened);
    store = std::move(*opened);
  }

  // Mail arrives in old and new folders, some changes, some goes.
  void Session() {
    NodeId inbox = Folder(u"Inbox"), changing;
    ++folders;
    for (int round = 0; round < 8; ++round) {
      const NodeId folder =
          round % 3 == 0
              ? Folder(inbox, u"Round " + std::u16string(static_cast<std::size_t>(round), u'i'))
              : inbox;
      folders += round % 3 == 0 ? 1 : 0;
      for (int i = 0; i < 12; ++i) {
        std::vector<StoredAttachment> attachments;
        if (i % 4 == 1) attachments.push_back(Attachment(u"data.bin", std::string(9'000, 'x')));
        const NodeId node =
            Insert(folder, Write(Message(u"message", std::u16string(900, u'b')),
                                 {Recipient(u"Ada", u"a@x.org")}, std::move(attachments)));
        ++messages;
        if (i == 3) changing = node;
      }
      STORE_OK(store->ReplaceMessage(changing, Write(Message(u"changed", u"text"))));
      if (round % 2 == 1) {
        STORE_OK(store->DeleteMessage(changing));
        --messages;
      }
      Commit();
      if (round == 4) Reopen();
    }
    Reopen();
    STORE_OK(store->Close());
    store.reset();
  }

  std::string Check(MemoryFiles& disk, bool acceptUnclosed, CheckSummary& summary) {
    Findings findings;
    const auto checked = CheckFile(disk, kPath, {.acceptUnclosed = acceptUnclosed}, findings);
    if (!checked.ok()) return checked.status().message();
    summary = *checked;
    return findings.text;
  }
};

TEST_F(StoreCrash, EveryStepLeavesASoundStoreWithTheLastCommit) {
  auto created = PstStore::Create(memory, kPath, {.displayName = u"Crash", .store = kOptions});
  STORE_OK(created);
  store = std::move(*created);
  STORE_OK(store->Commit());
  const Bytes start = memory[kPath];
  folders = 4;
  commits.push_back({0, folders, 0});
  memory.recording = true;
  Session();

  std::size_t last = 0;
  const auto judge = [&](const Crash& crash, Bytes file) {
    SCOPED_TRACE("step " + std::to_string(crash.step) + " variant " +
                 std::to_string(crash.variant));
    while (last + 1 < commits.size() && commits[last + 1].steps <= crash.step) ++last;
    MemoryFiles after;
    after[kPath] = std::move(file);
    CheckSummary summary;
    ASSERT_EQ(Check(after, true, summary), "");
    ASSERT_TRUE(commits[last] == summary ||
                (last + 1 < commits.size() && commits[last + 1] == summary))
        << summary.messages << " messages in " << summary.folders << " folders";
    if ((crash.step + crash.variant) % 4 != 0) return;
    // The next writer takes the file over.
    auto opened = PstStore::Open(after, kPath, StoreOpenMode::kReadWrite);
    STORE_OK(opened);
    store = std::move(*opened);
    Insert(Folder(u"Afterwards"), Message(u"one more", u"text"));
    STORE_OK(store->Close());
    store.reset();
    CheckSummary whole;
    ASSERT_EQ(Check(after, false, whole), "");
    ASSERT_EQ(whole.messages, summary.messages + 1);
  };
  EXPECT_GT(ReplayCrashes(start, memory.steps, judge), 300U);
}

}  // namespace
}  // namespace parvane::pstfile
