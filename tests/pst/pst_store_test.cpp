// The PST as a destination, over the built-in Extended MAPI and real files.

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/properties/mapi_properties.h"
#include "engine/destination_observer.h"
#include "mapi/builtin/environment.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/diagnostics.h"
#include "mapi/options.h"
#include "platform/text.h"
#include "pst/pst_asset_store.h"
#include "pst/pst_service.h"
#include "pst/pst_store_helper.h"
#include "tests/support/mapi_reading.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using namespace mapi_reading;
using testing::ElementsAre;
using Strings = std::vector<std::string>;

constexpr ULONG kFolderComment = 0x3004001F;

std::string Utf8(std::u16string_view text) { return parvane::platform::Utf16ToUtf8(text); }

// Everything the engine tells its caller, in order, one line each.
class Front : public IProgressPresenter, public ILogger, public ICancelable {
 public:
  void CurrentTotal(std::int64_t units) override { Note("total " + std::to_string(units)); }
  void OverallTotal(std::int64_t) override { Note("overall"); }
  void IncrementCurrentBy(std::int64_t units) override { Note("+" + std::to_string(units)); }
  void CurrentProgressLabel(std::u16string_view text) override { Note("label " + Utf8(text)); }
  void OverAllFoldersLabel(std::u16string_view) override { Note("overall label"); }
  void ProgressMessage(std::u16string_view text) override { Note("message " + Utf8(text)); }
  void SourceStorePath(std::u16string_view) override { Note("path"); }
  void WriteLog(std::u16string_view text, bool brief, bool detail) override {
    Note(std::string(brief ? "B" : "") + (detail ? "D" : "") + " " + Utf8(text));
  }
  bool Cancel() override { return --itemsUntilCancel < 0; }

  Strings told;
  int itemsUntilCancel = 1000;

 private:
  void Note(const std::string& line) { told.push_back(line); }
};

// An item that sets its subject, or fails.
template <typename Interface>
class FakeAssetBase : public Interface {
 public:
  FakeAssetBase(std::u16string subject, bool succeeds)
      : _subject(std::move(subject)), _succeeds(succeeds) {
    if (!_subject.empty()) _details = _subject;
  }
  const NullableString& Details() const override { return _details; }
  bool ConvertToMAPIMessage(IMessage* message, IMAPISession* session) override {
    EXPECT_NE(session, nullptr);
    if (_subject == u"huge") WriteTooMuch(*message);
    OrvMAPIUtilities::SetPropString(message, PR_SUBJECT_W, _subject.c_str());
    return _succeeds;
  }
  void Release() override {}

 private:
  // More than the format holds; nobody looks at the results.
  static void WriteTooMuch(IMessage& message) {
    ComPointer<IStream> stream;
    message.OpenProperty(PR_HTML, &IID_IStream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                         stream.PutUnknown());
    LARGE_INTEGER end;
    end.QuadPart = std::int64_t{1} << 31;
    stream->Seek(end, STREAM_SEEK_SET, nullptr);
    stream->Write("x", 1, nullptr);
    stream->Commit(0);
  }

  std::u16string _subject;
  NullableString _details;
  bool _succeeds;
};
class FakeEmail : public FakeAssetBase<IEmailAsset> {
 public:
  using FakeAssetBase::FakeAssetBase;
  bool IsRead() const override { return false; }
  bool ConvertToMBOX(std::ostream*) override { return false; }
  bool ConvertToEML(std::ostream*) override { return false; }
};
class FakeContact : public FakeAssetBase<IContactAsset> {
 public:
  using FakeAssetBase::FakeAssetBase;
  bool ConvertToVCF(std::ostream*) override { return false; }
};
class FakeEvent : public FakeAssetBase<ICalendarEventAsset> {
 public:
  using FakeAssetBase::FakeAssetBase;
  bool ConvertToICS(std::ostream*) override { return false; }
};

