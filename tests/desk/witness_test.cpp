// The account of a conversion, told by hand what the engine and the MAPI would tell it.
#include "desk/witness.h"

#include <gtest/gtest.h>

#include "desk/report.h"
#include "engine/asset_bases.h"
#include "mapi/diagnostics_recorder.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace parvane::desk {
namespace {

using QuelmarMIMEEngineCommon::AssetFolderBase;

struct Sibling : AssetFolderBase {
  explicit Sibling(const char16_t* name, AssetFolderBase* parent = nullptr)
      : AssetFolderBase(0, std::u16string(name), std::nullopt, nullptr, parent) {}
  std::int64_t QueryTotalAssetUnits() override { return 0; }
  void PrepareContent() override {}
  void ResetQuery() override {}
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetQueryResult> QueryAsset() override { return {}; }
};

struct WitnessTest : ::testing::Test {
  ConversionRecord record;
  Logs logs;
  RunObserver nobody;
  std::shared_ptr<mapi::StoreDiagnostics> shared = std::make_shared<mapi::StoreDiagnostics>();
  mapi::StoreDiagnostics& pst = *shared;
  std::unique_ptr<PstAccount> account = BuiltinAccount(u"x.pst", shared);
  Witness witness{record, logs, nobody};
  std::int64_t items = 0;

