#include "platform/posix/posix_file.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "platform/path.h"
#include "platform/posix/errors.h"

namespace parvane::platform {
namespace {

FileTime ToFileTime(const timespec& time) {
  const std::int64_t seconds = std::int64_t{time.tv_sec} + kUnixEpochInFileTimeSeconds;
  if (seconds < 0) return {};
  return FileTimeFromTicks(static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
                           static_cast<std::uint64_t>(time.tv_nsec) / 100);
}

constexpr std::uint64_t kMaxOffset = static_cast<std::uint64_t>(INT64_MAX);
// Larger pieces leave more for Flush to wait for, smaller ones gain nothing.
constexpr std::uint64_t kWriteBehind = 8 << 20;
// More than most files of one message have, and than is read in a row anywhere by chance.
constexpr std::uint64_t kLongRead = 512 << 10;

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
    ReadAhead(offset, done);
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
      WriteBehind(static_cast<std::uint64_t>(count));
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

  // Has the system read further ahead in a file that is read from front to back for a while.
  void ReadAhead([[maybe_unused]] std::uint64_t offset, [[maybe_unused]] std::size_t size) {
#if defined(POSIX_FADV_SEQUENTIAL)
    const bool shortBefore = _inRow < kLongRead;
    _inRow = offset == _readTo ? _inRow + size : size;
    _readTo = offset + size;
    if (shortBefore && _inRow >= kLongRead) {
      (void)::posix_fadvise(_fd.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    }
#endif
  }

  // Has the device begin with what was written, so that Flush has little left to wait for. The
  // system keeps what fails then for Flush to tell.
  void WriteBehind([[maybe_unused]] std::uint64_t written) {
#if defined(__linux__)
    _waiting += written;
    if (_waiting < kWriteBehind) return;
    ::sync_file_range(_fd.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
    _waiting = 0;
#endif
  }

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
  [[maybe_unused]] std::uint64_t _readTo = 0;   // where the last read ended
  [[maybe_unused]] std::uint64_t _inRow = 0;    // read without a gap before that
  [[maybe_unused]] std::uint64_t _waiting = 0;  // written since the device was last told to begin
};

}  // namespace

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kFile;
  if (S_ISDIR(mode)) return FileKind::kFolder;
  return FileKind::kOther;
}

FileInformation InformationOf(const struct stat& info) {
  return {KindOf(info.st_mode), static_cast<std::uint64_t>(info.st_size),
          static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
          ToFileTime(info.st_mtim)};
}

std::unique_ptr<RandomAccessFile> MakePosixFile(Descriptor fd, std::u16string_view path) {
  return std::make_unique<PosixFile>(std::move(fd), path);
}

}  // namespace parvane::platform