// A source of such items; "!" before a subject is an item that fails, "0" no item at all.
template <typename Asset>
class FakeSource : public AssetFolderBase {
 public:
  FakeSource(AssetFolderType type, Strings items)
      : AssetFolderBase(0, u"Source", std::nullopt, nullptr, nullptr), _items(std::move(items)) {
    _folderType = type;
  }
  std::int64_t QueryTotalAssetUnits() override { return 77; }
  void PrepareContent() override {}
  void ResetQuery() override { _next = 0; }
  std::unique_ptr<IAssetQueryResult> QueryAsset() override {
    if (_next >= _items.size()) return nullptr;
    std::string item = _items[_next++];
    const auto weight = static_cast<std::int64_t>(item.size());
    if (item == "0") return std::make_unique<AssetQueryResult>(nullptr, weight);
    const bool fails = item.starts_with("!");
    auto subject = parvane::platform::Utf8ToUtf16(item.substr(fails ? 1 : 0));
    return std::make_unique<AssetQueryResult>(std::make_unique<Asset>(subject, !fails), weight);
  }

 private:
  Strings _items;
  std::size_t _next = 1000;
};

class PstStore : public testing::Test {
 protected:
  void SetUp() override {
    SelectEntryPoints(BuiltinEntryPoints());
    MAPIInitialize(nullptr);
  }
  void TearDown() override {
    store.reset();
    MAPIUninitialize();
    EXPECT_EQ(LiveObjects(), 0u) << "every reference is released";
    EXPECT_EQ(LiveBuffers(), 0u) << "every buffer is freed";
  }

  IAssetFolderMutable* OpenMutable() {
    store = std::make_unique<PSTMAPIAssetStoreMutable>(path, std::nullopt);
    EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, &front), OperationResultCode::Completed);
    return dynamic_cast<PSTMAPIAssetStoreMutable&>(*store).GetStoreRootFolderMutable();
  }

  // "name[class] (comment): subject, subject" for every folder below the top of the closed file.
  Strings Content() {
    store.reset();
    Strings lines;
    auto session = ComPointer<IMAPISession>::Attach(CreatePST(path, kTemporaryProfileName));
    auto messages = ComPointer<IMsgStore>::Attach(OpenDefaultMsgStore(session.get()));
    auto top = ComPointer<IMAPIFolder>::Attach(GetRootFolder(messages.get(), MAPI_BEST_ACCESS));
    EXPECT_TRUE(top);
    if (top) List(*top, "", lines);
    top.Reset();
    messages.Reset();
    session->Logoff(0, 0, 0);
    session.Reset();
    CleanupTempProfiles(kTemporaryProfileName);
    return lines;
  }

  const TemporaryFolder disk;
  std::u16string path = disk.Path("out.pst");
  Front front;
  std::unique_ptr<PSTMAPIAssetStore> store;

 private:
  static void List(IMAPIFolder& folder, const std::string& indent, Strings& lines) {
    ComPointer<IMAPITable> hierarchy;
    folder.GetHierarchyTable(MAPI_UNICODE, hierarchy.Put());
    for (Strings& row : Rows(*hierarchy, {PR_ENTRYID, PR_DISPLAY_NAME_W})) {
      if (row[1] == "Deleted Items") continue;  // every file has it
      ComPointer<IMAPIFolder> child;
      ULONG type = 0;
      folder.OpenEntry(static_cast<ULONG>(row[0].size()), reinterpret_cast<ENTRYID*>(row[0].data()),
                       nullptr, 0, &type, child.PutUnknown());
      ASSERT_TRUE(child);
      std::string line = indent + row[1] + "[" +
                         Text(*child, PR_CONTAINER_CLASS_W).value_or("none") + "] (" +
                         Text(*child, kFolderComment).value_or("none") + "):";
      ComPointer<IMAPITable> contents;
      child->GetContentsTable(MAPI_UNICODE, contents.Put());
      for (const Strings& message : Rows(*contents, {PR_SUBJECT_W})) line += " " + message[0];
      lines.push_back(line);
      List(*child, indent + " ", lines);
    }
  }
};

constexpr const char* kComment = "(This folder was imported using Quelmar Parvane)";

