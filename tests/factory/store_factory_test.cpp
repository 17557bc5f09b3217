#include "factory/store_factory.h"

#include <gtest/gtest.h>

#include "mapi/builtin_entry_points.h"
#include "mapi/entry_points.h"
#include "mapi/results.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "pst/pst_asset_store.h"
#include "sources/mbox_asset_store.h"
#include "sources/profile_asset_store.h"
#include "tests/support/environment.h"
#include "tests/support/temporary_folder.h"

namespace CWLEngine {
namespace {

using namespace QuelmarMIMEEngineCommon;

class StoreFactoryTest : public testing::Test {
 protected:
  void SetUp() override {
    // Nothing answers: every call fails cleanly.
    parvane::mapi::SelectEntryPoints({});
    // Off Windows the application data can be elsewhere than the user's.
    parvane::SetEnvironment("XDG_DATA_HOME", parvane::platform::PathToNative(home.Path()));
  }

  TemporaryFolder home;
};

TEST_F(StoreFactoryTest, GivesAStoreForEachKindThatHasOne) {
  const auto profile = StoreFactory::CreateStore(kThunderbirdStore, u"p", std::nullopt);
  EXPECT_NE(dynamic_cast<TBAssetStore*>(profile.get()), nullptr);
  EXPECT_EQ(profile->StoreName(), u"Mozilla Email Database-p");
  const auto mbox = StoreFactory::CreateStore(kMBOXAssetStore, u"p", std::nullopt);
  EXPECT_NE(dynamic_cast<MBOXAssetStore*>(mbox.get()), nullptr);
  EXPECT_EQ(mbox->StoreName(), u"MBOX Store-p");
  const auto pst = StoreFactory::CreateStore(kOrphanPSTMAPIStore, u"p", std::nullopt);
  EXPECT_NE(dynamic_cast<PSTMAPIAssetStore*>(pst.get()), nullptr);
  EXPECT_EQ(pst->StoreName(), u"Orphan Outlook PST-p");
  const auto target = StoreFactory::CreateStoreMutable(kOrphanPSTMAPIStore, u"p", std::nullopt);
  EXPECT_EQ(target->StoreName(), u"Orphan Mutable Outlook PST-p");

  for (const StoreType none : {kAppleMailDBStore, kAppleMailArchiveStore, kMSEArchiveStore,
                               kEMLAssetStore, static_cast<StoreType>(99)}) {
    EXPECT_EQ(StoreFactory::CreateStore(none, u"p", u"n"), nullptr);
    EXPECT_EQ(StoreFactory::CreateStoreMutable(none, u"p", u"n"), nullptr);
  }
  EXPECT_EQ(StoreFactory::CreateStoreMutable(kMBOXAssetStore, u"p", u"n"), nullptr);
}

TEST_F(StoreFactoryTest, PreparesTheDumpFolderEvenForAKindWithoutAStore) {
  const auto local = parvane::platform::LocalApplicationDataFolder();
  ASSERT_TRUE(local.has_value());
  auto& files = parvane::platform::FileSystem::Default();
  const std::u16string folder = parvane::platform::JoinPath(*local, u"Quelmar K4M Dump");
  EXPECT_FALSE(local->starts_with(home.Path()) && files.FolderExists(folder));
  StoreFactory::CreateStore(kEMLAssetStore, u"p", u"n");
  EXPECT_TRUE(files.FolderExists(folder));
}

TEST_F(StoreFactoryTest, ReturnsWhatMapiReturns) {
  EXPECT_EQ(MAPISystemUtilities::MAPIInitialize(), parvane::mapi::MAPI_E_NOT_INITIALIZED);
  static int starts = 0;
  parvane::mapi::EntryPoints points;
  points.MAPIInitialize = [](void* init) -> parvane::mapi::HRESULT {
    return init == nullptr ? ++starts : -1;
  };
  points.MAPIUninitialize = [] { --starts; };
  parvane::mapi::SelectEntryPoints(points);
  EXPECT_EQ(MAPISystemUtilities::MAPIInitialize(), 1);
  EXPECT_EQ(MAPISystemUtilities::MAPIInitialize(), 2) << "no count of the engine's own";
  MAPISystemUtilities::MAPIUninitialize();
  EXPECT_EQ(starts, 1);
}

// A caller who does no more than the interfaces ask for: he never resets a query.
TEST_F(StoreFactoryTest, MailboxesBeyondTheLimitOfOpenFiles) {
  constexpr int kMailboxes = 1500;
  for (int i = 0; i < kMailboxes; ++i) {
    home.Write("mail/box" + std::to_string(i) + ".mbox",
               "From a@b Thu Jan  1 00:00:00 2024\nSubject: one\n\ntext\n\n");
  }
  parvane::mapi::SelectEntryPoints(parvane::mapi::BuiltinEntryPoints());
  ASSERT_EQ(MAPISystemUtilities::MAPIInitialize(), 0);
  const auto from = StoreFactory::CreateStore(kMBOXAssetStore, home / u"mail", std::nullopt);
  const auto to = StoreFactory::CreateStoreMutable(kOrphanPSTMAPIStore, home / u"out.pst", u"n");
  ASSERT_EQ(from->OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
  ASSERT_EQ(to->OpenStore(nullptr, nullptr, true, nullptr), OperationResultCode::Completed);
  int folders = 0, messages = 0;
  const auto copy = [&](const auto& self, IAssetFolder& folder) -> void {
    for (IAssetFolder* child : folder.GetSubFolders()) self(self, *child);
    if (!folder.FolderDiskPath() || folder.FolderType() != kAssetFolderTypeEmail) return;
    IAssetFolderMutable* target = to->GetStoreRootFolderMutable()->CreateAssetFolder(
        *folder.FolderName(), kAssetFolderTypeEmail);
    const CopyResult copied = target->CopyAssets(&folder, nullptr, nullptr, nullptr);
    ++folders;
    messages += static_cast<int>(copied.SuccessAssetCount);
    EXPECT_EQ(copied.FailAssetCount, 0);
  };
  copy(copy, *from->GetStoreRootFolder());
  EXPECT_GE(folders, kMailboxes);
  EXPECT_EQ(messages, kMailboxes);
  to->Release();
  MAPISystemUtilities::MAPIUninitialize();
}

}  // namespace
}  // namespace CWLEngine
