#include <algorithm>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/windows/system_paths.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

// One call reads or writes at most this much.
constexpr std::size_t kLongestTransfer = std::size_t{1} << 30;
class Handle {
 public:
  explicit Handle(HANDLE handle) : _handle(handle) {}
  ~Handle() {
    if (valid()) ::CloseHandle(_handle);
  }
  Handle(Handle&& other) noexcept : _handle(std::exchange(other._handle, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&&) = delete;
  HANDLE get() const { return _handle; }
  bool valid() const { return _handle != INVALID_HANDLE_VALUE; }

 private:
  HANDLE _handle;
};

OVERLAPPED At(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

// kNone when the system does not tell.
FileInformation InformationOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!::GetFileInformationByHandle(handle, &info)) return {};
  const bool folder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const auto join = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
  return {folder ? FileKind::kFolder : FileKind::kFile,
          folder ? 0 : join(info.nFileSizeHigh, info.nFileSizeLow),
          info.dwVolumeSerialNumber,
          join(info.nFileIndexHigh, info.nFileIndexLow),
          {info.ftLastWriteTime.dwLowDateTime, info.ftLastWriteTime.dwHighDateTime}};
}

class WindowsFile final : public RandomAccessFile {
 public:
  WindowsFile(Handle handle, std::u16string_view path) : _handle(std::move(handle)), _path(path) {}

  Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) override {
    std::size_t done = 0;
    while (done < buffer.size()) {
      OVERLAPPED place = At(offset + done);
      DWORD count = 0;
      const auto wanted = static_cast<DWORD>(std::min(buffer.size() - done, kLongestTransfer));
      if (!::ReadFile(_handle.get(), buffer.data() + done, wanted, &count, &place)) {
        if (::GetLastError() == ERROR_HANDLE_EOF) break;
        return Fail("read");
      }
      if (count == 0) break;
      done += count;
    }
    return done;
  }

  Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      OVERLAPPED place = At(offset);
      DWORD count = 0;
      const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kLongestTransfer));
      if (!::WriteFile(_handle.get(), bytes.data(), wanted, &count, &place)) return Fail("write");
      if (count == 0) return SystemErrorStatus(ERROR_WRITE_FAULT, "write", _path);
      bytes = bytes.subspan(count);
      offset += count;
    }
    return {};
  }

  Status Flush() override { return ::FlushFileBuffers(_handle.get()) ? Status() : Fail("flush"); }

  Result<std::uint64_t> Size() override {
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(_handle.get(), &size)) return Fail("inspect");
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  Status Resize(std::uint64_t size) override { return SetSize(size, "resize"); }

  Status Allocate(std::uint64_t size) override {
    const auto current = Size();
    if (!current.ok()) return current.status();
    // A longer file that is not sparse has its clusters at once.
    return size <= *current ? Status() : SetSize(size, "extend");
  }

  // A handle that may write shares the file with readers only, from its opening on.
  Status LockExclusive() override { return {}; }

  Result<FileInformation> Inspect() override {
    FileInformation found = InformationOf(_handle.get());
    if (found.kind == FileKind::kNone) return Fail("inspect");
    return found;
  }

 private:
  Status Fail(std::string_view action) const {
    return SystemErrorStatus(::GetLastError(), action, _path);
  }

  Status SetSize(std::uint64_t size, std::string_view action) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    const bool done =
        ::SetFileInformationByHandle(_handle.get(), FileEndOfFileInfo, &end, sizeof end) != FALSE;
    return done ? Status() : Fail(action);
  }

  Handle _handle;
  std::u16string _path;
};

Status NoRegularFile(std::string_view action, std::u16string_view path) {
  return {StatusCode::kUnsupported,
          "cannot " + std::string(action) + " " + PathForDisplay(path) + ": not a regular file"};
}

Result<Handle> OpenRegular(std::u16string_view path, DWORD access, DWORD sharing, DWORD creation,
                           std::string_view action) {
  const std::wstring name = ToSystemPath(path);
  if (name.empty()) return SystemErrorStatus(ERROR_INVALID_NAME, action, path);
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    if (creation == CREATE_NEW) return SystemErrorStatus(ERROR_FILE_EXISTS, action, path);
    return NoRegularFile(action, path);
  }
  Handle handle(::CreateFileW(name.c_str(), access, sharing, nullptr, creation,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!handle.valid()) return SystemErrorStatus(::GetLastError(), action, path);
  if (::GetFileType(handle.get()) != FILE_TYPE_DISK) return NoRegularFile(action, path);
  return handle;
}

// Virus scanners and search indexers open a new file for a moment, which is in a move's way.
constexpr DWORD kMovePatience = 2000;  // milliseconds
constexpr DWORD kMovePause = 50;

// A system error.
DWORD MovePatiently(const wchar_t* source, const wchar_t* target, DWORD flags) {
  for (DWORD waited = 0;; waited += kMovePause) {
    if (::MoveFileExW(source, target, flags)) return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    const bool held = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
    if (!held || waited >= kMovePatience) return error;
    ::Sleep(kMovePause);
  }
}

