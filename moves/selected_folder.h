// A source folder of which not all items are wanted: those that a filter does not take are never
// seen by who copies it. Everything else is the folder's own.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/folders.h"
#include "moves/item_filter.h"

namespace parvane::moves {

class SelectionObserver {
 public:
  virtual ~SelectionObserver() = default;
  // The item read last is passed over. False: enough, the query ends here.
  virtual bool ItemPassedOver(const Judgement& why, std::int64_t units) = 0;
};

class SelectedFolder : public QuelmarMIMEEngineCommon::IAssetFolder {
 public:
  // All must outlive it.
  SelectedFolder(QuelmarMIMEEngineCommon::IAssetFolder& source, ItemFilter& filter,
                 SelectionObserver& observer)
      : _source(source), _filter(filter), _observer(observer) {}

  // An item is held back: the filter said kStop to it, and it is the first of the next query.
  bool HoldsItem() const { return _held != nullptr; }

  QuelmarMIMEEngineCommon::AssetFolderType FolderType() const override {
    return _source.FolderType();
  }
  std::int64_t ContentCount() const override { return _source.ContentCount(); }
  QuelmarMIMEEngineCommon::NullableString FolderName() const override {
    return _source.FolderName();
  }
  QuelmarMIMEEngineCommon::NullableString FullFolderPath() const override {
    return _source.FullFolderPath();
  }
  QuelmarMIMEEngineCommon::NullableString FolderDiskPath() const override {
    return _source.FolderDiskPath();
  }
  QuelmarMIMEEngineCommon::IAssetFolder* ParentFolder() const override {
    return _source.ParentFolder();
  }
  QuelmarMIMEEngineCommon::IAssetStore* OwnerStore() const override { return _source.OwnerStore(); }
  void PrepareContent() override { _source.PrepareContent(); }
  std::int64_t QueryTotalAssetUnits() override { return _source.QueryTotalAssetUnits(); }
  std::vector<QuelmarMIMEEngineCommon::IAssetFolder*> GetSubFolders() const override {
    return _source.GetSubFolders();
  }
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetQueryResult> QueryAsset() override;
  // While an item is held back, the next query goes on with it.
  void ResetQuery() override;
  // The source is its store's.
  void Release() override {}

 private:
  QuelmarMIMEEngineCommon::IAssetFolder& _source;
  ItemFilter& _filter;
  SelectionObserver& _observer;
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetQueryResult> _held;
};

}  // namespace parvane::moves
