#include "pstfile/check/read_windows.h"

#include <algorithm>
#include <cstring>

#include "pstfile/ndb/layout.h"

namespace parvane::pstfile::check {
namespace {

// After a leap: what is asked for, and little else.
constexpr std::size_t kSmallestStep = kMaximumBlockSize / 2;

}  // namespace

ReadWindows::ReadWindows(std::size_t count, std::size_t stretch, std::size_t behind)
    : _stretch(stretch), _behind(behind), _windows(count) {
  for (Window& window : _windows) {
    window.room = behind + kMaximumBlockSize + stretch;
    window.bytes = std::make_unique_for_overwrite<std::byte[]>(window.room);
  }
}

std::size_t ReadWindows::NextStep(const Window& window) const {
  return std::min(std::max(2 * window.step, kSmallestStep), _stretch);
}

// The window that holds the bytes; else the one that comes to them by going on; else the one that
// was not used for the longest time, emptied.
void ReadWindows::Choose(std::uint64_t offset, std::size_t size) {
  std::size_t oldest = 0;
  std::optional<std::size_t> onward;
  for (std::size_t i = 0; i < _windows.size(); ++i) {
    const Window& window = _windows[i];
    if (offset >= window.start && offset + size <= window.End() + NextStep(window)) {
      onward = i;
      if (window.Holds(offset, size)) break;
    }
    if (window.used < _windows[oldest].used) oldest = i;
  }
  _last = onward.value_or(oldest);
  Window& window = _windows[_last];
  window.used = ++_turns;
  if (onward) return;
  window.start = offset - std::min<std::uint64_t>(offset, std::min(_behind, kSmallestStep));
  window.size = 0;
  window.step = 0;
}

bool ReadWindows::Turn(platform::RandomAccessFile& file, std::uint64_t fileSize,
                       std::uint64_t offset, std::size_t size, platform::Status& status) {
  Choose(offset, size);
  Window& window = _windows[_last];
  if (window.Holds(offset, size)) return true;
  window.step = NextStep(window);
  const std::uint64_t kept = std::min(offset, window.End());
  window.KeepFrom(kept - std::min<std::uint64_t>(kept, _behind));
  const std::uint64_t wanted =
      std::min(std::max(window.End() + window.step, offset + size), fileSize);
  platform::Status ignored;
  window.Extend(file, static_cast<std::size_t>(wanted - window.End()), ignored);
  if (window.Holds(offset, size)) return true;
  // What lies around may be what cannot be read.
  window.start = offset;
  window.size = 0;
  window.Extend(file, size, status);
  return window.Holds(offset, size);
}

void ReadWindows::Window::KeepFrom(std::uint64_t offset) {
  if (offset <= start) return;
  const auto gone = static_cast<std::size_t>(offset - start);
  std::memmove(bytes.get(), bytes.get() + gone, size - gone);
  start = offset;
  size -= gone;
}

void ReadWindows::Window::Extend(platform::RandomAccessFile& file, std::size_t count,
                                 platform::Status& status) {
  const auto read = file.ReadAt(End(), Room().subspan(size, count));
  if (read.ok()) {
    size += *read;
  } else if (status.ok()) {
    status = read.status();
  }
}

}  // namespace parvane::pstfile::check
