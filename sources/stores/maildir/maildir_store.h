// Maildirs: directories with "cur" and "new", in which every message is a file. How they are nested
// differs; each of these ways is read, wherever it is met:
//
//   Maildir++             ".Clients.Acme" in a maildir is the folder "Acme" in "Clients", both
//                         beside the inbox, which is the maildir itself
//   real directories      "Projects/Alpha" is the folder "Alpha" in "Projects"
//   KMail                 ".inbox.directory" holds the subfolders of "inbox"
//   Thunderbird           "Inbox.sbd" holds those of "Inbox", which may have no "new"
//
// Names may be spelled as servers spell them (modified UTF-7); they come as they are.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "engine/asset_bases.h"
#include "sources/source_walk.h"
#include "sources/stores/maildir/maildir_folder.h"

namespace parvane::sources {

class MaildirStore : public QuelmarMIMEEngineCommon::AssetStoreBase {
 public:
  explicit MaildirStore(QuelmarMIMEEngineCommon::NullableString path)
      : AssetStoreBase(std::move(path), u"Maildir") {}

  // The folders stand directly under the root. A maildir that is given itself is called "INBOX"
  // when others lie in it, or by its directory. Directories without mail below them do not appear.
  // `create` and `logger` are ignored. Canceled leaves what was built so far.
  QuelmarMIMEEngineCommon::OperationResultCode OpenStore(
      QuelmarMIMEEngineCommon::IProgressPresenter* progressPresenter,
      QuelmarMIMEEngineCommon::ICancelable* cancelable, bool create,
      QuelmarMIMEEngineCommon::ILogger* logger) override;
  // Always null.
  QuelmarMIMEEngineCommon::IAssetFolder* GetDefaultFolder(
      QuelmarMIMEEngineCommon::AssetFolderType) override {
    return nullptr;
  }

 private:
  // The folder of that name; made when there is none yet.
  MaildirFolder* FolderNamed(std::u16string_view name, MaildirFolder* parent);
  // Takes a folder without mail, its own or below it, out again.
  void DropIfEmpty(MaildirFolder* folder, MaildirFolder* parent);
  void ReadRoot(std::u16string_view directory, MaildirFolder* root, SourceWalk& walk);
  // `folder` takes the directory's messages (null: it is no maildir, whatever is in it), `children`
  // the folders of the directories in it. False when the walk was cancelled.
  bool ReadDirectory(std::u16string_view directory, MaildirFolder* folder, MaildirFolder* children,
                     SourceWalk& walk);
  bool ReadEntry(std::u16string_view path, std::u16string_view name, MaildirFolder* parent,
                 SourceWalk& walk);

  std::map<std::pair<MaildirFolder*, std::u16string>, MaildirFolder*> _byName;
};

}  // namespace parvane::sources
