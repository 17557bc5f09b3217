// A tree of directories, each a folder of the messages in it: what stores of messages in files of
// their own share where the tree of directories is the tree of folders.
#pragma once

#include <string_view>
#include <vector>

#include "engine/asset_bases.h"
#include "engine/message_layouts.h"
#include "platform/file.h"
#include "sources/message_file_folder.h"
#include "sources/source_walk.h"

namespace parvane::sources {

class DirectoryStore : public QuelmarMIMEEngineCommon::AssetStoreBase {
 public:
  // Under the root stands one folder for the directory itself, and under that those of its
  // subdirectories. Directories without messages do not appear. `create` and `logger` are ignored.
  // Canceled leaves what was built so far.
  QuelmarMIMEEngineCommon::OperationResultCode OpenStore(
      QuelmarMIMEEngineCommon::IProgressPresenter* progressPresenter,
      QuelmarMIMEEngineCommon::ICancelable* cancelable, bool create,
      QuelmarMIMEEngineCommon::ILogger* logger) override;
  // Always null.
  QuelmarMIMEEngineCommon::IAssetFolder* GetDefaultFolder(
      QuelmarMIMEEngineCommon::AssetFolderType) override {
    return nullptr;
  }

 protected:
  using Folder = QuelmarMIMEEngineCommon::MessageFileFolder;
  using Entries = std::vector<platform::DirectoryEntry>;

  DirectoryStore(QuelmarMIMEEngineCommon::NullableString path, std::u16string_view storeName,
                 engine::MessageLayout layout)
      : AssetStoreBase(std::move(path), std::u16string(storeName)), _layout(layout) {}

  virtual Folder* MakeFolderFor(std::u16string_view directory, std::u16string_view name,
                                QuelmarMIMEEngineCommon::AssetFolderBase* parent) = 0;
  // Gives the folder those files of its directory that are messages, in their order; each other
  // file goes to `walk`.
  virtual void AddMessages(std::u16string_view directory, const Entries& entries, Folder& folder,
                           SourceWalk& walk) = 0;

 private:
  // False when the walk was cancelled.
  bool Populate(std::u16string_view directory, Folder& folder, SourceWalk& walk);

  engine::MessageLayout _layout;
};

}  // namespace parvane::sources
