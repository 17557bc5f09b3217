// MH folders: directories in which every message is a file named by a number. What the messages are
// marked with stands in the directory's file ".mh_sequences".
#pragma once

#include <optional>

#include "sources/state/mh_sequences.h"
#include "sources/stores/message_files/directory_store.h"

namespace parvane::sources {

class MhFolder : public QuelmarMIMEEngineCommon::MessageFileFolder {
 public:
  // `marksAreKept`: a program that writes sequences keeps the tree, so that a folder without them
  // has no unseen message. Must outlive the folder.
  MhFolder(QuelmarMIMEEngineCommon::NullableString directory,
           QuelmarMIMEEngineCommon::NullableString folderName,
           QuelmarMIMEEngineCommon::IAssetStore* ownerStore,
           QuelmarMIMEEngineCommon::AssetFolderBase* parentFolder, const bool* marksAreKept)
      : MessageFileFolder(std::move(directory), std::move(folderName), ownerStore, parentFolder),
        _marksAreKept(marksAreKept) {}

 protected:
  void LearnState(std::u16string_view path, const engine::StateWishes& wishes,
                  engine::MessageState& state) override;
  void Close() override { _sequences.reset(); }

 private:
  // Nothing where they cannot be read.
  std::optional<MhSequences> ReadSequences();

  const bool* _marksAreKept;
  // From the first message to the last.
  std::optional<std::optional<MhSequences>> _sequences;
};

class MhStore : public DirectoryStore {
 public:
  explicit MhStore(QuelmarMIMEEngineCommon::NullableString path)
      : DirectoryStore(std::move(path), u"MH", engine::MessageLayout::kMh) {}

 protected:
  Folder* MakeFolderFor(std::u16string_view directory, std::u16string_view name,
                        QuelmarMIMEEngineCommon::AssetFolderBase* parent) override;
  // By number.
  void AddMessages(std::u16string_view directory, const Entries& entries, Folder& folder,
                   SourceWalk& walk) override;

 private:
  bool _marksAreKept = false;
};

}  // namespace parvane::sources
