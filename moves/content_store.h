// A destination that keeps no mail: every item is converted as it would be for a PST, with the same
// step between conversion and saving (engine::InsertItemStep), its content is read from what came
// of it, and the message is let go unsaved.
#pragma once

#include <string>
#include <vector>

#include "engine/asset_bases.h"
#include "mapi/folder.h"
#include "mapi/session.h"
#include "moves/message_content.h"

namespace parvane::moves {

class ContentTaker {
 public:
  virtual ~ContentTaker() = default;
  // The message that goes to this folder next.
  virtual void Take(const std::vector<std::u16string>& folder, const MessageContent& content) = 0;
};

class ContentStore : public QuelmarMIMEEngineCommon::AssetStoreBase {
 public:
  // Messages are made in `scratch` and never saved. All must outlive it.
  ContentStore(mapi::IMAPISession& session, mapi::IMAPIFolder& scratch, ContentTaker& taker);

  // The top folder is there from the start.
  QuelmarMIMEEngineCommon::OperationResultCode OpenStore(
      QuelmarMIMEEngineCommon::IProgressPresenter*, QuelmarMIMEEngineCommon::ICancelable*, bool,
      QuelmarMIMEEngineCommon::ILogger*) override {
    return QuelmarMIMEEngineCommon::OperationResultCode::Completed;
  }
  // Always null.
  QuelmarMIMEEngineCommon::IAssetFolder* GetDefaultFolder(
      QuelmarMIMEEngineCommon::AssetFolderType) override {
    return nullptr;
  }
  QuelmarMIMEEngineCommon::IAssetFolderMutable& top() const { return *_top; }

 private:
  class Folder;

  mapi::IMAPISession& _session;
  mapi::IMAPIFolder& _scratch;
  ContentTaker& _taker;
  QuelmarMIMEEngineCommon::IAssetFolderMutable* _top = nullptr;
};

}  // namespace parvane::moves
