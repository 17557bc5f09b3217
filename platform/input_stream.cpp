#include "platform/input_stream.h"

#include <algorithm>
#include <utility>
#include <vector>

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

}  // namespace

Result<std::unique_ptr<InputStream>> OpenInputStream(FileSystem& files, std::u16string_view path,
                                                     std::size_t bufferSize) {
  auto file = files.Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  return std::unique_ptr<InputStream>(
      std::make_unique<FileInputStream>(std::move(*file), bufferSize));
}

}  // namespace parvane::platform
