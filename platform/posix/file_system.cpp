#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/errors.h"
#include "platform/posix/posix_file.h"

namespace parvane::platform {
namespace {

// A native path for the system. A name that holds a NUL cannot exist: it must not be cut there.
bool ToNative(std::u16string_view path, std::string* native) {
  *native = PathToNative(path);
  return native->find('\0') == std::string::npos;
}

Status BadName(std::string_view action, std::u16string_view path) {
  return ErrnoStatus(EINVAL, action, path);
}

Status NoRegularFile(std::string_view action, std::u16string_view path) {
  return {StatusCode::kUnsupported,
          "cannot " + std::string(action) + " " + PathForDisplay(path) + ": not a regular file"};
}

// Opens a regular file and nothing else. Asking first keeps devices from being opened at all;
// O_NONBLOCK and asking again cover a file that was replaced by a FIFO in between.
Result<Descriptor> OpenRegular(std::u16string_view path, int flags, mode_t mode,
                               std::string_view action) {
  std::string native;
  if (!ToNative(path, &native)) return BadName(action, path);
  struct stat info;
  if (::stat(native.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
    if ((flags & O_EXCL) != 0) return ErrnoStatus(EEXIST, action, path);
    return NoRegularFile(action, path);
  }
  Descriptor fd(Retry(
      [&] { return ::open(native.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode); }));
  if (!fd.valid()) return ErrnoStatus(errno, action, path);
  if (::fstat(fd.get(), &info) != 0) return ErrnoStatus(errno, action, path);
  if (!S_ISREG(info.st_mode)) return NoRegularFile(action, path);
  return fd;
}

// RENAME_NOREPLACE where the system has it; a hard link that then replaces the old name where it
// has not. Folders get a check of their own.
int RenameWithoutReplacing(const char* from, const char* to) {
#if defined(__linux__) && defined(RENAME_NOREPLACE)
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
#endif
  struct stat info;
  if (::lstat(from, &info) != 0) return -1;
  if (S_ISREG(info.st_mode) && ::link(from, to) == 0) return ::unlink(from);
  if (S_ISREG(info.st_mode) && errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) {
    return -1;
  }
  if (::lstat(to, &info) == 0) {
    errno = EEXIST;
    return -1;
  }
  return ::rename(from, to);
}

class PosixFileSystem final : public FileSystem {
 public:
  PosixFileSystem() {
    // Writing past the process's file size limit shall be an error like a full disk, not the end
    // of the process; a handler of the program's own stays.
    struct sigaction current;
    if (::sigaction(SIGXFSZ, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
      ::signal(SIGXFSZ, SIG_IGN);
    }
  }

  Result<std::unique_ptr<RandomAccessFile>> Open(std::u16string_view path, OpenMode mode) override {
    int flags = O_RDONLY;
    if (mode == OpenMode::kReadWrite) flags = O_RDWR;
    if (mode == OpenMode::kCreateNew) flags = O_RDWR | O_CREAT | O_EXCL;
    auto fd = OpenRegular(path, flags, 0666, mode == OpenMode::kCreateNew ? "create" : "open");
    if (!fd.ok()) return fd.status();
    return MakePosixFile(std::move(fd).value(), path);
  }

  FileInformation Inspect(std::u16string_view path) override {
    std::string native;
    struct stat info;
    if (!ToNative(path, &native) || ::stat(native.c_str(), &info) != 0) return {};
    return InformationOf(info);
  }

  Result<std::vector<DirectoryEntry>> List(std::u16string_view folder) override {
    std::string native;
    if (!ToNative(folder, &native)) return BadName("list", folder);
    DIR* directory = ::opendir(native.c_str());
    if (directory == nullptr) return ErrnoStatus(errno, "list", folder);
    const std::unique_ptr<DIR, int (*)(DIR*)> closer(directory, ::closedir);
    std::vector<DirectoryEntry> entries;
    for (;;) {
      errno = 0;
      const dirent* found = ::readdir(directory);
      if (found == nullptr) {
        if (errno != 0) return ErrnoStatus(errno, "list", folder);
        break;
      }
      const std::string_view name = found->d_name;
      if (name == "." || name == "..") continue;
      DirectoryEntry entry;
      entry.name = PathFromNative(name);
      struct stat info;
      // Not every file system tells the kind of its entries along with their names.
      entry.link = found->d_type == DT_LNK ||
                   (found->d_type == DT_UNKNOWN &&
                    ::fstatat(::dirfd(directory), found->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISLNK(info.st_mode));
      if (::fstatat(::dirfd(directory), found->d_name, &info, 0) == 0) {
        entry.kind = KindOf(info.st_mode);
        if (entry.kind == FileKind::kFile) entry.size = static_cast<std::uint64_t>(info.st_size);
      }
      entries.push_back(std::move(entry));
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    return entries;
  }

  Status CreateFolder(std::u16string_view path, bool privateToUser) override {
    std::string native;
    if (!ToNative(path, &native)) return BadName("create folder", path);
    if (::mkdir(native.c_str(), privateToUser ? 0700 : 0777) == 0) return {};
    const int error = errno;
    if (error == EEXIST && FolderExists(path)) return {};
    return ErrnoStatus(error, "create folder", path);
  }

  Status Rename(std::u16string_view from, std::u16string_view to, bool replace) override {
    std::string source;
    std::string target;
    if (!ToNative(from, &source) || !ToNative(to, &target)) return BadName("rename", from);
    const int result = replace ? ::rename(source.c_str(), target.c_str())
                               : RenameWithoutReplacing(source.c_str(), target.c_str());
    if (result == 0) return {};
    return ErrnoStatus(errno, "rename", from).WithContext("to " + PathForDisplay(to));
  }

  Status Remove(std::u16string_view path) override {
    std::string native;
    if (!ToNative(path, &native)) return BadName("remove", path);
    if (::remove(native.c_str()) == 0) return {};
    return ErrnoStatus(errno, "remove", path);
  }

  Status FlushFolder(std::u16string_view path) override {
    std::string native;
    if (!ToNative(path, &native)) return BadName("flush", path);
    const Descriptor fd(
        Retry([&] { return ::open(native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!fd.valid()) return ErrnoStatus(errno, "flush", path);
    if (Retry([&] { return ::fsync(fd.get()); }) == 0) return {};
    // A file system that cannot flush folders keeps their order itself.
    if (errno == EINVAL || errno == EOPNOTSUPP) return {};
    return ErrnoStatus(errno, "flush", path);
  }

  bool IsHeldByAnother(std::u16string_view path) override {
    const auto fd = OpenRegular(path, O_RDONLY, 0, "open");
    if (!fd.ok()) return false;
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(fd->get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  }

  Status AppendPrivate(std::u16string_view path,
                       std::span<const std::span<const std::byte>> pieces) override {
    auto fd = OpenRegular(path, O_WRONLY | O_APPEND | O_CREAT, 0600, "append to");
    if (!fd.ok()) return fd.status();
    struct stat info;
    if (::fstat(fd->get(), &info) != 0) return ErrnoStatus(errno, "append to", path);
    // A file that was there already may be open to others.
    if ((info.st_mode & 077) != 0 && ::fchmod(fd->get(), 0600) != 0) {
      return ErrnoStatus(errno, "make private", path);
    }
    std::vector<iovec> rest;
    rest.reserve(pieces.size());
    for (const auto& piece : pieces) {
      if (piece.empty()) continue;
      rest.push_back({const_cast<std::byte*>(piece.data()), piece.size()});
    }
    std::size_t next = 0;
    while (next < rest.size()) {
      const int count = static_cast<int>(std::min<std::size_t>(rest.size() - next, IOV_MAX));
      const ssize_t result = Retry([&] { return ::writev(fd->get(), &rest[next], count); });
      if (result < 0) return ErrnoStatus(errno, "append to", path);
      auto written = static_cast<std::size_t>(result);
      if (written == 0) return ErrnoStatus(EIO, "append to", path);
      for (; next < rest.size() && written >= rest[next].iov_len; ++next) {
        written -= rest[next].iov_len;
      }
      if (next < rest.size() && written > 0) {
        rest[next].iov_base = static_cast<std::byte*>(rest[next].iov_base) + written;
        rest[next].iov_len -= written;
      }
    }
    return {};
  }
};

}  // namespace

FileSystem& FileSystem::Default() {
  static FileSystem* const system = new PosixFileSystem;
  return *system;
}

}  // namespace parvane::platform