TEST_F(PstStore, MakesFoldersOnceWithTheirClass) {
  IAssetFolderMutable* top = OpenMutable();
  ASSERT_NE(top, nullptr);
  EXPECT_EQ(top->FolderName(), u"Personal Folders");
  EXPECT_EQ(top->FolderType(), kAssetFolderTypeFolderGroup);
  IAssetFolderMutable* mail = top->CreateAssetFolder(u"Größe", kAssetFolderTypeEmail);
  ASSERT_NE(mail, nullptr);
  EXPECT_EQ(top->CreateAssetFolder(u"GRÖSSE", kAssetFolderTypeEmail)->FolderName(), u"GRÖSSE");
  EXPECT_EQ(top->CreateAssetFolder(u"gRÖße", kAssetFolderTypeContact), mail)
      << "found without regard to case, whatever its type";
  EXPECT_EQ(mail->ParentFolder(), top);
  EXPECT_EQ(mail->QueryAsset(), nullptr);
  EXPECT_EQ(mail->QueryTotalAssetUnits(), 0);
  mail->CreateAssetFolder(u"c", kAssetFolderTypeContact);
  mail->CreateAssetFolder(u"a", kAssetFolderTypeAppointment);
  mail->CreateAssetFolder(u"g", kAssetFolderTypeFolderGroup);
  EXPECT_EQ(store->GetDefaultFolder(kAssetFolderTypeEmail), nullptr);
  EXPECT_EQ(dynamic_cast<IAssetStoreMutable&>(*store).GetDefaultFolderMutable(kAssetFolderTypeEmail,
                                                                              true),
            nullptr);

  const std::string comment = kComment;
  const Strings expected = {"Größe[IPF.Note] " + comment + ":", " c[IPF.Contact] " + comment + ":",
                            " a[IPF.Appointment] " + comment + ":", " g[IPF.Note] " + comment + ":",
                            "GRÖSSE[IPF.Note] " + comment + ":"};
  EXPECT_THAT(Content(), testing::UnorderedElementsAreArray(expected));

  // What the file has already is opened, not duplicated.
  top = OpenMutable();
  top->CreateAssetFolder(u"größe", kAssetFolderTypeEmail);
  EXPECT_EQ(Content().size(), expected.size());
}

TEST_F(PstStore, CopiesEveryItemAndTellsOfEach) {
  IAssetFolderMutable* mail = OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"one", "!two", "0", "three"});
  const CopyResult result = mail->CopyAssets(&source, &front, &front, &front);
  EXPECT_EQ(result.Code, OperationResultCode::CompletedWithError) << "a success clears nothing";
  EXPECT_EQ(result.SuccessAssetCount, 2);
  EXPECT_EQ(result.FailAssetCount, 2);
  const std::string error = "D \r\nERROR : Error occurred while converting this item.";
  EXPECT_THAT(front.told,
              ElementsAre("total 77", "label Folder: Source", "+3", "message one", "D one\r\n\r\n",
                          "+4", "message two", error, "D two\r\n\r\n", "+1", "message ", error,
                          "D \r\n\r\n", "+5", "message three", "D three\r\n\r\n"));
  EXPECT_THAT(Content(), ElementsAre(std::string("m[IPF.Note] ") + kComment + ": one two  three"))
      << "failed items leave a message too";
}

// Steps by their number, those that failed with "!".
class Steps : public parvane::engine::DestinationObserver {
 public:
  void MapiAnswered(parvane::engine::DestinationStep step, std::int32_t result) override {
    told += (result < 0 ? "!" : "") + std::to_string(static_cast<int>(step)) + " ";
  }
  void StoreOpened(IMsgStore& opened) override { record = DiagnosticsOf(opened); }
  void FolderRefused(const IAssetFolder& folder, const std::vector<Refusal>& refusals) override {
    EXPECT_EQ(refusals.size(), 1u);
    told += Utf8(*folder.FolderName()) + std::to_string(refusals[0].tag == PR_CONTAINER_CLASS_W) +
            std::to_string(refusals[0].result == MAPI_E_NO_ACCESS) + " ";
  }
  std::string told;
  std::shared_ptr<const StoreDiagnostics> record;
};

