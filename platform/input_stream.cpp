#include <algorithm>
#include <vector>

#include "platform/file.h"
#include "platform/stage_times.h"

namespace parvane::platform {
namespace {

constexpr std::size_t kSector = 512;

class FileInputStream final : public InputStream {
 public:
  FileInputStream(std::unique_ptr<RandomAccessFile> file, std::size_t bufferSize)
      : _file(std::move(file)), _buffer(std::max<std::size_t>(bufferSize, 1)) {}

  std::span<const char> Buffer() override {
    if (_begin == _end && _status.ok()) {
      const StageMark mark(Stage::kRead);
      const auto room = std::as_writable_bytes(std::span(_buffer));
      auto read = _file->ReadAt(_position, room);
      // A bad sector shall not take with it what stands before it.
      if (!read.ok()) read = _file->ReadAt(_position, room.first(std::min(room.size(), kSector)));
      _begin = 0;
      _end = read.ok() ? *read : 0;
      mark.CountBytes(_end);
      if (!read.ok()) _status = read.status();
    }
    return {_buffer.data() + _begin, _end - _begin};
  }
  void Skip(std::size_t count) override {
    count = std::min(count, _end - _begin);
    _begin += count;
    _position += count;
  }
  std::uint64_t Position() const override { return _position; }
  const Status& status() const override { return _status; }

 private:
  std::unique_ptr<RandomAccessFile> _file;
  std::vector<char> _buffer;
  std::size_t _begin = 0;
  std::size_t _end = 0;
  std::uint64_t _position = 0;
  Status _status;
};

class BytesInputStream final : public InputStream {
 public:
  BytesInputStream(std::string_view bytes, std::size_t step)
      : _bytes(bytes), _step(step == 0 ? bytes.size() : step) {}

  std::span<const char> Buffer() override {
    if (_window == 0) _window = std::min(_step, _bytes.size() - _position);
    return {_bytes.data() + _position, _window};
  }
  void Skip(std::size_t count) override {
    count = std::min(count, _window);
    _position += count;
    _window -= count;
  }
  std::uint64_t Position() const override { return _position; }
  const Status& status() const override { return _status; }

 private:
  std::string_view _bytes;
  std::size_t _step;
  std::size_t _position = 0;
  std::size_t _window = 0;
  Status _status;
};

}  // namespace

Result<std::unique_ptr<InputStream>> OpenInputStream(FileSystem& files, std::u16string_view path,
                                                     std::size_t bufferSize) {
  auto file = files.Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  return std::unique_ptr<InputStream>(
      std::make_unique<FileInputStream>(std::move(*file), bufferSize));
}

std::unique_ptr<InputStream> MemoryInputStream(std::string_view bytes, std::size_t step) {
  return std::make_unique<BytesInputStream>(bytes, step);
}

Result<std::string> ReadWholeFile(FileSystem& files, std::u16string_view path,
                                  std::uint64_t limit) {
  auto file = files.Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  const auto size = (*file)->Size();
  if (!size.ok()) return size.status();
  std::string content;
  std::uint64_t want = *size;
  for (;;) {
    if (want > limit) {
      return Status(StatusCode::kTooBig,
                    PathForDisplay(path) + ": more than " + std::to_string(limit) + " bytes");
    }
    // One byte more than expected tells the end from a file that grew meanwhile.
    const std::size_t had = content.size();
    content.resize(static_cast<std::size_t>(want) + 1);
    const auto read = (*file)->ReadAt(had, std::as_writable_bytes(std::span(content).subspan(had)));
    if (!read.ok()) return read.status();
    const bool ended = had + *read < content.size();
    content.resize(had + *read);
    if (ended) return content;
    want = content.size() + content.size() / 2 + 4096;
    if (want > limit && content.size() <= limit) want = limit;
  }
}

Status CreateFolders(FileSystem& files, std::u16string_view path, bool privateToUser) {
  if (files.FolderExists(path)) return {};
  const std::u16string parent = ParentOfPath(path);
  if (parent.size() < path.size() && parent != u".") {
    if (Status status = CreateFolders(files, parent, privateToUser); !status.ok()) return status;
  }
  return files.CreateFolder(path, privateToUser);
}

}  // namespace parvane::platform
