#include "moves/memory_files.h"

#include <algorithm>

namespace parvane::moves {

using platform::FileInformation;
using platform::FileKind;
using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

Status Unsupported() { return {StatusCode::kUnsupported, "there are no folders in memory"}; }

constexpr std::uint64_t kChunk = 256 * 1024;

}  // namespace

// In chunks, so that it grows without a copy; one that nothing was written to is not there.
struct MemoryFiles::Contents {
  std::vector<std::unique_ptr<std::byte[]>> chunks;
  std::uint64_t size = 0;

  // Calls `visit` with each piece of the range that lies in one chunk, and the chunk's place.
  template <typename Visit>
  static void ForEachPiece(std::uint64_t offset, std::size_t size, Visit visit) {
    for (std::size_t done = 0; done < size;) {
      const std::uint64_t within = (offset + done) % kChunk;
      const std::size_t count = std::min<std::size_t>(size - done, kChunk - within);
      visit((offset + done) / kChunk, within, done, count);
      done += count;
    }
  }
  void Resize(std::uint64_t wanted) {
    chunks.resize((wanted + kChunk - 1) / kChunk);
    const std::uint64_t within = wanted % kChunk;
    if (wanted < size && within > 0 && chunks.back())
      std::fill_n(chunks.back().get() + within, kChunk - within, std::byte{0});
    size = wanted;
  }
};

class MemoryFiles::File final : public platform::RandomAccessFile {
 public:
  explicit File(std::shared_ptr<Contents> contents) : _contents(std::move(contents)) {}

  Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) override {
    if (offset >= _contents->size) return std::size_t{0};
    const std::size_t count = std::min<std::size_t>(buffer.size(), _contents->size - offset);
    Contents::ForEachPiece(
        offset, count,
        [&](std::uint64_t chunk, std::uint64_t within, std::size_t at, std::size_t bytes) {
          if (const auto& from = _contents->chunks[chunk]) {
            std::copy_n(from.get() + within, bytes, buffer.begin() + at);
          } else {
            std::fill_n(buffer.begin() + at, bytes, std::byte{0});
          }
        });
    return count;
  }
  Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    if (_contents->size < offset + bytes.size()) _contents->Resize(offset + bytes.size());
    Contents::ForEachPiece(
        offset, bytes.size(),
        [&](std::uint64_t chunk, std::uint64_t within, std::size_t at, std::size_t count) {
          auto& to = _contents->chunks[chunk];
          if (!to) to = std::make_unique<std::byte[]>(kChunk);
          std::copy_n(bytes.begin() + at, count, to.get() + within);
        });
    return {};
  }
  Status Flush() override { return {}; }
  Result<std::uint64_t> Size() override { return _contents->size; }
  Status Resize(std::uint64_t size) override {
    _contents->Resize(size);
    return {};
  }
  Status Allocate(std::uint64_t size) override {
    if (size > _contents->size) _contents->Resize(size);
    return {};
  }
  Status LockExclusive() override { return {}; }
  Result<FileInformation> Inspect() override { return InformationOf(*_contents); }

  static FileInformation InformationOf(const Contents& contents) {
    FileInformation information;
    information.kind = FileKind::kFile;
    information.size = contents.size;
    return information;
  }

 private:
  std::shared_ptr<Contents> _contents;
};

Result<std::unique_ptr<platform::RandomAccessFile>> MemoryFiles::Open(std::u16string_view path,
                                                                      OpenMode mode) {
  auto found = _files.find(path);
  if (mode == OpenMode::kCreateNew) {
    if (found != _files.end()) return Status(StatusCode::kExists, "it is there already");
    found = _files.emplace(path, std::make_shared<Contents>()).first;
  }
  if (found == _files.end()) return Status(StatusCode::kNotFound, "no such file");
  return std::unique_ptr<platform::RandomAccessFile>(std::make_unique<File>(found->second));
}

FileInformation MemoryFiles::Inspect(std::u16string_view path) {
  const auto found = _files.find(path);
  return found == _files.end() ? FileInformation() : File::InformationOf(*found->second);
}

Result<std::vector<platform::DirectoryEntry>> MemoryFiles::List(std::u16string_view) {
  return Unsupported();
}
Status MemoryFiles::CreateFolder(std::u16string_view, bool) { return Unsupported(); }

Status MemoryFiles::Rename(std::u16string_view from, std::u16string_view to, bool replace) {
  const auto found = _files.find(from);
  if (found == _files.end()) return {StatusCode::kNotFound, "no such file"};
  if (!replace && _files.contains(to)) return {StatusCode::kExists, "it is there already"};
  _files[std::u16string(to)] = found->second;
  return Remove(from);
}

Status MemoryFiles::Remove(std::u16string_view path) {
  const auto found = _files.find(path);
  if (found == _files.end()) return {StatusCode::kNotFound, "no such file"};
  _files.erase(found);
  return {};
}

Status MemoryFiles::FlushFolder(std::u16string_view) { return {}; }
Status MemoryFiles::AppendPrivate(std::u16string_view,
                                  std::span<const std::span<const std::byte>>) {
  return Unsupported();
}

}  // namespace parvane::moves