TEST_F(PstStore, AnObserverHearsWhatMapiAnswers) {
  Steps steps;
  store = std::make_unique<PSTMAPIAssetStoreMutable>(path, std::nullopt);
  ASSERT_TRUE(parvane::engine::ObserveDestination(*store, &steps));
  ASSERT_EQ(store->OpenStore(nullptr, nullptr, true, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(std::exchange(steps.told, {}), "0 1 2 3 4 ");
  IAssetFolderMutable* top =
      dynamic_cast<PSTMAPIAssetStoreMutable&>(*store).GetStoreRootFolderMutable();
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"one", "!two"});
  top->CreateAssetFolder(u"m", kAssetFolderTypeEmail)
      ->CopyAssets(&source, nullptr, nullptr, nullptr);
  EXPECT_EQ(std::exchange(steps.told, {}), "5 6 7 6 7 ");
  const auto record = std::exchange(steps.record, nullptr);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->messagesSaved, 2u);
  store->Release();
  EXPECT_EQ(record->messagesCommitted, 2u) << "the record outlives the store";
  EXPECT_FALSE(record->isOpen);
  EXPECT_EQ(std::exchange(steps.told, {}), "8 ");

  // A folder where the file should be: the log-on works, but there is no store behind it.
  store = std::make_unique<PSTMAPIAssetStoreMutable>(disk.Path(""), std::nullopt);
  parvane::engine::ObserveDestination(*store, &steps);
  EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, nullptr), OperationResultCode::Failed);
  EXPECT_EQ(steps.told, "0 !1 2 !3 ");
  EXPECT_EQ(steps.record, nullptr);
  store.reset();
}

TEST_F(PstStore, CopiesOnlyItsOwnKind) {
  IAssetFolderMutable* top = OpenMutable();
  FakeSource<FakeContact> contacts(kAssetFolderTypeContact, {"c"});
  FakeSource<FakeEvent> events(kAssetFolderTypeAppointment, {"e"});
  FakeSource<FakeContact> wrong(kAssetFolderTypeEmail, {"w"});
  FakeSource<FakeEmail> group(kAssetFolderTypeFolderGroup, {"g"});
  FakeSource<FakeEmail> mail(kAssetFolderTypeEmail, {"m"});

  EXPECT_EQ(top->CreateAssetFolder(u"c", kAssetFolderTypeContact)
                ->CopyAssets(&contacts, nullptr, nullptr, nullptr)
                .SuccessAssetCount,
            1);
  EXPECT_EQ(top->CreateAssetFolder(u"a", kAssetFolderTypeAppointment)
                ->CopyAssets(&events, nullptr, nullptr, nullptr)
                .SuccessAssetCount,
            1);
  EXPECT_THROW(top->CreateAssetFolder(u"m", kAssetFolderTypeEmail)
                   ->CopyAssets(&wrong, nullptr, nullptr, nullptr),
               std::bad_cast);
  // The top folder takes no item: not of another type, and not of its own.
  CopyResult refused = top->CopyAssets(&mail, &front, &front, nullptr);
  EXPECT_EQ(refused.Code, OperationResultCode::Failed);
  EXPECT_TRUE(front.told.empty());
  EXPECT_EQ(top->CopyAssets(nullptr, &front, &front, nullptr).Code, OperationResultCode::Failed);
  refused = top->CopyAssets(&group, nullptr, nullptr, nullptr);
  EXPECT_EQ(refused.Code, OperationResultCode::CompletedWithError);
  EXPECT_EQ(refused.FailAssetCount, 1);
}

TEST_F(PstStore, StopsBehindTheItemInHandWhenCancelled) {
  IAssetFolderMutable* mail = OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"!one", "two"});
  front.itemsUntilCancel = 0;
  const CopyResult result = mail->CopyAssets(&source, nullptr, &front, &front);
  EXPECT_EQ(result.Code, OperationResultCode::Canceled);
  EXPECT_EQ(result.FailAssetCount, 1);
  EXPECT_EQ(front.told.size(), 2u);
  EXPECT_THAT(Content(), ElementsAre(std::string("m[IPF.Note] ") + kComment + ": one"));
}

