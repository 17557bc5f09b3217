// Stretches of a file in memory that move on with whoever reads neighbours one after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile::check {

class ReadWindows {
 public:
  // So many places of the file can be gone on from in turns. At most `stretch` bytes are read at
  // once. `behind` bytes before what was asked for stay, or are read along after a leap, for those
  // who go back a little.
  ReadWindows(std::size_t count, std::size_t stretch, std::size_t behind);

  // The bytes, until the next call; none when they cannot be read, and why in `status` unless it
  // tells of an earlier failure. The range lies within the file's first `fileSize` bytes, and is
  // no longer than a block.
  std::optional<std::span<const std::byte>> Get(platform::RandomAccessFile& file,
                                                std::uint64_t fileSize, std::uint64_t offset,
                                                std::size_t size, platform::Status& status) {
    if (!_windows[_last].Holds(offset, size) && !Turn(file, fileSize, offset, size, status)) {
      return std::nullopt;
    }
    const Window& window = _windows[_last];
    return window.Room().subspan(static_cast<std::size_t>(offset - window.start), size);
  }

 private:
  struct Window {
    std::span<std::byte> Room() const { return {bytes.get(), room}; }
    std::unique_ptr<std::byte[]> bytes;
    std::size_t room = 0;
    std::uint64_t start = 0;
    std::size_t size = 0;
    std::size_t step = 0;  // of the last extension
    std::uint64_t used = 0;

    std::uint64_t End() const { return start + size; }
    bool Holds(std::uint64_t offset, std::size_t count) const {
      return offset >= start && offset + count <= End();
    }
    void KeepFrom(std::uint64_t offset);
    void Extend(platform::RandomAccessFile& file, std::size_t count, platform::Status& status);
  };

  // Sequential reading doubles the stretch read at once; a leap begins again with little.
  std::size_t NextStep(const Window& window) const;
  void Choose(std::uint64_t offset, std::size_t size);
  bool Turn(platform::RandomAccessFile& file, std::uint64_t fileSize, std::uint64_t offset,
            std::size_t size, platform::Status& status);

  std::size_t _stretch;
  std::size_t _behind;
  std::vector<Window> _windows;
  std::size_t _last = 0;
  std::uint64_t _turns = 0;
};

}  // namespace parvane::pstfile::check
