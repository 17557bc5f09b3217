// Which folders the PST gets, and from which source folders their mail comes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "desk/conversion_record.h"
#include "desk/folder_names.h"
#include "desk/folders_there.h"
#include "engine/stores.h"

namespace parvane::desk {

inline constexpr std::size_t kTopFolder = static_cast<std::size_t>(-1);

struct PlannedFolder {
  QuelmarMIMEEngineCommon::IAssetFolder* source = nullptr;  // null: only there to hold others
  QuelmarMIMEEngineCommon::AssetFolderType type = QuelmarMIMEEngineCommon::kAssetFolderTypeAssets;
  std::size_t parent = kTopFolder;
  std::u16string name;
  std::vector<std::u16string> path;
  std::uint64_t bytes = 0;  // of the mail in it, folders below not counted
  bool chosen = true;       // else it is only there to hold others, or not at all

  // Folders of the type Assets hold folders and no items.
  bool TakesMail() const {
    return chosen && type == QuelmarMIMEEngineCommon::kAssetFolderTypeEmail;
  }
};

// Parents come before their children.
class FolderPlan {
 public:
  // Folders may be named as a server spells them (cli/modified_utf7.h).
  enum class Naming { kAsTheyAre, kOfServers };

  // Every store's mail goes below this folder.
  void SetCommonTop(std::u16string_view name) { _commonTop = AddHolder(name, kTopFolder); }
  // Adds the tree of an opened store, if it holds any folder. `topName` empty: its folders go
  // directly under the top. `holdsItself`: the store's root has one folder, which stands for the
  // source and takes topName.
  void AddStore(const QuelmarMIMEEngineCommon::IAssetStore& store, std::u16string_view topName,
                bool holdsItself, Naming naming);
  // The folders of a store, as children of one that is there.
  void AddFoldersOf(const QuelmarMIMEEngineCommon::IAssetStore& store, std::size_t parent,
                    Naming naming);
  // A folder that only holds others; its place.
  std::size_t AddHolder(std::u16string_view wanted, std::size_t parent);
  // The one for all mail of a store; without a name, what is above the store's folders.
  std::size_t AddTop(std::u16string_view topName);

  // Takes out the folders of which this is true; but for what is above others that stay, whose mail
  // alone is left out.
  void LeaveOut(const std::function<bool(const PlannedFolder&)>& unwanted);
  // Those of them that hold mail. The places of the folders above them mean nothing.
  const std::vector<PlannedFolder>& leftOut() const { return _leftOut; }
  // The one of these that stands for a source's folder; null: none.
  const PlannedFolder* LeftOutOf(const QuelmarMIMEEngineCommon::IAssetFolder& source) const;

  // Gives other names to the folders that would become one with those of these that hold no mail.
  void Avoid(const FoldersThere& there);

  const std::vector<PlannedFolder>& folders() const { return _folders; }
  // Those whose names had to change.
  const std::vector<RenamedFolder>& renamed() const { return _renamed; }
  std::uint64_t TotalBytes() const;
  std::size_t MailFolders() const;

 private:
  std::size_t AddFolder(QuelmarMIMEEngineCommon::IAssetFolder* source, std::u16string_view wanted,
                        std::size_t parent);
  void AddTree(QuelmarMIMEEngineCommon::IAssetFolder* source, std::u16string_view wanted,
               std::size_t parent, Naming naming);

  std::vector<PlannedFolder> _folders;
  std::vector<SiblingNames> _children = std::vector<SiblingNames>(1);  // [0] the top, then by index
  std::vector<RenamedFolder> _renamed;
  std::vector<PlannedFolder> _leftOut;
  std::size_t _commonTop = kTopFolder;
};

}  // namespace parvane::desk
