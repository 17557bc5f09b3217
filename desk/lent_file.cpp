#include "desk/lent_file.h"

#include <span>

#include "desk/same_file.h"
#include "platform/path.h"

namespace parvane::desk {

using platform::FileInformation;
using platform::FileSystem;
using platform::RandomAccessFile;
using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

FileSystem& Machine() { return FileSystem::Default(); }

Status Held(std::u16string_view path) {
  return {StatusCode::kLocked, platform::PathForDisplay(path) + " is in use by this program"};
}

// One opening of it; closing that closes nothing.
class Borrowed final : public RandomAccessFile {
 public:
  explicit Borrowed(std::shared_ptr<HeldFile> held) : _held(std::move(held)) {}

  Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) override {
    return _held->blank() ? Result<std::size_t>(0) : File().ReadAt(offset, buffer);
  }
  Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    return Used().WriteAt(offset, bytes);
  }
  Status Flush() override { return File().Flush(); }
  Result<std::uint64_t> Size() override {
    return _held->blank() ? Result<std::uint64_t>(0) : File().Size();
  }
  Status Resize(std::uint64_t size) override { return Used().Resize(size); }
  Status Allocate(std::uint64_t size) override { return Used().Allocate(size); }
  Status LockExclusive() override { return {}; }
  Result<FileInformation> Inspect() override { return File().Inspect(); }

 private:
  RandomAccessFile& File() { return _held->file(); }
  RandomAccessFile& Used() {
    _held->Use();
    return File();
  }

  std::shared_ptr<HeldFile> _held;
};

}  // namespace

Result<std::shared_ptr<HeldFile>> HeldFile::Take(std::u16string_view path,
                                                 FileSystem::OpenMode mode) {
  auto held = std::make_shared<HeldFile>();
  auto file = Machine().Open(path, mode);
  if (!file.ok()) return file.status();
  held->_file = std::move(file).value();
  if (Status locked = held->_file->LockExclusive(); !locked.ok()) {
    // Where there are no locks, what was made in vain goes again.
    if (mode == FileSystem::OpenMode::kCreateNew && locked.code() != StatusCode::kLocked)
      (void)Machine().Remove(path).ok();
    return locked;
  }
  auto identity = held->_file->Inspect();
  if (!identity.ok()) return identity.status();
  held->_identity = *identity;
  if (held->IsAt(path)) return held;
  return Status(StatusCode::kLocked,
                platform::PathForDisplay(path) + " was exchanged by another program");
}

bool HeldFile::IsAt(std::u16string_view path) const {
  return IsSameFile(Machine().Inspect(path), _identity);
}

Status HeldFile::MakeBlank(std::string_view note) {
  if (Status cut = _file->Resize(0); !cut.ok()) return cut;
  _blank = true;
  return _file->WriteAt(0, std::as_bytes(std::span(note)));
}

Result<std::unique_ptr<RandomAccessFile>> LentFiles::Open(std::u16string_view path, OpenMode mode) {
  if (path != _path) return Machine().Open(path, mode);
  if (mode == OpenMode::kCreateNew) return Status(StatusCode::kExists, "it is there already");
  return std::unique_ptr<RandomAccessFile>(std::make_unique<Borrowed>(_held));
}

FileInformation LentFiles::Inspect(std::u16string_view path) {
  if (path != _path) return Machine().Inspect(path);
  auto information = _held->file().Inspect();
  if (!information.ok()) return {};
  if (_held->blank()) information->size = 0;
  return *information;
}

Result<std::vector<platform::DirectoryEntry>> LentFiles::List(std::u16string_view folder) {
  return Machine().List(folder);
}
Status LentFiles::CreateFolder(std::u16string_view path, bool privateToUser) {
  return Machine().CreateFolder(path, privateToUser);
}
Status LentFiles::Rename(std::u16string_view from, std::u16string_view to, bool replace) {
  return from == _path || to == _path ? Held(_path) : Machine().Rename(from, to, replace);
}
Status LentFiles::Remove(std::u16string_view path) {
  return path == _path ? Held(path) : Machine().Remove(path);
}
Status LentFiles::FlushFolder(std::u16string_view path) { return Machine().FlushFolder(path); }
Status LentFiles::AppendPrivate(std::u16string_view path,
                                std::span<const std::span<const std::byte>> pieces) {
  return Machine().AppendPrivate(path, pieces);
}

}  // namespace parvane::desk
