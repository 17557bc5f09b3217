// Folder creation on raw MAPI folders, beside the copy pipeline, which does not use it.
#pragma once

#include <string>

#include "engine/folders.h"
#include "mapi/folder.h"

namespace QuelmarMIMEEngineCommon {

class PSTStoreHelper {
 public:
  // Rebuilds the path of a source folder, from its topmost ancestor down, under `root`, opening
  // the folders that are there already. Returns the folder that stands for `folder`, which the
  // caller owns; `root` itself, without another reference, when `folder` is null; null when a
  // folder could not be created.
  static parvane::mapi::IMAPIFolder* CreateMAPIFolder(IAssetFolder* folder,
                                                      parvane::mapi::IMAPIFolder* root);

  // Creates (or opens) a folder under `parent` and records its entry identifier there as that of
  // the special folder of the type. The caller owns the folder. A type that has no special folder
  // records nothing: the store refuses a property without a tag.
  static parvane::mapi::IMAPIFolder* CreateSpecialFolder(parvane::mapi::IMAPIFolder* parent,
                                                         AssetFolderType folderType,
                                                         const std::u16string& name);
};

}  // namespace QuelmarMIMEEngineCommon