TEST_F(PstStore, CountsWhatItCouldNotCreateAsFailed) {
  OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  store.reset();
  BuiltinOptions readOnly;
  readOnly.readOnly = true;
  SetBuiltinOptions(readOnly);
  Steps steps;
  IAssetFolderMutable* top = OpenMutable();
  parvane::engine::ObserveDestination(*store, &steps);
  IAssetFolderMutable* mail = top->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  EXPECT_EQ(std::exchange(steps.told, {}), "5 m11 ") << "found, and its class not written";
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"one", "two"});
  const CopyResult result = mail->CopyAssets(&source, nullptr, nullptr, nullptr);
  store.reset();
  SetBuiltinOptions({});
  EXPECT_EQ(result.Code, OperationResultCode::CompletedWithError);
  EXPECT_EQ(result.SuccessAssetCount, 0);
  EXPECT_EQ(result.FailAssetCount, 2);
}

TEST_F(PstStore, CountsWhatMapiTookInPartAsWritten) {
  IAssetFolderMutable* mail = OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"one", "huge", "two"});
  const CopyResult result = mail->CopyAssets(&source, nullptr, &front, nullptr);
  EXPECT_EQ(result.Code, OperationResultCode::Completed);
  EXPECT_EQ(result.SuccessAssetCount, 3);
  EXPECT_THAT(front.told, ElementsAre("D one\r\n\r\n", "D huge\r\n\r\n", "D two\r\n\r\n"));
  EXPECT_THAT(Content(), ElementsAre(std::string("m[IPF.Note] ") + kComment + ": one huge two"));
}

TEST_F(PstStore, GoesOnInASiblingWhenAFolderIsFull) {
  struct Watch : parvane::engine::DestinationObserver {
    void FolderContinued(const IAssetFolder& full, const IAssetFolder& next) override {
      seen.push_back(Utf8(*full.FolderName()) + " > " + Utf8(*next.FolderName()));
    }
    Strings seen;
  } watch;
  const auto names = [&] {
    Strings lines;
    for (const std::string& line : Content()) lines.push_back(line.substr(0, line.find('[')));
    return lines;
  };
  // A second page of its table fills a folder.
  auto& options = parvane::mapi::builtin::TheEnvironment().storeOptions;
  options.tablePages = 161;
  Strings items;
  for (int i = 0; i < 100; ++i) items.push_back(std::to_string(100 + i) + std::string(40, 's'));
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, items);
  IAssetFolderMutable* top = OpenMutable();
  parvane::engine::ObserveDestination(*store, &watch);
  IAssetFolderMutable* mail = top->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  top->CreateAssetFolder(u"M (3)", kAssetFolderTypeEmail);  // belongs to other mail
  EXPECT_EQ(mail->CopyAssets(&source, nullptr, &front, nullptr).SuccessAssetCount, 100);
  EXPECT_THAT(watch.seen, ElementsAre("m > m (2)", "m (2) > m (4)"));
  EXPECT_EQ(front.told.size(), 102u);
  EXPECT_THAT(front.told, testing::Contains("BD The folder m is full. The messages that follow go "
                                            "to the folder m (2)."));
  // Later copies find the way, in this session and in the next.
  FakeSource<FakeEmail> late(kAssetFolderTypeEmail, {"late"});
  EXPECT_EQ(mail->CopyAssets(&late, nullptr, nullptr, nullptr).SuccessAssetCount, 1);
  EXPECT_EQ(watch.seen.back(), "m > m (4)");
  EXPECT_THAT(names(), testing::UnorderedElementsAre("m", "m (2)", "M (3)", "m (4)"));
  mail = OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  EXPECT_EQ(mail->CopyAssets(&late, nullptr, nullptr, nullptr).SuccessAssetCount, 1);
  options = {};
  Strings subjects;
  for (const std::string& line : Content()) {
    std::istringstream words(line.substr(line.find("):") + 2));
    for (std::string word; words >> word;) subjects.push_back(word);
  }
  items.insert(items.end(), {"late", "late"});
  EXPECT_THAT(subjects, testing::UnorderedElementsAreArray(items));
}