class WindowsFileSystem final : public FileSystem {
 public:
  Result<std::unique_ptr<RandomAccessFile>> Open(std::u16string_view path, OpenMode mode) override {
    const bool reading = mode == OpenMode::kRead;
    const bool creating = mode == OpenMode::kCreateNew;
    // Share modes keep two writers apart. Locks on ranges of bytes would too, but not every file
    // server has them, and they would bar readers from those bytes.
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_DELETE | (reading ? FILE_SHARE_WRITE : 0U);
    auto handle = OpenRegular(path, reading ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE, share,
                              creating ? CREATE_NEW : OPEN_EXISTING, creating ? "create" : "open");
    if (!handle.ok()) return handle.status();
    return std::unique_ptr<RandomAccessFile>(
        std::make_unique<WindowsFile>(std::move(handle).value(), path));
  }

  FileInformation Inspect(std::u16string_view path) override {
    const std::wstring name = ToSystemPath(path);
    if (name.empty()) return {};
    const Handle handle(::CreateFileW(name.c_str(), 0,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle.valid()) return {};
    if (::GetFileType(handle.get()) != FILE_TYPE_DISK) return {FileKind::kOther, 0, 0, 0, {}};
    return InformationOf(handle.get());
  }

  Result<std::vector<DirectoryEntry>> List(std::u16string_view folder) override {
    const std::wstring pattern = ToSystemPath(JoinPath(folder, u"*"));
    WIN32_FIND_DATAW found;
    const HANDLE search =
        pattern.empty() ? INVALID_HANDLE_VALUE : ::FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
      const DWORD error = pattern.empty() ? ERROR_INVALID_NAME : ::GetLastError();
      return SystemErrorStatus(error, "list", folder);
    }
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> closer(search, ::FindClose);
    std::vector<DirectoryEntry> entries;
    do {
      const std::wstring_view name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      DirectoryEntry entry;
      entry.name = FromWide(name);
      if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        const FileInformation target = Inspect(JoinPath(folder, entry.name));
        entry.kind = target.kind;
        entry.size = target.size;
        entry.link = true;
      } else if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        entry.kind = FileKind::kFolder;
      } else {
        entry.kind = FileKind::kFile;
        entry.size = std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
      }
      entries.push_back(std::move(entry));
    } while (::FindNextFileW(search, &found));
    if (::GetLastError() != ERROR_NO_MORE_FILES) {
      return SystemErrorStatus(::GetLastError(), "list", folder);
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    return entries;
  }

  // The folders of a user's profile are private to begin with.
  Status CreateFolder(std::u16string_view path, bool) override {
    const std::wstring name = ToSystemPath(path);
    if (!name.empty() && ::CreateDirectoryW(name.c_str(), nullptr)) return {};
    const DWORD error = name.empty() ? ERROR_INVALID_NAME : ::GetLastError();
    if (error == ERROR_ALREADY_EXISTS && FolderExists(path)) return {};
    return SystemErrorStatus(error, "create folder", path);
  }

  Status Rename(std::u16string_view from, std::u16string_view to, bool replace) override {
    const std::wstring source = ToSystemPath(from);
    const std::wstring target = ToSystemPath(to);
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    const DWORD error = source.empty() || target.empty()
                            ? ERROR_INVALID_NAME
                            : MovePatiently(source.c_str(), target.c_str(), flags);
    if (error == ERROR_SUCCESS) return {};
    return SystemErrorStatus(error, "rename", from).WithContext("to " + PathForDisplay(to));
  }

  Status Remove(std::u16string_view path) override {
    const std::wstring name = ToSystemPath(path);
    if (name.empty()) return SystemErrorStatus(ERROR_INVALID_NAME, "remove", path);
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    const bool folder =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (folder ? ::RemoveDirectoryW(name.c_str()) : ::DeleteFileW(name.c_str())) return {};
    return SystemErrorStatus(::GetLastError(), "remove", path);
  }

  // Changes of folders are in the file system's journal, and renaming writes through.
  Status FlushFolder(std::u16string_view path) override {
    if (FolderExists(path)) return {};
    return SystemErrorStatus(ERROR_PATH_NOT_FOUND, "flush", path);
  }

  bool IsHeldByAnother(std::u16string_view path) override {
    return Open(path, OpenMode::kRead).status().code() == StatusCode::kLocked;
  }

  Status AppendPrivate(std::u16string_view path,
                       std::span<const std::span<const std::byte>> pieces) override {
    auto handle = OpenRegular(path, FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ, OPEN_ALWAYS,
                              "append to");
    if (!handle.ok()) return handle.status();
    std::vector<std::byte> joined;
    for (const auto& piece : pieces) joined.insert(joined.end(), piece.begin(), piece.end());
    std::span<const std::byte> rest = joined;
    while (!rest.empty()) {
      DWORD count = 0;
      const auto wanted = static_cast<DWORD>(std::min(rest.size(), kLongestTransfer));
      if (!::WriteFile(handle->get(), rest.data(), wanted, &count, nullptr)) {
        return SystemErrorStatus(::GetLastError(), "append to", path);
      }
      if (count == 0) return SystemErrorStatus(ERROR_WRITE_FAULT, "append to", path);
      rest = rest.subspan(count);
    }
    return {};
  }
};

}  // namespace

FileSystem& FileSystem::Default() {
  static FileSystem* const system = new WindowsFileSystem;
  return *system;
}

}  // namespace parvane::platform
