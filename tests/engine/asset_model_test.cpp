#include <gtest/gtest.h>

#include "engine/asset_bases.h"
#include "engine/auto_release_iunknown.h"
#include "engine/source_observer.h"

namespace QuelmarMIMEEngineCommon {
namespace {

class Store : public AssetStoreBase {
 public:
  using AssetStoreBase::AssetStoreBase;
  OperationResultCode OpenStore(IProgressPresenter*, ICancelable*, bool, ILogger*) override {
    return OperationResultCode::Completed;
  }
  IAssetFolder* GetDefaultFolder(AssetFolderType) override { return nullptr; }
  void SetRoot(AssetFolderBase* root) { _storeRootAssetFolder = root; }
};

class Folder : public AssetFolderBase {
 public:
  using AssetFolderBase::AssetFolderBase;
  std::int64_t QueryTotalAssetUnits() override { return 0; }
  std::unique_ptr<IAssetQueryResult> QueryAsset() override { return nullptr; }
  void ResetQuery() override {}
  void PrepareContent() override {}
};

// A store with root > a > b, and root > c.
class AssetTree : public testing::Test {
 protected:
  Store store{u"/mail", u"Name"};
  Folder* root = store.MakeFolder<Folder>(1, std::nullopt, std::nullopt, &store, nullptr);
  Folder* a = store.MakeFolder<Folder>(2, std::nullopt, u"/mail/Inbox.mbox", &store, root);
  Folder* b = store.MakeFolder<Folder>(3, u"b", u"/mail/x.y", &store, a);
  Folder* c = store.MakeFolder<Folder>(4, u"", std::nullopt, &store, root);
  void SetUp() override { store.SetRoot(root); }

  using Folders = std::vector<IAssetFolder*>;
};

TEST_F(AssetTree, NamesAndPathsFollowFromConstruction) {
  EXPECT_EQ(store.StoreName(), u"Name-/mail");
  EXPECT_EQ(root->FolderName(), std::nullopt);
  EXPECT_EQ(root->FullFolderPath(), u"Name-/mail");
  EXPECT_EQ(a->FolderName(), u"Inbox");
  EXPECT_EQ(a->FullFolderPath(), u"Name-/mail\\Inbox");
  EXPECT_EQ(b->FullFolderPath(), u"Name-/mail\\Inbox\\b");
  EXPECT_EQ(c->FolderName(), u"") << "an empty name is a name";
  EXPECT_EQ(b->ContentCount(), 3);
  EXPECT_EQ(b->FolderType(), kAssetFolderTypeAssets);
  EXPECT_EQ(b->ParentFolder(), a);
  EXPECT_EQ(b->OwnerStore(), &store);
}

TEST_F(AssetTree, ConstructionLinksAndReleaseUnlinks) {
  EXPECT_EQ(root->GetSubFolders(), (Folders{a, c}));
  const auto& live = root->GetSubFoldersMutable();
  a->Release();
  a->Release();
  EXPECT_EQ(root->GetSubFolders(), Folders{c});
  EXPECT_EQ(live.size(), 1u) << "the list is a view";
  EXPECT_EQ(b->FullFolderPath(), std::nullopt) << "the whole tree below goes";
  EXPECT_EQ(b->ParentFolder(), nullptr);
}

TEST_F(AssetTree, OnlyDirectChildrenAreDeletedAndStayAlive) {
  EXPECT_FALSE(root->DeleteAssetFolder(b));
  EXPECT_FALSE(root->DeleteAssetFolder(nullptr));
  EXPECT_TRUE(root->DeleteAssetFolder(a));
  EXPECT_FALSE(root->RemoveAssetFolder(a));
  EXPECT_EQ(root->GetSubFolders(), Folders{c});
  EXPECT_EQ(a->FolderName(), u"Inbox");
  EXPECT_EQ(a->GetSubFolders(), Folders{b});
}

TEST_F(AssetTree, AdoptsFoldersOfTheSameStoreOnly) {
  Store other(u"/mail", u"Name");
  auto* foreign = other.MakeFolder<Folder>(0, u"f", std::nullopt, &other, nullptr);
  EXPECT_FALSE(root->AddAssetFolder(foreign));
  EXPECT_FALSE(root->AddAssetFolder(nullptr));
  auto* loose = store.MakeFolder<Folder>(0, u"loose", std::nullopt, &store, nullptr);
  EXPECT_TRUE(b->AddAssetFolder(loose));
  EXPECT_EQ(loose->ParentFolder(), b);
  EXPECT_EQ(loose->FullFolderPath(), u"Name-/mail\\loose") << "stays as it was computed";
  EXPECT_EQ(b->GetSubFolders(), Folders{loose});
}

TEST_F(AssetTree, ReadOnlyFoldersNeitherGrowNorTake) {
  EXPECT_EQ(a->CreateAssetFolder(u"x", kAssetFolderTypeEmail), nullptr);
  const CopyResult result = a->CopyAssets(c, nullptr, nullptr, nullptr);
  EXPECT_EQ(result.Code, OperationResultCode::Completed);
  EXPECT_EQ(result.SuccessAssetCount, 0);
  EXPECT_EQ(result.FailAssetCount, 0);
}

TEST_F(AssetTree, ReleasingTheStoreReleasesEveryFolder) {
  root->DeleteAssetFolder(a);  // no longer in the tree, still the store's
  store.Release();
  store.Release();
  EXPECT_EQ(store.GetStoreRootFolder(), nullptr);
  EXPECT_EQ(store.StoreName(), std::nullopt);
  for (const Folder* folder : {root, a, b, c}) {
    EXPECT_EQ(folder->FolderName(), std::nullopt);
    EXPECT_EQ(folder->OwnerStore(), nullptr);
    EXPECT_TRUE(folder->GetSubFolders().empty());
  }
}

TEST_F(AssetTree, ObserversAreInstalledOnTheEnginesStores) {
  parvane::engine::SourceObserver observer;
  EXPECT_TRUE(parvane::engine::ObserveSource(store, &observer));
  EXPECT_EQ(store.Observer(), &observer);
}

TEST(AssetFolders, MayBeDestroyedInAnyOrder) {
  Store store(u"/mail", u"Name");
  auto parent = std::make_unique<Folder>(0, u"p", std::nullopt, &store, nullptr);
  auto first = std::make_unique<Folder>(0, u"1", std::nullopt, &store, parent.get());
  auto second = std::make_unique<Folder>(0, u"2", std::nullopt, &store, parent.get());
  second.reset();
  EXPECT_EQ(parent->GetSubFolders().size(), 1u);
  parent.reset();
  EXPECT_EQ(first->ParentFolder(), nullptr);
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
