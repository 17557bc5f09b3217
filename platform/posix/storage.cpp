// What files share with others: who may read them, and the space they stand in.
#include <cerrno>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/errors.h"

namespace parvane::platform {

Status CopyAccessRights(std::u16string_view from, std::u16string_view to) {
  struct stat model, now;
  const std::string target = PathToNative(to);
  if (::stat(PathToNative(from).c_str(), &model) != 0) return ErrnoStatus(errno, "inspect", from);
  if (::stat(target.c_str(), &now) != 0) return ErrnoStatus(errno, "inspect", to);
  mode_t mode = model.st_mode & 07777;
  if (now.st_uid != model.st_uid || now.st_gid != model.st_gid) {
    // A plain user gives no file away, and no group gets what was for another.
    if (::chown(target.c_str(), model.st_uid, model.st_gid) != 0 &&
        ::chown(target.c_str(), static_cast<uid_t>(-1), model.st_gid) != 0) {
      mode &= ~static_cast<mode_t>(070 | S_ISUID | S_ISGID);
    }
  } else if ((now.st_mode & 07777) == mode) {
    return {};  // file systems whose files all have one mode refuse to change it
  }
  if (::chmod(target.c_str(), mode) != 0) return ErrnoStatus(errno, "change the mode of", to);
  return {};
}

bool IsDanglingLink(std::u16string_view path) {
  struct stat info;
  const std::string name = PathToNative(path);
  return ::stat(name.c_str(), &info) != 0 && ::lstat(name.c_str(), &info) == 0;
}

std::optional<std::uint64_t> FreeSpace(std::u16string_view folder) {
  struct statvfs space;
  if (::statvfs(PathToNative(folder).c_str(), &space) != 0 || space.f_frsize == 0) return {};
  return std::uint64_t{space.f_bavail} * space.f_frsize;
}

}  // namespace parvane::platform