TEST_F(PstStore, CopiesNothingFromAnEmptyFolder) {
  IAssetFolderMutable* mail = OpenMutable()->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {});
  const CopyResult result = mail->CopyAssets(&source, &front, &front, &front);
  EXPECT_EQ(result.Code, OperationResultCode::Completed);
  EXPECT_EQ(result.SuccessAssetCount + result.FailAssetCount, 0);
  EXPECT_THAT(front.told, ElementsAre("total 77", "label Folder: Source"));
}

TEST_F(PstStore, ReleasesEverythingOnceAndForAll) {
  IAssetFolderMutable* top = OpenMutable();
  IAssetFolderMutable* mail = top->CreateAssetFolder(u"m", kAssetFolderTypeEmail);
  top->DeleteAssetFolder(mail);  // no longer in the tree, still holds its MAPI folder
  store->Release();
  EXPECT_EQ(LiveObjects(), 0u);
  store->Release();
  FakeSource<FakeEmail> source(kAssetFolderTypeEmail, {"late"});
  EXPECT_EQ(mail->CopyAssets(&source, nullptr, nullptr, nullptr).Code, OperationResultCode::Failed);
  EXPECT_EQ(mail->CreateAssetFolder(u"late", kAssetFolderTypeEmail), nullptr);
  EXPECT_EQ(store->GetStoreRootFolder(), nullptr);
  EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, nullptr), OperationResultCode::Failed);
}

TEST_F(PstStore, ForReadingNeedsTheFile) {
  store = std::make_unique<PSTMAPIAssetStore>(path, std::nullopt);
  EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, &front), OperationResultCode::Failed);
  EXPECT_FALSE(parvane::platform::FileSystem::Default().FileExists(path));
  EXPECT_TRUE(front.told.empty());
  OpenMutable();
  store = std::make_unique<PSTMAPIAssetStore>(path, u"n");
  EXPECT_EQ(store->OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(store->GetStoreRootFolder()->FolderName(), u"Personal Folders");
}

TEST_F(PstStore, WithoutASessionFailsAndSaysSo) {
  const std::string text =
      "BD It seems that either Outlook is not installed or it is not set as default email client "
      "on "
      "your machine.\r\nPlease contact ";
  const auto expectFailure = [&](const NullableString& where) {
    front.told.clear();
    store = std::make_unique<PSTMAPIAssetStoreMutable>(where, u"n");
    EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, &front), OperationResultCode::Failed);
    ASSERT_EQ(front.told.size(), 1u);
    EXPECT_TRUE(front.told[0].starts_with(text)) << front.told[0];
    EXPECT_TRUE(front.told[0].ends_with(" for assistance."));
    EXPECT_EQ(store->OpenStore(nullptr, nullptr, true, nullptr), OperationResultCode::Failed);
  };
  expectFailure(std::nullopt);
  expectFailure(std::u16string(2012, u'x'));
  SelectEntryPoints({});
  expectFailure(path);
  store.reset();
  SelectEntryPoints(BuiltinEntryPoints());
}

TEST_F(PstStore, DeletesTheTemporaryProfileEvenWhenNothingWasOpened) {
  const auto profiles = [] {
    ComPointer<IProfAdmin> admin;
    MAPIAdminProfiles(0, admin.Put());
    ComPointer<IMAPITable> table;
    admin->GetProfileTable(0, table.Put());
    return Rows(*table, {PR_DISPLAY_NAME_W}).size();
  };
  {
    ComPointer<IProfAdmin> admin;
    MAPIAdminProfiles(0, admin.Put());
    admin->CreateProfile(ToTString(kTemporaryProfileName), nullptr, 0, 0);
  }
  EXPECT_EQ(profiles(), 1u);
  PSTMAPIAssetStoreMutable(path, std::nullopt).Release();
  EXPECT_EQ(profiles(), 0u);
}

