// A folder of a maildir: the files of its directory's "cur" and "new".
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/message_file_folder.h"
#include "sources/source_walk.h"
#include "sources/state/mailbox_index.h"
#include "sources/state/maildir_marks.h"

namespace parvane::sources {

class MaildirFolder : public QuelmarMIMEEngineCommon::MessageFileFolder {
 public:
  // Without a directory it only holds others, until it is given one.
  MaildirFolder(std::u16string_view name, QuelmarMIMEEngineCommon::IAssetStore* ownerStore,
                QuelmarMIMEEngineCommon::AssetFolderBase* parentFolder)
      : MessageFileFolder(std::nullopt, std::u16string(name), ownerStore, parentFolder) {}

  bool HasDirectory() const { return _folderDiskPath.has_value(); }
  // Takes the directory's messages, in the order of their delivery.
  void TakeDirectory(std::u16string_view directory, SourceWalk& walk);
  void SetName(std::u16string_view name) { _folderName = name; }

 protected:
  // Of Thunderbird's maildirs the index beside the directory tells.
  engine::MessageState StateOf(const StateHeaders& headers,
                               const engine::StateWishes& wishes) override;
  void LearnState(std::u16string_view path, const engine::StateWishes& wishes,
                  engine::MessageState& state) override;
  // The moment of delivery in the file's name; else when the file was written last.
  void LearnDateElsewhere(engine::MessageState& state) override;
  void Close() override;

 private:
  std::unique_ptr<MailboxIndex> _index;      // likewise; null: not Thunderbird's
  bool _indexed = false;                     // has been looked for
  std::optional<MaildirKeywords> _keywords;  // from the first to the last message
};

}  // namespace parvane::sources
