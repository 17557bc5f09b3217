#include "moves/content_store.h"

#include <map>
#include <new>

#include "engine/item_step.h"
#include "engine/message_facts.h"
#include "mapi/com_pointer.h"
#include "moves/content_reader.h"
#include "platform/text.h"

namespace parvane::moves {

using QuelmarMIMEEngineCommon::AssetFolderBase;
using QuelmarMIMEEngineCommon::AssetFolderType;
using QuelmarMIMEEngineCommon::CopyResult;
using QuelmarMIMEEngineCommon::IAsset;
using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;
using QuelmarMIMEEngineCommon::IAssetQueryResult;
using QuelmarMIMEEngineCommon::ICancelable;
using QuelmarMIMEEngineCommon::IEmailAsset;
using QuelmarMIMEEngineCommon::ILogger;
using QuelmarMIMEEngineCommon::IProgressPresenter;
using QuelmarMIMEEngineCommon::OperationResultCode;

class ContentStore::Folder : public AssetFolderBase {
 public:
  Folder(ContentStore& store, std::u16string name, AssetFolderType type, Folder* parent)
      : AssetFolderBase(0, name, std::nullopt, &store, parent), _store(store) {
    _folderType = type;
    if (!parent) return;
    _path = parent->_path;
    _path.push_back(std::move(name));
  }

  // Nothing can be read out of it.
  void PrepareContent() override {}
  std::int64_t QueryTotalAssetUnits() override { return 0; }
  std::unique_ptr<IAssetQueryResult> QueryAsset() override { return nullptr; }
  void ResetQuery() override {}

  // As a PST's: by names that differ in case alone, one folder is meant.
  IAssetFolderMutable* CreateAssetFolder(std::u16string_view name, AssetFolderType type) override {
    Folder*& child = _children[platform::FoldCase(name)];
    if (!child) child = _store.MakeFolder<Folder>(_store, std::u16string(name), type, this);
    return child;
  }

  CopyResult CopyAssets(IAssetFolder* source, IProgressPresenter* progress, ILogger*,
                        ICancelable* cancelable) override {
    CopyResult result(0, 0, OperationResultCode::Completed);
    source->ResetQuery();
    while (const std::unique_ptr<IAssetQueryResult> item = source->QueryAsset()) {
      if (progress) progress->IncrementCurrentBy(item->AssetUnitSize());
      bool converted = false;
      try {
        converted = Look(item->Asset());
      } catch (const std::bad_alloc&) {
        // Memory did not suffice for this item; for the next one it may.
      }
      ++(converted ? result.SuccessAssetCount : result.FailAssetCount);
      if (cancelable && cancelable->Cancel()) {
        result.Code = OperationResultCode::Canceled;
        return result;
      }
    }
    if (result.FailAssetCount > 0) result.Code = OperationResultCode::CompletedWithError;
    return result;
  }

 private:
  // A message of which nothing could be made is one in the PST, too, and looked at as such.
  bool Look(IAsset* item) {
    mapi::ComPointer<mapi::IMessage> message;
    _store._scratch.CreateMessage(nullptr, 0, message.Put());
    auto* mail = dynamic_cast<IEmailAsset*>(item);
    if (!message || !mail) return false;
    engine::ItemStep* step = _store.ItemStep();
    if (step) step->BeforeConversion(*item);
    const bool converted = mail->ConvertToMAPIMessage(message.get(), &_store._session);
    if (step) step->BeforeSave(*item, *message);
    MessageContent content = ReadContent(*message);
    // Whether or not a step has put it there.
    auto* facts = dynamic_cast<engine::IMessageFacts*>(item);
    content.key = facts ? facts->Key() : std::nullopt;
    _store._taker.Take(_path, content);
    return converted;
  }

  ContentStore& _store;
  std::vector<std::u16string> _path;
  std::map<std::u16string, Folder*> _children;
};

ContentStore::ContentStore(mapi::IMAPISession& session, mapi::IMAPIFolder& scratch,
                           ContentTaker& taker)
    : AssetStoreBase(std::nullopt, u"Content"),
      _session(session),
      _scratch(scratch),
      _taker(taker) {
  auto* top =
      MakeFolder<Folder>(*this, u"", QuelmarMIMEEngineCommon::kAssetFolderTypeAssets, nullptr);
  _storeRootAssetFolder = top;
  _top = top;
}

}  // namespace parvane::moves