TEST_F(PstStore, ReusesAProfileThatWasLeftBehind) {
  // As after a run that ended without cleaning up: the service that the profile lists first is
  // pointed at the new file.
  ComPointer<IMAPISession>::Attach(CreatePST(disk.Path("old.pst"), kTemporaryProfileName))
      ->Logoff(0, 0, 0);
  OpenMutable()->CreateAssetFolder(u"new", kAssetFolderTypeEmail);
  EXPECT_EQ(Content().size(), 1u);
  EXPECT_TRUE(parvane::platform::FileSystem::Default().FileExists(path));
}

class RawFolders : public PstStore {
 protected:
  void SetUp() override {
    PstStore::SetUp();
    session = session.Attach(CreatePST(path, kTemporaryProfileName));
    messages = messages.Attach(OpenDefaultMsgStore(session.get()));
    root = root.Attach(GetRootFolder(messages.get(), MAPI_BEST_ACCESS));
    ASSERT_TRUE(root);
  }
  void TearDown() override {
    Close();
    PstStore::TearDown();
  }
  void Close() {
    root.Reset();
    messages.Reset();
    if (session) session->Logoff(0, 0, 0);
    session.Reset();
    CleanupTempProfiles(kTemporaryProfileName);
  }
  Strings CloseAndList() {
    Close();
    return Content();
  }
  ComPointer<IMAPISession> session;
  ComPointer<IMsgStore> messages;
  ComPointer<IMAPIFolder> root;
};

TEST_F(RawFolders, AreRebuiltAlongTheSourcesPath) {
  FakeSource<FakeEmail> top(kAssetFolderTypeFolderGroup, {});
  class Inner : public FakeSource<FakeEmail> {
   public:
    Inner(AssetFolderType type, AssetFolderBase* parent) : FakeSource(type, {}) {
      _parentFolder = parent;
    }
    ~Inner() override { _parentFolder = nullptr; }
  } inner(kAssetFolderTypeEmail, &top);
  EXPECT_EQ(PSTStoreHelper::CreateMAPIFolder(nullptr, root.get()), root.get());
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(
        ComPointer<IMAPIFolder>::Attach(PSTStoreHelper::CreateMAPIFolder(&inner, root.get())));
  }
  const std::string comment = "(This folder was imported using Lindrel)";
  EXPECT_THAT(CloseAndList(),
              ElementsAre("Source[none] " + comment + ":", " Source[IPF.Note] " + comment + ":"));
}

TEST_F(RawFolders, AreRecordedAsSpecialFolders) {
  struct Case {
    AssetFolderType type;
    ULONG tag;
    const char* containerClass;
  };
  const Case cases[] = {{kAssetFolderTypeAppointment, 0x36D00102, "IPF.Appointment"},
                        {kAssetFolderTypeContact, 0x36D10102, "IPF.Contact"},
                        {kAssetFolderTypeJournal, 0x36D20102, "none"},
                        {kAssetFolderTypeStickyNote, 0x36D30102, "none"},
                        {kAssetFolderTypeTask, 0x36D40102, "none"},
                        {kAssetFolderTypeEmail, 0, "IPF.Note"}};
  for (const Case& test : cases) {
    const std::u16string name = parvane::platform::Utf8ToUtf16(std::to_string(test.type));
    const auto folder = ComPointer<IMAPIFolder>::Attach(
        PSTStoreHelper::CreateSpecialFolder(root.get(), test.type, name));
    ASSERT_TRUE(folder);
    EXPECT_EQ(Text(*folder, PR_CONTAINER_CLASS_W).value_or("none"), test.containerClass);
    if (test.tag != 0) {
      EXPECT_EQ(Bytes(*root, test.tag), Bytes(*folder, PR_ENTRYID)) << std::hex << test.tag;
    }
  }
  EXPECT_EQ(PSTStoreHelper::CreateSpecialFolder(nullptr, kAssetFolderTypeTask, u"x"), nullptr);
  EXPECT_EQ(CloseAndList().size(), std::size(cases));
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
