// Two services for choosing where a PST goes: a folder chooser, and a file name that is free.
#pragma once

#include <string>

namespace QuelmarDiskUtilities {

class DiskUtilities {
 public:
  DiskUtilities() = default;

  // The first of Mail.pst, Mail(1).pst, Mail(2).pst, ... in the folder that no file has; folders
  // do not count. The extension comes without its dot, which stands even when it is empty. Free
  // only at the time of the check.
  std::u16string DetermineNewFileName(const std::u16string& parentFolder,
                                      const std::u16string& fileName,
                                      const std::u16string& fileExt) const;

  // Lets the user choose a folder (and make one, with `canCreateNew`) in the system's dialog. Empty
  // when the user cancels, for anything that is no folder on disk, and where there is no dialog.
  static std::u16string BrowseForFolder(const std::u16string& label, bool canCreateNew,
                                        void* hWndParent);
};

}  // namespace QuelmarDiskUtilities
