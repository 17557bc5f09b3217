// Whole files before the checker: those it must find nothing in, those it must refuse, and those
// that end too soon.
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/path.h"
#include "tests/pstfile/ndb_memory_files.h"
#include "tests/pstfile/store_fixture.h"

namespace parvane::pstfile {
namespace {

class CheckFiles : public StoreTest {
 protected:
  // Finds nothing, not even a note, and has seen what is there.
  void ExpectClean(std::uint64_t messages, std::uint64_t attachments) {
    Findings found;
    const auto summary = CheckFile(files, path, {.notes = true}, found);
    STORE_OK(summary);
    EXPECT_EQ(found.text, "");
    EXPECT_TRUE(summary->clean());
    EXPECT_EQ(summary->messages, messages);
    EXPECT_EQ(summary->attachments, attachments);
  }
};

TEST_F(CheckFiles, ANewStoreIsClean) {
  Create();
  Close();
  ExpectClean(0, 0);
}

class CheckEncodings : public CheckFiles, public ::testing::WithParamInterface<StoreEncoding> {};
INSTANTIATE_TEST_SUITE_P(All, CheckEncodings,
                         ::testing::Values(StoreEncoding::kNone, StoreEncoding::kPermute,
                                           StoreEncoding::kCyclic));

// Every structure at a size where it has a second storey: XXBLOCK, SIBLOCK, row index, heaps of
// more than eight pages, tables whose cells are subnodes; then changed once more and appended to.
TEST_P(CheckEncodings, AStoreOfLargeStructuresIsClean) {
  Create({.displayName = u"Large", .encoding = GetParam()});
  const NodeId many = Folder(u"Many");
  for (int i = 0; i < 600; ++i) {
    Insert(many, Message(u"subject " + std::u16string(60, u's'), u"body", i % 3 == 0 ? 0 : 1));
  }
  std::vector<PropertyList> recipients;
  for (int i = 0; i < 1000; ++i) {
    recipients.push_back(Recipient(u"Someone with a name", u"someone@example.org"));
  }
  std::vector<StoredAttachment> attachments;
  for (int i = 0; i < 400; ++i) attachments.push_back(Attachment(u"a", "x"));
  attachments.push_back(Attachment(u"big", std::string(8'400'000, 'x')));
  Insert(many, Write(Message(std::u16string(3000, u'l'), u"body", 0x11), recipients,
                     std::move(attachments)));
  Close();
  ExpectClean(601, 401);

  Open();
  const NodeId kept = Insert(many, Message(u"one more", u"later"));
  const NodeId gone = Insert(many, Message(u"and another", u"later"));
  STORE_OK(store->DeleteMessage(gone));
  STORE_OK(store->ReplaceMessage(kept, Write(Message(u"one more, changed", u"later"))));
  Folder(many, u"Below");
  Close();
  ExpectClean(602, 401);
}

#ifdef PARVANE_PST_SAMPLES
TEST_F(CheckFiles, FilesByOutlookAreClean) {
  const std::u16string folder = platform::PathFromNative(PARVANE_PST_SAMPLES);
  const auto samples = files.List(folder);
  STORE_OK(samples);
  ASSERT_GE(samples->size(), 3U);
  for (const auto& sample : *samples) {
    SCOPED_TRACE(platform::PathForDisplay(sample.name));
    Findings found;
    const auto summary = CheckFile(files, platform::JoinPath(folder, sample.name), {}, found);
    STORE_OK(summary);
    EXPECT_EQ(found.text, "");
    EXPECT_GE(summary->folders, 5U);
  }
}
#endif

TEST_F(CheckFiles, AFileThatEndsTooSoonIsFound) {
  MemoryFiles memory;
  auto created = PstStore::Create(memory, u"x.pst", {.displayName = u"Short"});
  STORE_OK(created);
  store = std::move(*created);
  Insert(Folder(u"Inbox"), Message(u"subject", std::u16string(9000, u'b')));
  Close();
  const Bytes whole = memory[u"x.pst"];
  for (std::size_t size = 564; size < whole.size(); size += size < 0x9000 ? 509 : 16381) {
    SCOPED_TRACE(size);
    memory[u"x.pst"].assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    Findings found;
    const auto summary = CheckFile(memory, u"x.pst", {}, found);
    STORE_OK(summary);
    EXPECT_NE(found.text.find("file-size"), std::string::npos) << found.text;
  }
}

// However many findings of a kind there are, few are told and all are counted.
TEST_F(CheckFiles, FindingsOfAKindAreLimited) {
  MemoryFiles memory;
  auto created = PstStore::Create(memory, u"x.pst",
                                  {.displayName = u"Rows", .encoding = StoreEncoding::kNone});
  STORE_OK(created);
  store = std::move(*created);
  const NodeId inbox = Folder(u"Inbox");
  for (int i = 0; i < 20; ++i) Insert(inbox, Message(u"s", u"unmistakable body"));
  Close();
  Bytes& file = memory[u"x.pst"];
  const std::array<std::byte, 6> word{std::byte{'u'}, {}, std::byte{'n'}, {}, std::byte{'m'}, {}};
  int changed = 0;
  for (auto at = file.begin();
       (at = std::search(at, file.end(), word.begin(), word.end())) != file.end(); ++at) {
    *at ^= std::byte{1};
    ++changed;
  }
  ASSERT_EQ(changed, 20);
  Findings found;
  const auto summary = CheckFile(memory, u"x.pst", {.findingsPerCode = 3}, found);
  STORE_OK(summary);
  EXPECT_EQ(summary->counts.at("block-crc"), 20U);
  EXPECT_EQ(std::count(found.text.begin(), found.text.end(), '\n'), 3);
}

}  // namespace
}  // namespace parvane::pstfile
