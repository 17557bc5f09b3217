// How mailboxes are cut where their store's user wishes it otherwise.
#include "sources/mailbox_cutting.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/mailbox_wishes.h"
#include "engine/source_observer.h"
#include "platform/text.h"
#include "sources/mbox_asset_store.h"
#include "sources/separators.h"
#include "tests/support/temporary_folder.h"

namespace parvane::sources {
namespace {

using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::MBOXAssetFolder;
using QuelmarMIMEEngineCommon::MBOXAssetStore;
using Names = std::vector<std::string>;

TEST(MboxSeparators, HaveDatesOfManyShapes) {
  const std::pair<const char*, bool> cases[] = {
      {"From a@b Tue Jan  1 00:00:00 2002", true},
      {"From - Sat Nov 06 8:49 1994 -0500", true},
      {"From ???@??? Mon, 3 Jun 2013 10:20:30", true},
      {"From a@b  Wed Jan  1 12:00:00 2025", true},
      {"From a@b Wed Jan  1 12:00:00 +0100 2025", true},
      {"From a@b Wed Jan  1 12:00:00 MET DST 2025", true},
      {"From a@b Wed, Jan  1 12:00:00 2025 (CET)", true},
      {"From a@b Wed Jan  1 12:00:00 CET 2025 remote from host", true},
      {"From ann at b  Wed Jan  1 12:00:00 2025", true},
      {"From \"odd name\"@b Wed Jan  1 12:00:00 25", true},
      {"From Wed Jan  1 12:00:00 2025", true},
      {"From the start, I said 10:30", false},
      {"From Monday to Friday", false},
      {"From Monday at 10:30 sat and waited", false},
      {"From a@b Wed Jan  1 12:00:00 2025 is how a line begins.", false},
      {"From a@b Wed Jan  1 12:00:00", false},
      {"From a@b Wed Jan one 12:00:00 2025", false},
      {"From a@b 12:00:00 2025", false},
      {"From ", false},
      {"To Tue Jan 1 00:00:00 2002", false},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(SeparatorHasDate(line), expected) << line;
}

class Observer : public engine::SourceObserver {
 public:
  void MessageNamed(const engine::MessageLocation&, std::string_view id) override {
    names.emplace_back(id.substr(1, id.find('\r') - 1));
  }
  void SeparatorSuspected(const IAssetFolder&, const engine::SuspectedSeparator& one) override {
    suspects.emplace_back(static_cast<int>(one.reason), one.textByStrictRule);
  }
  void BeginningPassedOver(const IAssetFolder&, std::uint64_t bytes, bool text) override {
    beginnings.emplace_back(bytes, text);
  }

  Names names;
  std::vector<std::pair<int, bool>> suspects;
  std::vector<std::pair<std::uint64_t, bool>> beginnings;
};

class MailboxCutting : public testing::Test {
 protected:
  // The Message-IDs of a mailbox's messages.
  Names Read(const std::string& file, engine::MailboxWishes wishes) {
    observer = {};
    MBOXAssetStore store(disk.Write("f.mbox", file), std::nullopt);
    engine::ObserveSource(store, &observer);
    engine::CutMailboxes(store, &wishes);
    store.OpenStore(nullptr, nullptr, false, nullptr);
    for (IAssetFolder* folder : store.GetStoreRootFolder()->GetSubFolders()) {
      int items = 0;
      while (folder->QueryAsset()) ++items;
      EXPECT_EQ(static_cast<std::size_t>(items), observer.names.size()) << "each has a name here";
    }
    return observer.names;
  }

  TemporaryFolder disk;
  Observer observer;
};

const std::string kFrom = "From a@b Wed Jan  1 12:00:00 2025\n";
const std::string kPatch =
    "From 0123456789abcdef0123456789abcdef01234567 Mon Sep 17 00:00:00 2001\n";

std::string Message(const std::string& id, const std::string& body = "Text.\n") {
  return "Message-ID: " + id + "\n" + "X: y\n\n" + body;
}

TEST_F(MailboxCutting, ByTheStrictRuleTakesMoreThanFiveBytes) {
  const std::string quoted = "\n" + kFrom + "Message-ID: not\n\nstill the first\n";
  const std::string length = "Content-Length: ";
  const struct {
    const char* name;
    std::string file;
    Names names;
  } cases[] = {
      {"all three signs", kFrom + Message("1") + "\n" + kFrom + Message("2"), {"1", "2"}},
      {"no empty line", kFrom + Message("1") + kFrom + Message("2"), {"1", "2"}},
      {"no date", "From x\n" + Message("1") + "\nFrom y\n" + Message("2"), {"1", "2"}},
      {"bare, before a field alone",
       "From \r\n" + Message("1") + "From \r\n" + Message("2", "a\n\nFrom \nno field\n"),
       {"1", "2"}},
      {"text", kFrom + Message("1", "From here\nwe see\n\nFrom there:\n\nX: y\n"), {"1"}},
      {"a date alone", kFrom + Message("1", "Text\n" + kFrom + "is a line.\n"), {"1"}},
      {"one candidate behind another",
       kFrom + Message("1") + "\n" + kFrom + kFrom + Message("2"),
       {"1", "2"}},
      {"a patch",
       kFrom + Message("1", "See:\n\n" + kPatch + "From: x\n") + "\n" + kFrom + Message("2"),
       {"1", "2"}},
      {"patches", kPatch + Message("1") + "\n" + kPatch + Message("2"), {"1", "2"}},
      {"quoted mail",
       kFrom + Message("1", "Ann wrote:\n\nFrom ann\nDate: today\n") + "\n" + kFrom + Message("2"),
       {"1", "2"}},
      {"a length that proves right",
       kFrom + length + std::to_string(quoted.size() + 1) + "\n" + Message("1", "x" + quoted) +
           "\n" + kFrom + Message("2"),
       {"1", "2"}},
      {"the same at the end of the file",
       kFrom + length + std::to_string(quoted.size() + 1) + "\n" + Message("1", "x" + quoted),
       {"1"}},
      {"a length that does not",
       kFrom + length + "9\n" + Message("1") + "\n" + kFrom + Message("2"),
       {"1", "2"}},
      {"a huge one",
       kFrom + length + "18446744073709551615\n" + Message("1") + "\n" + kFrom + Message("2"),
       {"1", "2"}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(Read(test.file, {engine::SeparatorRule::kStrict, false}), test.names);
  }
  EXPECT_EQ(Read(kFrom + Message("1", "a\n" + kFrom + "is a line.\n"),
                 {engine::SeparatorRule::kStrict, false}),
            (Names{"1"}));
  const int asText = static_cast<int>(engine::SuspiciousSeparatorReason::kTakenAsText);
  EXPECT_EQ(observer.suspects, (std::vector<std::pair<int, bool>>{{asText, true}}));
}

TEST_F(MailboxCutting, ByTheStandardRuleTellsWhatTheStrictOneWouldDo) {
  using engine::SuspiciousSeparatorReason;
  Read(kFrom + Message("1") + "\nFrom x\n" + Message("2") + kFrom + Message("3") + "\n" + kPatch +
           Message("4") + "\nFrom z\nno field\nMessage-ID: 5\n" + kFrom + kFrom + Message("6"),
       {});
  std::vector<std::pair<int, bool>> expected;
  for (const auto& [reason, text] :
       {std::pair(SuspiciousSeparatorReason::kNoDate, false),
        std::pair(SuspiciousSeparatorReason::kNoEmptyLineBefore, false),
        std::pair(SuspiciousSeparatorReason::kPatch, true),
        std::pair(SuspiciousSeparatorReason::kNoDate, true),
        std::pair(SuspiciousSeparatorReason::kNoEmptyLineBefore, true)})
    expected.emplace_back(static_cast<int>(reason), text);
  EXPECT_EQ(observer.suspects, expected);
}

TEST_F(MailboxCutting, BeginsAtTheFirstSeparatorWhereThatIsWished) {
  const std::string mail = kFrom + Message("1") + "\n" + kFrom + Message("2");
  const std::string four = "\x01\x01\x01\x01\n";
  using Beginnings = std::vector<std::pair<std::uint64_t, bool>>;
  const struct {
    const char* name;
    std::string file;
    Names names;
    Beginnings beginnings;
  } cases[] = {
      {"a mark", "\xEF\xBB\xBF" + mail, {"1", "2"}, {{3, false}}},
      {"blank lines", "\r\n\n" + mail, {"1", "2"}, {{3, false}}},
      {"text", "half a message\n\n" + mail, {"1", "2"}, {{16, true}}},
      {"MMDF",
       four + Message("1") + four + four + kFrom + Message("2", "From x\n") + four,
       {"1", "2"},
       {}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(Read(test.file, {engine::SeparatorRule::kStandard, true}), test.names);
    EXPECT_EQ(observer.beginnings, test.beginnings);
    EXPECT_EQ(Read(test.file, {engine::SeparatorRule::kStrict, true}), test.names);
  }
}

}  // namespace
}  // namespace parvane::sources
