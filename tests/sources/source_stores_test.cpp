#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/source_observer.h"
#include "platform/memory_input_stream.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/mbox_asset_store.h"
#include "sources/mbox_email_asset.h"
#include "sources/profile_asset_store.h"
#include "sources/state/thunderbird_index.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarMIMEEngineCommon {
namespace {

namespace engine = parvane::engine;
namespace platform = parvane::platform;

std::string Utf8(const NullableString& text) {
  return text ? platform::Utf16ToUtf8(*text) : "(null)";
}

// The tree below a folder: "a(b c(d))".
std::string Shape(const IAssetFolder& folder) {
  std::string shape;
  for (const IAssetFolder* child : folder.GetSubFolders()) {
    if (!shape.empty()) shape += ' ';
    shape += Utf8(child->FolderName());
    const std::string below = Shape(*child);
    if (!below.empty()) shape += "(" + below + ")";
  }
  return shape;
}

// Answers true from the nth time on.
class CancelAfter : public ICancelable {
 public:
  explicit CancelAfter(int polls) : _left(polls) {}
  bool Cancel() override { return --_left < 0; }

 private:
  int _left;
};

class Observer : public engine::SourceObserver {
 public:
  void MessageRead(const engine::MessageLocation& message) override { messages.push_back(message); }
  void MessageNamed(const engine::MessageLocation&, std::string_view messageId) override {
    names.emplace_back(messageId);
  }
  void SeparatorSuspected(const IAssetFolder&,
                          const engine::SuspectedSeparator& separator) override {
    separators.push_back({separator.offset, separator.reason, std::string(separator.line)});
  }
  void PathSkipped(std::u16string_view path, engine::SkipReason reason,
                   const platform::Status&) override {
    skipped.emplace_back(platform::PathForDisplay(platform::FileNameOfPath(path)), reason);
  }
  void ReadFailed(const IAssetFolder&, std::uint64_t offset, const platform::Status&) override {
    failures.push_back(offset);
  }
  void MessageNotParsed(const engine::MessageLocation&, const platform::Status& dump) override {
    dumps.push_back(dump.code());
  }