  void SetUp() override {
    record.folders.push_back({{u"Mail", u"Inbox"}, u"Inbox.mbox"});
    witness.Watch(*account);
    witness.BeginCopying();
    witness.BeginFolder(0);
  }
  void Read() { witness.MessageRead({nullptr, items++, 0, 100}); }
  void Save() {
    ++pst.messagesSaved;
    EXPECT_FALSE(witness.Cancel());
  }
};

TEST_F(WitnessTest, NamesAFailedMessageByWhatOfItsIdCanBeShown) {
  Read();
  witness.MessageNamed({}, "\r\n\t<a\x1b@\r\n b\xE9>\r\n");
  EXPECT_FALSE(witness.Cancel());
  Read();
  EXPECT_FALSE(witness.Cancel());
  ASSERT_EQ(record.failures.entries.size(), 2u);
  EXPECT_EQ(record.failures.entries[0].messageId, "<a@b>");
  EXPECT_EQ(record.failures.entries[1].messageId, "") << "the name of another message";
}

TEST_F(WitnessTest, SplitsTheAccountOfAFolderThatGoesOnInAnother) {
  Read();
  Save();
  for (const char16_t* next : {u"Inbox (2)", u"Inbox (3)"}) {
    Read();
    // The message in hand is the first that did not fit.
    witness.FolderContinued(Sibling(u"Inbox"), Sibling(next));
    Save();
    Read();
    Save();
  }
  pst.messagesCommitted = pst.messagesSaved;
  EXPECT_TRUE(witness.Settle());
  const std::vector<std::u16string> names = {u"Inbox", u"Inbox (2)", u"Inbox (3)"};
  ASSERT_EQ(record.folders.size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    const FolderAccount& folder = record.folders[i];
    EXPECT_EQ(folder.path, (std::vector<std::u16string>{u"Mail", names[i]}));
    EXPECT_EQ(folder.sourcePath, u"Inbox.mbox");
    EXPECT_EQ(folder.read, i == 0 ? 1u : 2u);
    EXPECT_EQ(folder.written, folder.read);
    EXPECT_EQ(folder.bytes, 100 * folder.read);
  }
  std::string report;
  Report(record, [&](std::string_view text) { report += text; });
  EXPECT_NE(report.find("\"continuedFolders\": [\n    {\n      \"path\": [\n"), std::string::npos);
  EXPECT_NE(Summary(record).find("Mail / Inbox (2): its mail goes on in Mail / Inbox (3)"),
            std::string::npos);
}

TEST_F(WitnessTest, TellsWhatAMessageWasWrittenWithout) {
  const auto convert = [&](std::vector<mapi::Refusal> refusals) {
    Read();
    engine::ConversionNotes notes;
    notes.refusals = std::move(refusals);
    notes.unconvertedParts.push_back({"text/x", u"part", 1});
    witness.MessageConverted({}, true, notes);
  };
  mapi::RecordFailure(&pst, mapi::MAPI_E_TOO_BIG, "x.pst: of an earlier call");
  convert({});
  Save();
  convert({{mapi::PR_ATTACH_DATA_BIN, mapi::MAPI_E_TOO_BIG, u"a.zip"}});
  mapi::RecordFailure(&pst, mapi::MAPI_E_TOO_BIG, "x.pst: an attachment of 2 GiB or more");
  Save();
  convert({{mapi::PR_SUBJECT_W, mapi::MAPI_E_NO_ACCESS, {}},
           {mapi::PR_MESSAGE_RECIPIENTS, mapi::E_FAIL, {}, 1'200}});
  Save();
  convert({});
  mapi::RecordFailure(&pst, mapi::MAPI_E_TOO_BIG, "x.pst: noted by nobody else");
  Save();
  convert({{mapi::PR_SUBJECT_W, mapi::MAPI_E_NO_ACCESS, {}}});  // and is not saved
  mapi::RecordFailure(&pst, mapi::MAPI_E_TOO_BIG, "x.pst: a message of 2 GiB or more");
  EXPECT_FALSE(witness.Cancel());
  pst.messagesCommitted = pst.messagesSaved;
  EXPECT_TRUE(witness.Settle());
  EXPECT_EQ(record.Written(), 4u);
  EXPECT_EQ(record.leftOutParts.total, 5u);
  EXPECT_EQ(Outcome(record), ExitCode::kMailLeftBehind);
  ASSERT_EQ(record.failures.entries.size(), 1u);
  EXPECT_EQ(ReasonText(record.failures.entries[0]),
            "could not be saved: x.pst: a message of 2 GiB or more");
  std::vector<std::string> told;
  for (const MessageRemark& entry : record.RemarksOf(engine::RemarkKind::kRefused).entries)
    told.push_back(Words(record, entry).detail);
  EXPECT_EQ(told,
            (std::vector<std::string>{
                "data of an attachment (0x37010102) of \"a.zip\": x.pst: an attachment of 2 "
                "GiB or more",
                "subject (0x0037001F): 0x80070005, no access",
                "recipient (0x0E12000D): 0x80004005, 1,200 times", "x.pst: noted by nobody else"}));
}

TEST_F(WitnessTest, TellsWhatAFolderWasMadeWithout) {
  Sibling top(u"Personal Folders"), mail(u"Mail", &top), inbox(u"Inbox", &mail);
  witness.FolderRefused(inbox, {{mapi::PR_CONTAINER_CLASS_W, mapi::MAPI_E_NO_ACCESS, {}}});
  EXPECT_TRUE(witness.Settle());
  EXPECT_EQ(Outcome(record), ExitCode::kMailLeftBehind);
  ASSERT_EQ(record.folderRefusals.total, 1u);
  EXPECT_EQ(Describe(record, record.folderRefusals.entries[0]),
            "Mail / Inbox: kind of folder (0x3613001F): 0x80070005, no access");
}

TEST_F(WitnessTest, ClaimsNothingThatDoesNotAddUp) {
  Read();
  Save();
  Read();
  EXPECT_FALSE(witness.Cancel()) << "not saved";
  Read();
  Save();
  pst.messagesCommitted = 1;
  EXPECT_TRUE(witness.Settle());
  EXPECT_EQ(record.Written(), 1u);
  EXPECT_EQ(record.Failed(), 2u) << "what was never committed has failed, too";
  pst.messagesCommitted = 2;
  EXPECT_FALSE(witness.Settle());
  EXPECT_EQ(record.errorCode, "counts-disagree");
  EXPECT_EQ(Outcome(record), ExitCode::kCouldNotFinish);
}

TEST_F(WitnessTest, LosesNoMessageOfWhichNobodySpeaksAnyMore) {
  Read();
  Read();
  Save();
  pst.messagesCommitted = 1;
  EXPECT_FALSE(witness.Settle());
  EXPECT_EQ(record.errorCode, "counts-disagree");
}

}  // namespace
}  // namespace parvane::desk
