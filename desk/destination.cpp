#include "desk/destination.h"

#include "desk/destination_claim.h"
#include "desk/folder_names.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "pst/disk_utilities.h"
#include "pstfile/ndb/file_kind.h"

namespace parvane::desk {
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
constexpr std::size_t kPartialSuffix = std::u16string_view(u".partial").size();

// Where a link leads to; the path itself when it is none.
std::u16string LinkFollowed(const std::u16string& path) {
  const std::u16string whole = platform::CanonicalPath(path);
  const std::u16string folder = platform::CanonicalPath(platform::ParentOfPath(path));
  return whole == platform::JoinPath(folder, platform::FileNameOfPath(path)) ? path : whole;
}

bool NamesAPst(std::u16string_view path) {
  std::u16string extension = platform::ExtensionOfPath(path);
  for (char16_t& c : extension) c = static_cast<char16_t>(c | 0x20);
  return extension == u".pst" && !platform::StemOfPath(path).empty();
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
  Destination destination;
  destination.path = options.destination;
  FileKind kind = Files().Inspect(destination.path).kind;
  if (kind == FileKind::kFolder) {
    destination.path = FreePath(destination.path, nameInFolder);
    kind = Files().Inspect(destination.path).kind;
  }

  if (destination.path.size() + kPartialSuffix >= kPathLimit) {
    return Refuse(StatusCode::kTooBig, destination.path,
                  "the path is too long (at most 2003 characters)");
  }
  if (kind != FileKind::kNone && kind != FileKind::kFile)
    return Refuse(StatusCode::kUnsupported, destination.path, "not a regular file");
  if (options.destination == u"-") {
    return Refuse(StatusCode::kInvalidArgument, options.destination,
                  "a PST cannot be written to standard output; it needs the name of a file");
  }
  if (kind == FileKind::kNone) {
    const std::u16string folder = platform::ParentOfPath(destination.path);
    if (!Files().FolderExists(folder)) {
      return Refuse(StatusCode::kNotFound, destination.path,
                    "the folder " + platform::PathForDisplay(folder) + " does not exist");
    }
    if (platform::IsDanglingLink(destination.path))
      return Refuse(StatusCode::kNotFound, destination.path, "is a link to where nothing is");
    if (!NamesAPst(destination.path)) {
      return Refuse(StatusCode::kInvalidArgument, destination.path,
                    "a PST's name ends in .pst, and there is no folder of this name");
    }
    destination.file = destination.path;
    // Another program's library need not see this one's current folder.
    if (options.mapi == MapiChoice::kOutlook) {
      destination.file = platform::JoinPath(platform::CanonicalPath(folder),
                                            platform::FileNameOfPath(destination.path));
    }
    return destination;
  }

  if (Status isPst = CheckIsPst(destination.path); !isPst.ok()) {
    if (isPst.code() != StatusCode::kUnsupported) return isPst;
    return Status(StatusCode::kExists, isPst.message() + "; it is left as it is");
  }
  if (!options.append && !options.overwrite) {
    std::string_view reason = "exists already; --append adds to it, --overwrite replaces it";
    if (options.resume) {
      reason = Files().FileExists(PartialPath(LinkFollowed(destination.path)))
                   ? "exists already; --resume --overwrite goes on with what was to replace it"
                   : "is finished; --append --skip-existing adds what is missing, --overwrite "
                     "replaces it";
    }
    return Refuse(StatusCode::kExists, destination.path, reason);
  }
  if (options.append) {
    if (Status handled = CheckIsHandled(destination.path, options.mapi); !handled.ok())
      return handled;
  }
  if (!NamesAPst(destination.path))
    return Refuse(StatusCode::kInvalidArgument, destination.path, "a PST's name ends in .pst");
  destination.file = options.mapi == MapiChoice::kOutlook
                         ? platform::CanonicalPath(destination.path)
                         : LinkFollowed(destination.path);
  destination.existed = true;
  destination.replaced = options.overwrite;
  return destination;
}

}  // namespace parvane::desk
