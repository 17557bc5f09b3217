#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/errors.h"

namespace parvane::platform {
namespace {

// Repeats a call that a signal interrupted.
template <typename Call>
auto Retry(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// The standard descriptors stay free for those who think they own them: where they were closed, the
// next file opened would get one, and whatever is printed would be written into it.
int AboveStandardStreams(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int above = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(fd);
  errno = error;
  return above;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : _fd(AboveStandardStreams(fd)) {}
  ~Descriptor() {
    if (_fd != -1) ::close(_fd);
  }
  Descriptor(Descriptor&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  int get() const { return _fd; }
  bool valid() const { return _fd != -1; }

 private:
  int _fd;
};

// A native path for the system. A name that holds a NUL cannot exist: it must not be cut there.
bool ToNative(std::u16string_view path, std::string* native) {
  *native = PathToNative(path);
  return native->find('\0') == std::string::npos;
}

Status BadName(std::string_view action, std::u16string_view path) {
  return ErrnoStatus(EINVAL, action, path);
}

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kFile;
  if (S_ISDIR(mode)) return FileKind::kFolder;
  return FileKind::kOther;
}

FileTime ToFileTime(const timespec& time) {
  const std::int64_t seconds = std::int64_t{time.tv_sec} + kUnixEpochInFileTimeSeconds;
  if (seconds < 0) return {};
  return FileTimeFromTicks(static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
                           static_cast<std::uint64_t>(time.tv_nsec) / 100);
}

FileInformation InformationOf(const struct stat& info) {
  return {KindOf(info.st_mode), static_cast<std::uint64_t>(info.st_size),
          static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
          ToFileTime(info.st_mtim)};
}

constexpr std::uint64_t kMaxOffset = static_cast<std::uint64_t>(INT64_MAX);

class PosixFile final : public RandomAccessFile {
 public:
  PosixFile(Descriptor fd, std::u16string_view path) : _fd(std::move(fd)), _path(path) {}

  Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) override {
    std::size_t done = 0;
    while (done < buffer.size() && offset + done <= kMaxOffset) {
      const ssize_t count = Retry([&] {
        return ::pread(_fd.get(), buffer.data() + done, buffer.size() - done,
                       static_cast<off_t>(offset + done));
      });
      if (count < 0) return Fail("read");
      if (count == 0) break;
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

  Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    if (offset > kMaxOffset || bytes.size() > kMaxOffset - offset) {
      return ErrnoStatus(EFBIG, "write", _path);
    }
    while (!bytes.empty()) {
      const ssize_t count = Retry([&] {
        return ::pwrite(_fd.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
      });
      if (count < 0) return Fail("write");
      if (count == 0) return ErrnoStatus(EIO, "write", _path);
      bytes = bytes.subspan(static_cast<std::size_t>(count));
      offset += static_cast<std::uint64_t>(count);
    }
    return {};
  }

  Status Flush() override {
#if defined(__APPLE__)
    // fsync there stops at the device's cache.
    const int result = Retry([&] { return ::fcntl(_fd.get(), F_FULLFSYNC); });
#else
    const int result = Retry([&] { return ::fdatasync(_fd.get()); });
#endif
    return result == 0 ? Status() : Fail("flush");
  }

  Result<std::uint64_t> Size() override {
    struct stat info;
    if (::fstat(_fd.get(), &info) != 0) return Fail("inspect");
    return static_cast<std::uint64_t>(info.st_size);
  }

  Status Resize(std::uint64_t size) override {
    if (size > kMaxOffset) return ErrnoStatus(EFBIG, "resize", _path);
    const int result = Retry([&] { return ::ftruncate(_fd.get(), static_cast<off_t>(size)); });
    return result == 0 ? Status() : Fail("resize");
  }

  Status Allocate(std::uint64_t size) override {
    const auto current = Size();
    if (!current.ok()) return current.status();
    if (size <= *current) return {};
    if (size > kMaxOffset) return ErrnoStatus(EFBIG, "extend", _path);
    if (HasPlenty(size - *current)) return Resize(size);
#if defined(__linux__)
    const int result = Retry([&] {
      return ::fallocate(_fd.get(), 0, static_cast<off_t>(*current),
                         static_cast<off_t>(size - *current));
    });
    if (result == 0) return {};
    Status status = Fail("extend");
    if (status.code() == StatusCode::kUnsupported) status = AllocateByWriting(*current, size);
#else
    Status status = AllocateByWriting(*current, size);
#endif
    // What was taken before the disk filled up goes back.
    if (!status.ok()) (void)Resize(*current);
    return status;
  }

  Status LockExclusive() override {
    // flock belongs to the open file, so that a second handle in this process is refused too.
    if (Retry([&] { return ::flock(_fd.get(), LOCK_EX | LOCK_NB); }) == 0) return {};
    if (errno == EWOULDBLOCK) {
      return {StatusCode::kLocked, PathForDisplay(_path) + " is in use by another program"};
    }
    if (errno == ENOLCK) return ErrnoStatus(EOPNOTSUPP, "lock", _path);
    return Fail("lock");
  }

  Result<FileInformation> Inspect() override {
    struct stat info;
    if (::fstat(_fd.get(), &info) != 0) return Fail("inspect");
    return InformationOf(info);
  }

 private:
  Status Fail(std::string_view action) const { return ErrnoStatus(errno, action, _path); }

  // Whether `more` bytes can be taken without anybody noticing. Taking space ahead costs memory and
  // network file systems as much as writing it a second time.
  bool HasPlenty(std::uint64_t more) {
    constexpr std::uint64_t kPlenty = std::uint64_t{1} << 30;
    struct statvfs space;
    if (::fstatvfs(_fd.get(), &space) != 0 || space.f_frsize == 0) return false;
    return space.f_bavail > (more + kPlenty) / space.f_frsize;
  }

  // For file systems that cannot reserve space.
  Status AllocateByWriting(std::uint64_t from, std::uint64_t to) {
    static constexpr std::byte kZeros[65536] = {};
    while (from < to) {
      const std::uint64_t piece = std::min<std::uint64_t>(to - from, sizeof kZeros);
      Status status = WriteAt(from, std::span(kZeros, static_cast<std::size_t>(piece)));
      if (!status.ok()) return status;
      from += piece;
    }
    return {};
  }

  Descriptor _fd;
  std::u16string _path;
};

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
    return std::unique_ptr<RandomAccessFile>(
        std::make_unique<PosixFile>(std::move(fd).value(), path));
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
