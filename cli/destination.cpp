#include "cli/destination.h"

#include "cli/folder_names.h"
#include "platform/file.h"
#include "pst/disk_utilities.h"
#include "pstfile/ndb/file_kind.h"

namespace parvane::cli {
namespace {

using platform::FileKind;
using platform::FileSystem;
using platform::Result;
using platform::Status;
using platform::StatusCode;

FileSystem& Files() { return FileSystem::Default(); }

Status Refuse(StatusCode code, std::u16string_view path, std::string_view reason) {
  return {code, platform::PathForDisplay(path) + ": " + std::string(reason)};
}

// The name comes from a source's or a user's folder name: what separates paths is replaced.
std::u16string FreePath(std::u16string_view folder, std::u16string_view name) {
  std::u16string stem = UsableFolderName(name);
  for (char16_t& c : stem) {
    if (c == u'/' || c == u'\\') c = u'_';
  }
  while (folder.size() > 1 && folder.back() == platform::kPathSeparator) folder.remove_suffix(1);
  return QuelmarDiskUtilities::DiskUtilities().DetermineNewFileName(std::u16string(folder), stem,
                                                                    u"pst");
}

// MAPI takes a PST's path in a buffer of this many characters, terminator included.
constexpr std::size_t kPathLimit = 2012;

// Whether a file can be made is best learned by making it.
Status TryToCreate(std::u16string_view path) {
  auto file = Files().Open(path, FileSystem::OpenMode::kCreateNew);
  if (!file.ok()) return file.status();
  std::move(file).value().reset();
  return Files().Remove(path);
}

Status TryToLock(std::u16string_view path) {
  auto file = Files().Open(path, FileSystem::OpenMode::kReadWrite);
  if (!file.ok()) return file.status();
  Status locked = file.value()->LockExclusive();
  if (locked.code() == StatusCode::kLocked)
    return Refuse(StatusCode::kLocked, path, "another program has this PST open");
  return locked;
}

}  // namespace

Status CheckIsPst(std::u16string_view path) {
  auto kind = pstfile::KindOfFile(Files(), path);
  if (!kind.ok()) return kind.status();
  if (kind->family == pstfile::FileFamily::kPst) return {};
  return Refuse(StatusCode::kUnsupported, path, kind->status.message());
}

Status CheckIsHandled(std::u16string_view path, MapiChoice mapi) {
  if (mapi == MapiChoice::kOutlook) return CheckIsPst(path);
  auto kind = pstfile::KindOfFile(Files(), path);
  if (!kind.ok()) return kind.status();
  return kind->status.WithContext(platform::PathForDisplay(path));
}

Result<Destination> CheckDestination(const ConvertOptions& options,
                                     std::u16string_view nameInFolder) {
  Destination destination{options.destination};
  FileKind kind = Files().Inspect(destination.path).kind;
  if (kind == FileKind::kFolder) {
    destination.path = FreePath(destination.path, nameInFolder);
    kind = Files().Inspect(destination.path).kind;
  }

  if (destination.path.size() >= kPathLimit)
    return Refuse(StatusCode::kTooBig, destination.path,
                  "the path is too long (at most 2011 characters)");
  if (kind != FileKind::kNone && kind != FileKind::kFile)
    return Refuse(StatusCode::kUnsupported, destination.path, "not a regular file");
  if (kind == FileKind::kNone) {
    const std::u16string folder = platform::ParentOfPath(destination.path);
    if (!Files().FolderExists(folder))
      return Refuse(StatusCode::kNotFound, destination.path,
                    "the folder " + platform::PathForDisplay(folder) + " does not exist");
    if (Status created = TryToCreate(destination.path); !created.ok()) return created;
    return destination;
  }

  if (Status isPst = CheckIsPst(destination.path); !isPst.ok()) {
    if (isPst.code() != StatusCode::kUnsupported) return isPst;
    return Status(StatusCode::kExists, isPst.message() + "; it is left as it is");
  }
  if (!options.append && !options.overwrite)
    return Refuse(StatusCode::kExists, destination.path,
                  "exists already; --append adds to it, --overwrite replaces it");
  if (options.append) {
    if (Status handled = CheckIsHandled(destination.path, options.mapi); !handled.ok())
      return handled;
  }
  if (Status locked = TryToLock(destination.path); !locked.ok()) return locked;
  destination.existed = true;
  destination.replaced = options.overwrite;
  return destination;
}

}  // namespace parvane::cli