  struct Separator {
    std::uint64_t offset;
    engine::SuspiciousSeparatorReason reason;
    std::string line;
  };
  std::vector<engine::MessageLocation> messages;
  std::vector<Separator> separators;
  std::vector<std::string> names;
  std::vector<std::pair<std::string, engine::SkipReason>> skipped;
  std::vector<std::uint64_t> failures;
  std::vector<platform::StatusCode> dumps;
};

constexpr std::string_view kOneMessage = "From a Tue Jan  1 00:00:00 2002\nSubject: s\n\nb\n";

TEST(MboxStores, TakeTheirTreeFromTheDirectory) {
  const TemporaryFolder disk;
  disk.Write("m/a.mbox", kOneMessage);
  disk.Write("m/._a.mbox", kOneMessage);
  disk.Write("m/b.txt", kOneMessage);
  disk.Write("m/B.MBOX", "");
  disk.Write("m/c.mbox", "Subject: s\n");
  disk.Write("m/Deep.sbd/d.mbox", kOneMessage);
  disk.MakeFolder("m/empty/very");
  disk.MakeFolder("m/folder.mbox");
  const std::string message(kOneMessage);
  disk.Write("m/half.mbox", "nd of a line\n\n" + message);
  disk.Write("m/marked.mbox", "\xEF\xBB\xBF" + message);
  disk.Write("m/quoted.mbox", "text\n>From a Tue Jan  1 00:00:00 2002\nFrom here\n");
  disk.Write("m/letters/a.EML", "Subject: s\n");
  disk.Write("m/letters/b.eml", "Subject: s\n");
  disk.Write("m/maildir/cur/1.host,S", "Subject: s\n");
  disk.MakeFolder("m/maildir/new");
  disk.MakeFolder("m/maildir/tmp");
  disk.Write("m/project/new/e.mbox", kOneMessage);
  disk.Write("m/notes.txt", "from me\n");
  disk.Write("m/index.msf", "");
  disk.Write("m/old.mbox.GZ", "\x1F\x8B");
  disk.Write("m/Inbox.dbx", "\xCF\xAD");
  disk.Write("m/empty.msg", "");
  // A link that comes before the folder it leads to hides nothing of it.
  const bool linked = disk.Link("m", "m/Deep.sbd/loop") && disk.Link("m/project", "m/current") &&
                      disk.Link("m/Deep.sbd", "m/project/deep") &&
                      disk.Link("elsewhere", "m/far") && disk.Link("gone", "m/lost.mbox") &&
                      disk.Link("gone", "m/.#lost");
  disk.Write("elsewhere/f.mbox", kOneMessage);

  MBOXAssetStore store(disk.Path("m"), std::nullopt);
  Observer observer;
  engine::ObserveSource(store, &observer);
  ASSERT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(Shape(*store.GetStoreRootFolder()),
            linked ? "m(B a Deep(d) far(f) project(new(e)))" : "m(B a Deep(d) project(new(e)))");
  EXPECT_EQ(store.GetDefaultFolder(kAssetFolderTypeEmail), nullptr);

  const IAssetFolder* root = store.GetStoreRootFolder();
  EXPECT_EQ(Utf8(root->FullFolderPath()), "MBOX Store-" + Utf8(disk.Path("m")));
  EXPECT_EQ(root->FolderType(), kAssetFolderTypeAssets);
  EXPECT_EQ(root->GetSubFolders()[0]->FolderType(), kAssetFolderTypeAssets);
  IAssetFolder* a = root->GetSubFolders()[0]->GetSubFolders()[1];
  EXPECT_EQ(a->FolderType(), kAssetFolderTypeEmail);
  EXPECT_EQ(a->ContentCount(), -1);
  EXPECT_EQ(a->QueryTotalAssetUnits(), std::ssize(kOneMessage));

  using engine::SkipReason;
  std::vector<std::pair<std::string, SkipReason>> expected = {
      {"._a.mbox", SkipReason::kResourceForkCompanion},
      {"b.txt", SkipReason::kOtherExtension},
      {"c.mbox", SkipReason::kNotAnMbox},
      {"1.host,S", SkipReason::kOtherFile},
      {"a.EML", SkipReason::kOtherFile},
      {"b.eml", SkipReason::kOtherFile},
      {"maildir", SkipReason::kSingleMessages},
      {"half.mbox", SkipReason::kDamagedBeginning},
      {"letters", SkipReason::kSingleMessages},
      {"marked.mbox", SkipReason::kDamagedBeginning},
      {"notes.txt", SkipReason::kOtherFile},
      {"old.mbox.GZ", SkipReason::kCompressed},
      {"Inbox.dbx", SkipReason::kForeignMail},
      {"empty.msg", SkipReason::kOtherFile},
      {"quoted.mbox", SkipReason::kNotAnMbox}};
  if (linked) {
    expected.insert(expected.end(), {{"loop", SkipReason::kSymbolicLinkLoop},
                                     {"current", SkipReason::kLinkToFolder},
                                     {"deep", SkipReason::kLinkToFolder},
                                     {"lost.mbox", SkipReason::kDanglingLink},
                                     {".#lost", SkipReason::kNotAFile}});
  }
  EXPECT_THAT(observer.skipped, testing::UnorderedElementsAreArray(expected));
}

TEST(MboxStores, OverASingleFileHoldOneFolder) {
  const TemporaryFolder disk;
  MBOXAssetStore store(disk.Write("Old Mail.mbox", kOneMessage), u"Name");
  Observer observer;
  engine::ObserveSource(store, &observer);
  ASSERT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(Shape(*store.GetStoreRootFolder()), "Old Mail.mbox") << "the extension is kept";
  EXPECT_EQ(store.GetStoreRootFolder()->GetSubFolders()[0]->FolderType(), kAssetFolderTypeEmail);
  EXPECT_TRUE(observer.skipped.empty());
}

TEST(MboxStores, WithoutAPathOrWithAMissingOneAreEmpty) {
  for (const NullableString& path : {NullableString(), NullableString(u"/no/such/path")}) {
    MBOXAssetStore store(path, std::nullopt);
    EXPECT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
    IAssetFolder* folder = store.GetStoreRootFolder()->GetSubFolders().at(0);
    EXPECT_EQ(folder->QueryAsset(), nullptr);
    EXPECT_EQ(folder->QueryTotalAssetUnits(), 0);
  }
}

constexpr std::string_view kColumns = "<<(a=c)>(80=ns:msg:db:row:scope:msgs:all)(96=kind)>";

TEST(MailIndex, ListsMessagesOrNot) {
  const std::string columns(kColumns);
  const std::pair<bool, std::string> cases[] = {
      {false, ""},
      {false, columns},
      {true, columns + "{1:^80 {(k^96:c)(s=9)1:m } [11(^88=1)(^81=\\)}])]}"},
      {true, columns + "{1:^80 {(k^96:c)} 11 }"},
      {true, columns + "{1:ns:msg:db:row:scope:msgs:all 11 }"},
      {true, columns + "@$${1{@{1:^80 [-11:^80(^88=1)]}@$$}1}@"},
      {false, columns + "{2:^80 {(k^96:c)} 11 }{1:^81 [1(^88=1)]}"},
      {false, columns + "{1:^80 {(k^96:c)} 11 ! 3 12 }@$${1{@{1:^80 -11 -12:^80 }@$$}1}@"},
      {false, columns + "{1:^80 11 }@$${2{@{-1:^80 {(k^96:c)} }@$$}2}@"},
      {true, columns + "{-1:^80 11 12 -11}"},
      // What looks like it and is text, or an atom of values, or a comment.
      {false, columns + "<(90={1:^80 11 })>// {1:^80 11 }\n[1:^9F(^88={1:^80 11})]"},
      {false, "<(80=ns:msg:db:row:scope:msgs:all)>{1:^80 11 }"},
  };
  for (const auto& [lists, index] : cases) {
    const auto open = [&text = index] {
      return platform::Result(platform::MemoryInputStream(text));
    };
    EXPECT_EQ(parvane::sources::IndexListsMessages(open), lists) << index;
  }
}

TEST(ProfileStores, TakeSubfoldersFromSbdDirectories) {
  const TemporaryFolder disk;
  disk.Write("p/Inbox", kOneMessage);
  disk.Write("p/Inbox.msf", "// index");
  disk.Write("p/Inbox.sbd/Work", kOneMessage);
  disk.Write("p/Inbox.sbd/Work.sbd/Deep", "");
  disk.Write("p/Trash", "");
  disk.Write("p/Foo.sbd/lost", kOneMessage);
  disk.Write("p/named.mbox", kOneMessage);
  disk.Write("p/notmail", "hello");
  disk.Write("p/Archives/2002", kOneMessage);
  disk.MakeFolder("p/Void");
  const std::string listing = std::string(kColumns) + "{1:^80 [1(^88=1)]}";
  for (const char* name : {"p/All Mail.msf", "p/Trash.msf", "p/ImapMail/INBOX.msf"})
    disk.Write(name, listing);
  disk.Write("p/ImapMail/INBOX", "");  // as it is before the first message is fetched
  disk.Write("p/[Gmail].msf", kColumns);
  const bool linked = disk.Link("unmounted", "p/Sent") && disk.Link("p/Archives", "p/Trash.sbd");
  disk.Write("p/Sent.msf", listing);

  TBAssetStore store(disk.Path("p"), std::nullopt);
  Observer observer;
  engine::ObserveSource(store, &observer);
  ASSERT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(Shape(*store.GetStoreRootFolder()),
            "Inbox(Work(Deep)) Trash Archives(2002) ImapMail(INBOX)");
  EXPECT_EQ(store.GetStoreRootFolder()->GetSubFolders()[1]->QueryAsset(), nullptr);

  using engine::SkipReason;
  std::vector<std::pair<std::string, SkipReason>> expected = {
      {"All Mail.msf", SkipReason::kNotDownloaded},
      {"INBOX.msf", SkipReason::kNotDownloaded},
      {"named.mbox", SkipReason::kOtherExtension},
      {"notmail", SkipReason::kNotAnMbox},
      {"Foo.sbd", SkipReason::kOrphanSbd}};
  if (linked) {
    expected.insert(expected.end(), {{"Sent", SkipReason::kDanglingLink},
                                     {"Trash.sbd", SkipReason::kLinkToFolder}});
  } else
    expected.emplace_back("Sent.msf", SkipReason::kNotDownloaded);
  EXPECT_THAT(observer.skipped, testing::UnorderedElementsAreArray(expected));
}

TEST(SourceStores, TellWhatIsNestedTooDeeply) {
  const TemporaryFolder disk;
  std::string path = "m";
  for (int i = 0; i < 101; ++i) path += "/d";
  disk.Write(path + "/a.mbox", kOneMessage);
  MBOXAssetStore boxes(disk.Path("m"), std::nullopt);
  Observer observer;
  engine::ObserveSource(boxes, &observer);
  ASSERT_EQ(boxes.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  const std::pair<std::string, engine::SkipReason> tooDeep{"d", engine::SkipReason::kTooDeep};
  EXPECT_THAT(observer.skipped, testing::Contains(tooDeep));
}

TEST(SourceStores, HaveAnyNumberOfFoldersSideBySide) {
  const TemporaryFolder disk;
  for (int i = 0; i < 120; ++i) {
    disk.Write("m/" + std::to_string(i) + "/a.mbox", kOneMessage);
    disk.Write("m/" + std::to_string(i) + "/b", kOneMessage);
  }
  MBOXAssetStore boxes(disk.Path("m"), std::nullopt);
  ASSERT_EQ(boxes.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(boxes.GetStoreRootFolder()->GetSubFolders().at(0)->GetSubFolders().size(), 120u);
  TBAssetStore profile(disk.Path("m"), std::nullopt);
  ASSERT_EQ(profile.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  EXPECT_EQ(profile.GetStoreRootFolder()->GetSubFolders().size(), 120u);
}

TEST(SourceStores, StopTheirWalkAtOnceWhenCancelled) {
  const TemporaryFolder disk;
  for (const char* name : {"m/a.mbox", "m/b.mbox", "m/s/c.mbox"}) disk.Write(name, kOneMessage);
  for (const char* name : {"p/A", "p/A.sbd/B", "p/C"}) disk.Write(name, kOneMessage);
  const std::pair<int, std::pair<const char*, const char*>> cases[] = {
      {0, {"m", ""}}, {1, {"m(a)", "A"}}, {2, {"m(a b)", "A(B)"}}, {3, {"m(a b s)", "A(B) C"}}};
  for (const auto& [polls, shapes] : cases) {
    SCOPED_TRACE(polls);
    CancelAfter cancel(polls);
    MBOXAssetStore mbox(disk.Path("m"), std::nullopt);
    EXPECT_EQ(mbox.OpenStore(nullptr, &cancel, false, nullptr), OperationResultCode::Canceled);
    EXPECT_EQ(Shape(*mbox.GetStoreRootFolder()), shapes.first);
    CancelAfter again(polls);
    TBAssetStore profile(disk.Path("p"), std::nullopt);
    EXPECT_EQ(profile.OpenStore(nullptr, &again, false, nullptr), OperationResultCode::Canceled);
    EXPECT_EQ(Shape(*profile.GetStoreRootFolder()), shapes.second);
  }
}

// A folder over one file, observed.
class MboxFolder : public testing::Test {
 protected:
  const TemporaryFolder disk;
  MBOXAssetStore store{u"x", std::nullopt};
  Observer observer;
  void SetUp() override { engine::ObserveSource(store, &observer); }

  std::vector<std::int64_t> Sizes(IAssetFolder& folder) {
    std::vector<std::int64_t> sizes;
    while (const auto result = folder.QueryAsset()) sizes.push_back(result->AssetUnitSize());
    return sizes;
  }
  using Sizes64 = std::vector<std::int64_t>;
};

TEST_F(MboxFolder, YieldsItsMessagesAgainAfterAReset) {
  const std::string three =
      "From a Tue Jan 1 00:00:00 2002\nSubject: 1\n\nFrom b Tue Jan 1 00:00:00 2002\n"
      "From c Tue Jan 1 00:00:00 2002\nSubject: 22\n\nFrom d Tue Jan 1 00:00:00 2002\n"
      "Subject: 333\n";
  const std::u16string path = disk.Write("f", three);
  MBOXAssetFolder folder(path, u"f", &store, nullptr);
  EXPECT_EQ(Sizes(folder), (Sizes64{14, 15, 14})) << "nothing between separators is no message";
  disk.Write("f", kOneMessage);
  EXPECT_EQ(folder.QueryAsset(), nullptr) << "the end stays the end";
  disk.Write("f", three);
  folder.ResetQuery();
  const auto first = folder.QueryAsset();
  EXPECT_EQ(Utf8(first->Asset()->Details()), "From : \r\nDate : \r\nSubject : 1");
  EXPECT_FALSE(dynamic_cast<IEmailAsset&>(*first->Asset()).IsRead());
  EXPECT_EQ(Sizes(folder), (Sizes64{15, 14}));

  ASSERT_EQ(observer.messages.size(), 6u);
  EXPECT_EQ(observer.messages[1].offset, 31u + 12 + 31 + 31);
  EXPECT_EQ(observer.messages[1].size, 15u);
  EXPECT_EQ(observer.messages[5].index, 2);
  EXPECT_TRUE(observer.separators.empty()) << "one separator behind another is not suspicious";
  EXPECT_TRUE(observer.failures.empty());
}

TEST_F(MboxFolder, TellsWhatItsMessagesAreCalled) {
  const std::string from = "From a Tue Jan 1 00:00:00 2002\n";
  MBOXAssetFolder folder(
      disk.Write("f", from + "X: y\nmessage-id : <a@b> \nX: z\n\n" + from +
                          "Message-Id:\n\t<c@d>\nDate: 1 Jan 2002\n\n" + from +
                          "X-Message-ID: <a@b>\nMessage-IDs: <c@d>\n\nMessage-ID: <e@f>\n"),
      u"f", &store, nullptr);
  EXPECT_EQ(Sizes(folder).size(), 3u);
  EXPECT_EQ(observer.names, (std::vector<std::string>{" <a@b> \r\n", "\r\n\t<c@d>\r\n"}));
}

TEST_F(MboxFolder, TellsOfSeparatorsThatMayBeText) {
  const std::u16string path =
      disk.Write("f",
                 "From a Tue Jan 1 00:00:00 2002\nSubject: 1\n\nDear John,\n\n"
                 "From the start\nit rained\nFrom b Tue Jan 1 00:00:00 2002\nSubject: 2\n");
  MBOXAssetFolder folder(path, u"f", &store, nullptr);
  EXPECT_EQ(Sizes(folder).size(), 3u) << "they separate all the same";
  ASSERT_EQ(observer.separators.size(), 2u);
  EXPECT_EQ(observer.separators[0].offset, 55u);
  EXPECT_EQ(observer.separators[0].line, "From the start");
  EXPECT_EQ(observer.separators[0].reason, engine::SuspiciousSeparatorReason::kNoDate);
  EXPECT_EQ(observer.separators[1].reason, engine::SuspiciousSeparatorReason::kNoEmptyLineBefore);
}

TEST_F(MboxFolder, CopiesSmallMessagesAndHandsOnLargeOnes) {
  const std::string large(3u << 20, 'x');
  const std::string head = "From a Tue Jan 1 00:00:00 2002\nSubject: s\n\n";
  MBOXAssetFolder folder(disk.Write("f", head + large + "\n\n" + head + "b\n"), u"f", &store,
                         nullptr);
  EXPECT_EQ(Sizes(folder), (Sizes64{std::ssize(large) + 18, 17}));
}

// Breaks off with an error after the bytes it was given.
class BrokenStream : public platform::InputStream {
 public:
  explicit BrokenStream(std::string bytes) : _bytes(std::move(bytes)) { ++open; }
  ~BrokenStream() override { --open; }
  static inline int open = 0;
  std::span<const char> Buffer() override {
    const auto rest = std::span<const char>(_bytes).subspan(_position);
    if (rest.empty()) _status = {platform::StatusCode::kIoError, "broken"};
    return rest;
  }
  void Skip(std::size_t count) override { _position += count; }
  std::uint64_t Position() const override { return _position; }
  const platform::Status& status() const override { return _status; }

 private:
  std::string _bytes;
  std::size_t _position = 0;
  platform::Status _status;
};

class BrokenFolder : public MBOXAssetFolder {
 public:
  using MBOXAssetFolder::MBOXAssetFolder;

 protected:
  platform::Result<std::unique_ptr<platform::InputStream>> OpenMbox() override {
    return {std::make_unique<BrokenStream>(std::string(kOneMessage) + "\nFrom b\nSubject: t\n")};
  }
};

TEST_F(MboxFolder, TellsOfAReadErrorAndHandsOnWhatWasRead) {
  BrokenFolder folder(u"f", u"f", &store, nullptr);
  EXPECT_EQ(Sizes(folder), (Sizes64{19, 12}));
  EXPECT_EQ(BrokenStream::open, 0) << "any number of folders may be read to their ends";
  ASSERT_EQ(observer.failures.size(), 1u);
  EXPECT_EQ(observer.failures[0], kOneMessage.size() + 19);
}

TEST_F(MboxFolder, TellsOfAFileThatCannotBeOpened) {
  const std::u16string path = disk.Write("f", kOneMessage);
  MBOXAssetFolder folder(path, u"f", &store, nullptr);
  ASSERT_TRUE(platform::FileSystem::Default().Remove(path).ok());
  EXPECT_EQ(folder.QueryAsset(), nullptr);
  EXPECT_EQ(observer.failures.size(), 1u);
  disk.Write("f", kOneMessage);
  EXPECT_NE(folder.QueryAsset(), nullptr) << "the next call tries again";
}

TEST_F(MboxFolder, TellsOfAFileThatChangesMeanwhile) {
  const std::string message(kOneMessage);
  struct Case {
    const char* name;
    std::string afterwards;
    std::vector<std::uint64_t> failures;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"same size", std::string(2 * message.size(), 'x'), {}},
           {"longer", message + message + "From", {2 * message.size() + 4}},
           {"shorter", message, {2 * message.size()}},
       }) {
    observer.failures.clear();
    MBOXAssetFolder folder(disk.Write("f", message + message), u"f", &store, nullptr);
    EXPECT_NE(folder.QueryAsset(), nullptr);
    disk.Write("f", c.afterwards);
    EXPECT_EQ(Sizes(folder).size(), 1u);
    EXPECT_EQ(folder.QueryAsset(), nullptr);
    EXPECT_EQ(observer.failures, c.failures) << c.name;
  }
}

TEST_F(MboxFolder, DumpsWhatCannotBeParsed) {
  const TemporaryFolder folder;
  EmailAssetBase::SetDumpFilePath(folder.Path("dump"));
  for (int i = 0; i < 2; ++i) {
    MBOXEmailAsset asset({}, nullptr, &observer, {});
    EXPECT_EQ(asset.Details(), std::nullopt);
    EXPECT_FALSE(asset.ConvertToMAPIMessage(nullptr, nullptr));
    asset.Release();
  }
  EmailAssetBase::SetDumpFilePath(std::nullopt);
  MBOXEmailAsset undumped({}, nullptr, &observer, {});
  const std::string banner = "\r\n----------------- ERROR DUMP ----------------\r\n";
  EXPECT_EQ(folder.Read("dump"), banner + banner) << "earlier dumps are kept";
  using platform::StatusCode;
  EXPECT_EQ(observer.dumps,
            (std::vector<StatusCode>{StatusCode::kOk, StatusCode::kOk, StatusCode::kUnsupported}));
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
