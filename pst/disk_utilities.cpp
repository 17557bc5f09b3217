#include "pst/disk_utilities.h"

#include <cstdint>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/text.h"

namespace QuelmarDiskUtilities {

namespace platform = parvane::platform;

std::u16string DiskUtilities::DetermineNewFileName(const std::u16string& parentFolder,
                                                   const std::u16string& fileName,
                                                   const std::u16string& fileExt) const {
  const std::u16string base = parentFolder + platform::kPathSeparator + fileName;
  const std::u16string extension = u"." + fileExt;
  std::u16string candidate = base + extension;
  for (std::uint64_t counter = 1; platform::FileSystem::Default().FileExists(candidate); ++counter)
    candidate = base + u"(" + platform::Utf8ToUtf16(std::to_string(counter)) + u")" + extension;
  return candidate;
}

std::u16string DiskUtilities::BrowseForFolder(const std::u16string& label, bool canCreateNew,
                                              void* hWndParent) {
  return platform::BrowseForFolder(label, canCreateNew, hWndParent);
}

}  // namespace QuelmarDiskUtilities
