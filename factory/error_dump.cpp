#include "factory/error_dump.h"

#include <exception>

#include "engine/asset_bases.h"
#include "factory/source_factory.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"

namespace parvane::factory {

using QuelmarMIMEEngineCommon::EmailAssetBase;

namespace {

bool keepsDump = true;

// A new user's local application data may not be there yet: up to the home folder, which is.
void CreateFolders(platform::FileSystem& files, const std::u16string& folder, int missingLevels) {
  if (files.FolderExists(folder)) return;
  if (missingLevels > 0) CreateFolders(files, platform::ParentOfPath(folder), missingLevels - 1);
  static_cast<void>(files.CreateFolder(folder, true));
}

}  // namespace

void KeepErrorDump(bool keeps) {
  keepsDump = keeps;
  PrepareErrorDump();
}

void PrepareErrorDump() {
  if (!keepsDump) return EmailAssetBase::SetDumpFilePath(std::nullopt);
  try {
    const auto local = platform::LocalApplicationDataFolder();
    if (!local) return EmailAssetBase::SetDumpFilePath(std::nullopt);
    platform::FileSystem& files = platform::FileSystem::Default();
    const std::u16string folder = platform::JoinPath(*local, u"Quelmar K4M Dump");
    CreateFolders(files, folder, 3);
    if (files.FolderExists(folder))
      EmailAssetBase::SetDumpFilePath(platform::JoinPath(folder, u"MessageErrorDump.dmp"));
  } catch (const std::exception&) {
    EmailAssetBase::SetDumpFilePath(std::nullopt);
  }
}

}  // namespace parvane::factory
