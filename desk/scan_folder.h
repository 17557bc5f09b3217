// A destination for whoever only looks: its folders take every item and keep none.
#pragma once

#include <memory>
#include <vector>

#include "desk/scan_witness.h"
#include "engine/folders.h"

namespace parvane::desk {

class ScanFolder : public QuelmarMIMEEngineCommon::IAssetFolderMutable {
 public:
  // The witness, who is told of each item, must outlive it.
  ScanFolder(ScanWitness& witness, QuelmarMIMEEngineCommon::AssetFolderType type)
      : _witness(witness), _type(type) {}

  QuelmarMIMEEngineCommon::IAssetFolderMutable* CreateAssetFolder(
      std::u16string_view folderName, QuelmarMIMEEngineCommon::AssetFolderType folderType) override;
  QuelmarMIMEEngineCommon::CopyResult CopyAssets(
      QuelmarMIMEEngineCommon::IAssetFolder* sourceFolder,
      QuelmarMIMEEngineCommon::IProgressPresenter* progressPresenter,
      QuelmarMIMEEngineCommon::ILogger* logReport,
      QuelmarMIMEEngineCommon::ICancelable* cancelable) override;

  // There is nothing in it, and nothing behind it.
  QuelmarMIMEEngineCommon::AssetFolderType FolderType() const override { return _type; }
  std::int64_t ContentCount() const override { return 0; }
  QuelmarMIMEEngineCommon::NullableString FolderName() const override { return {}; }
  QuelmarMIMEEngineCommon::NullableString FullFolderPath() const override { return {}; }
  QuelmarMIMEEngineCommon::NullableString FolderDiskPath() const override { return {}; }
  QuelmarMIMEEngineCommon::IAssetFolder* ParentFolder() const override { return nullptr; }
  QuelmarMIMEEngineCommon::IAssetStore* OwnerStore() const override { return nullptr; }
  void PrepareContent() override {}
  std::int64_t QueryTotalAssetUnits() override { return 0; }
  std::vector<QuelmarMIMEEngineCommon::IAssetFolder*> GetSubFolders() const override { return {}; }
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetQueryResult> QueryAsset() override { return {}; }
  void ResetQuery() override {}
  bool DeleteAssetFolder(QuelmarMIMEEngineCommon::IAssetFolderMutable*) override { return false; }
  const std::vector<QuelmarMIMEEngineCommon::IAssetFolderMutable*>& GetSubFoldersMutable()
      const override {
    return _views;
  }
  void Release() override {}

 private:
  ScanWitness& _witness;
  QuelmarMIMEEngineCommon::AssetFolderType _type;
  std::vector<std::unique_ptr<ScanFolder>> _folders;
  std::vector<QuelmarMIMEEngineCommon::IAssetFolderMutable*> _views;
};

}  // namespace parvane::desk
