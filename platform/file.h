// Files by wide path (see path.h).
//
// No file opened here ever gets one of the three standard descriptors, so that what a program says
// to a stream that was closed when it started cannot land in a file.
//
// Everything that touches the disk goes through FileSystem, so that a test can stand in its place,
// fail the nth write or replay a crash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"
#include "platform/time.h"

namespace parvane::platform {

enum class FileKind { kNone, kFile, kFolder, kOther };

struct DirectoryEntry {
  std::u16string name;              // without the folder
  FileKind kind = FileKind::kNone;  // of what a symbolic link points at
  std::uint64_t size = 0;           // files only
  bool link = false;  // a symbolic link, or another kind of entry that leads elsewhere
};

struct FileInformation {
  FileKind kind = FileKind::kNone;
  std::uint64_t size = 0;
  // Equal for two paths exactly when they lead to the same file or folder.
  std::uint64_t device = 0;
  std::uint64_t identity = 0;
  FileTime modified;
};

// A file open for access at any place. Not thread-safe. Closing is the destructor's work and
// reports nothing: Flush first when the bytes matter.
class RandomAccessFile {
 public:
  virtual ~RandomAccessFile() = default;

  // Reads until `buffer` is full or the file ends; the count read.
  virtual Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) = 0;
  // Writes everything or fails; extends the file when it must.
  virtual Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
  // Returns when everything written is on the device. After a failure nothing may be trusted.
  virtual Status Flush() = 0;
  virtual Result<std::uint64_t> Size() = 0;
  // Cuts, or extends with zero bytes that take no space yet.
  virtual Status Resize(std::uint64_t size) = 0;
  // Extends to `size` so that a full disk shows here and not later: with space really taken, unless
  // the file system says that it has a gigabyte more than is asked for.
  virtual Status Allocate(std::uint64_t size) = 0;
  // Takes the file for this handle alone, at once or not at all: kLocked when another process or
  // another handle of this one has it, kUnsupported on a file system without locks. Held until
  // closed. Advisory off Windows; on Windows every file open for writing is locked, and opening it
  // a second time for writing already fails with kLocked.
  virtual Status LockExclusive() = 0;
  // Of the file itself, whatever its path leads to by now.
  virtual Result<FileInformation> Inspect() = 0;
};

class FileSystem {
 public:
  enum class OpenMode {
    kRead,       // shared: others may write the file meanwhile
    kReadWrite,  // must exist
    kCreateNew,  // must not exist
  };

  virtual ~FileSystem() = default;
  // The machine's own; never destroyed.
  static FileSystem& Default();

  // Opening a folder, a FIFO or a device fails (kUnsupported) without blocking.
  virtual Result<std::unique_ptr<RandomAccessFile>> Open(std::u16string_view path,
                                                         OpenMode mode) = 0;
  // kind is kNone when nothing is there or it cannot be reached, and for a link that leads nowhere.
  virtual FileInformation Inspect(std::u16string_view path) = 0;
  // Sorted by name (by UTF-16 unit). Without "." and "..".
  virtual Result<std::vector<DirectoryEntry>> List(std::u16string_view folder) = 0;
  // Succeeds when the folder is there already. `privateToUser`: mode 0700 where that exists.
  virtual Status CreateFolder(std::u16string_view path, bool privateToUser) = 0;
  // Fails with kExists rather than replacing, unless `replace`.
  virtual Status Rename(std::u16string_view from, std::u16string_view to, bool replace) = 0;
  virtual Status Remove(std::u16string_view path) = 0;
  // Makes creations and renames in this folder durable.
  virtual Status FlushFolder(std::u16string_view path) = 0;
  // Appends in one write to a file only its owner can read (0600), creating it.
  virtual Status AppendPrivate(std::u16string_view path,
                               std::span<const std::span<const std::byte>> pieces) = 0;
  // Whether another program has a lock on the file, by the means of its system: a record lock, or
  // that nobody else may open it. False when that cannot be told.
  virtual bool IsHeldByAnother(std::u16string_view) { return false; }

  bool FileExists(std::u16string_view path) { return Inspect(path).kind == FileKind::kFile; }
  bool FolderExists(std::u16string_view path) { return Inspect(path).kind == FileKind::kFolder; }
};

// Gives the file at `to` the mode and, as far as this user may, the owner and group of the one at
// `from` (on Windows: its access list).
Status CopyAccessRights(std::u16string_view from, std::u16string_view to);

// A symbolic link to where nothing is.
bool IsDanglingLink(std::u16string_view path);

// Bytes that this user may still write to the file system of a folder; none when it does not tell.
std::optional<std::uint64_t> FreeSpace(std::u16string_view folder);

// Reads a whole file that is at most `limit` bytes (kTooBig otherwise).
Result<std::string> ReadWholeFile(FileSystem& files, std::u16string_view path,
                                  std::uint64_t limit = std::uint64_t{1} << 30);

}  // namespace parvane::platform
