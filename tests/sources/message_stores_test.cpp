// Stores of messages that have files of their own: their trees, what they pass over, their order.

#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/source_observer.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/stores/eml/letter_store.h"
#include "sources/stores/maildir/maildir_store.h"
#include "sources/stores/mh/mh_store.h"
#include "tests/support/temporary_folder.h"

namespace parvane::sources {
namespace {

using namespace QuelmarMIMEEngineCommon;
using engine::SkipReason;

constexpr std::string_view kMessage = "Subject: s\n\nb\n";

std::string Utf8(const NullableString& text) {
  return platform::PathForDisplay(text.value_or(u""));
}

// The tree below a folder: "a[3] b(c[1])", with the number of items in brackets.
std::string Shape(const IAssetFolder& folder) {
  std::string shape;
  for (IAssetFolder* child : folder.GetSubFolders()) {
    int items = 0;
    while (child->QueryAsset()) ++items;
    const std::string below = Shape(*child);
    shape += (shape.empty() ? "" : " ") + Utf8(child->FolderName()) +
             (items ? "[" + std::to_string(items) + "]" : "") +
             (below.empty() ? "" : "(" + below + ")");
  }
  return shape;
}

class Observer : public engine::SourceObserver {
 public:
  void MessageRead(const engine::MessageLocation& message) override {
    paths.push_back(Utf8(platform::FileNameOfPath(message.path)));
  }
  void PathSkipped(std::u16string_view path, SkipReason reason, const platform::Status&) override {
    skipped.emplace_back(Utf8(platform::FileNameOfPath(path)), reason);
  }
  std::vector<std::string> paths;
  std::vector<std::pair<std::string, SkipReason>> skipped;
};

class MessageStores : public testing::Test {
 protected:
  // Opens the store over the folder "m" and reads all of it.
  template <typename Store>
  std::string Read(std::string_view path = "m") {
    observer = {};
    Store store(disk.Path(path));
    engine::ObserveSource(store, &observer);
    EXPECT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
    if (beforeReading) beforeReading();
    return Shape(*store.GetStoreRootFolder());
  }
  const TemporaryFolder disk;
  Observer observer;
  std::function<void()> beforeReading;
};

TEST_F(MessageStores, OfMaildirsKnowEveryWayOfNesting) {
  for (const char* file : {"m/cur/2000000000.b!2,S",
                           "m/cur/1000000000.a",
                           "m/new/1500000000.c",
                           "m/tmp/1.x",
                           "m/cur/.noindex",
                           "m/dovecot-uidlist",
                           "m/.A.B/cur/1",
                           "m/.A/cur/1",
                           "m/..C./cur/1",
                           "m/.k.directory/Child/cur/1",
                           "m/k/cur/1",
                           "m/k/new/2",
                           "m/P/Q/cur/1",
                           "m/P/Q/new/1",
                           "m/Box/cur/x.eml",
                           "m/Box.sbd/cur/cur/1",
                           "m/Odd.sbd/cur/1",
                           "m/Odd.sbd/tmp/1",
                           "m/letters/a.eml",
                           "m/mh/1",
                           "m/A/B/cur/1"})
    disk.Write(file, kMessage);
  disk.Write("m/pointers/cur/arrow.cur", "\x02");
  disk.Write("m/notes", "text");
  disk.Write("m/mailbox", "From a Tue Jan  1 00:00:00 2002\n\n");
  disk.MakeFolder("m/.Empty/cur");
  disk.MakeFolder("m/.Empty/new");
  EXPECT_EQ(Read<MaildirStore>(),
            "INBOX[3] C[1] A[1](B[1] B[1]) Empty k[2](Child[1]) Box[1](cur[1]) Odd.sbd[1] P(Q[2])");
  EXPECT_THAT(std::vector(observer.paths.begin(), observer.paths.begin() + 3),
              testing::ElementsAre("1000000000.a", "1500000000.c", "2000000000.b!2,S"));
  using Skipped = std::pair<std::string, SkipReason>;
  EXPECT_THAT(
      observer.skipped,
      testing::UnorderedElementsAre(
          Skipped{".noindex", SkipReason::kOtherFile}, Skipped{"notes", SkipReason::kOtherFile},
          Skipped{"mailbox", SkipReason::kOtherExtension},
          Skipped{"letters", SkipReason::kSingleMessages}, Skipped{"a.eml", SkipReason::kOtherFile},
          Skipped{"mh", SkipReason::kSingleMessages}, Skipped{"1", SkipReason::kOtherFile},
          Skipped{"arrow.cur", SkipReason::kOtherFile}));
  EXPECT_EQ(Read<MaildirStore>("m/P"), "Q[2]");
  EXPECT_EQ(Read<MaildirStore>("m/P/Q"), "Q[2]") << "alone it bears its own name";
}

TEST_F(MessageStores, TellOfAFileThatCannotBeReadAndGoOn) {
  for (const char* file : {"m/1.eml", "m/2.eml", "m/3.eml"}) disk.Write(file, kMessage);
  disk.Write("m/4.eml", "From a Tue Jan  1 00:00:00 2002\n");
  beforeReading = [&] { std::filesystem::remove(platform::PathToNative(disk.Path("m/2.eml"))); };
  EXPECT_EQ(Read<LetterStore>(), "m[2]");
  EXPECT_EQ(observer.paths, (std::vector<std::string>{"1.eml", "3.eml"}));
  EXPECT_EQ(observer.skipped, (decltype(observer.skipped){{"2.eml", SkipReason::kUnreadable},
                                                          {"4.eml", SkipReason::kUnreadable}}));
}

TEST_F(MessageStores, OfDirectoriesAreTheirTree) {
  for (const char* file : {"m/a.EML", "m/._a.eml", "m/n.txt", "m/d/e/b.eml", "m/x/n.txt", "m/i/10",
                           "m/i/9", "m/i/,3", "m/i/.mh_sequences", "m/i/s/1"})
    disk.Write(file, kMessage);
  disk.Write("m/years/2024", "a year\n");
  EXPECT_EQ(Read<LetterStore>(), "m[1](d(e[1]))");
  EXPECT_THAT(
      observer.skipped,
      testing::IsSupersetOf({std::pair{std::string("._a.eml"), SkipReason::kResourceForkCompanion},
                             {"i", SkipReason::kSingleMessages},
                             {"n.txt", SkipReason::kOtherFile}}));
  EXPECT_EQ(Read<MhStore>(), "m(i[2](s[1]))");
  EXPECT_EQ(observer.paths, (std::vector<std::string>{"9", "10", "1"}));
}

}  // namespace
}  // namespace parvane::sources
