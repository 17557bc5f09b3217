// Messages saved one by one, as files with the extension ".eml": a directory tree of them, or
// some files of one directory.
#pragma once

#include <string>
#include <vector>

#include "sources/stores/message_files/directory_store.h"

namespace parvane::sources {

// Of a letter only the letter itself tells: "X-Unsent: 1" makes it a draft.
class LetterFolder : public QuelmarMIMEEngineCommon::MessageFileFolder {
 public:
  using MessageFileFolder::MessageFileFolder;

 protected:
  engine::MessageState StateOf(const StateHeaders& headers,
                               const engine::StateWishes& wishes) override;
};

class LetterStore : public DirectoryStore {
 public:
  explicit LetterStore(QuelmarMIMEEngineCommon::NullableString path)
      : DirectoryStore(std::move(path), u"Letters", engine::MessageLayout::kLetters) {}
  // Over these files of one directory, in their order, as one folder.
  explicit LetterStore(std::vector<std::u16string> files);

  QuelmarMIMEEngineCommon::OperationResultCode OpenStore(
      QuelmarMIMEEngineCommon::IProgressPresenter* progressPresenter,
      QuelmarMIMEEngineCommon::ICancelable* cancelable, bool create,
      QuelmarMIMEEngineCommon::ILogger* logger) override;

 protected:
  Folder* MakeFolderFor(std::u16string_view directory, std::u16string_view name,
                        QuelmarMIMEEngineCommon::AssetFolderBase* parent) override;
  // By name.
  void AddMessages(std::u16string_view directory, const Entries& entries, Folder& folder,
                   SourceWalk& walk) override;

 private:
  std::vector<std::u16string> _files;  // empty: the directory's
};

}  // namespace parvane::sources
