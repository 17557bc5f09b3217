#include "sources/line_cursor.h"

#include <algorithm>
#include <cstring>

#include "platform/simd/lines.h"

namespace parvane::sources {
namespace {

// How much of a stream's buffer is copied at a time; the room for it is twice that.
constexpr std::size_t kPiece = 32u << 10;

// The first CR or LF, or `end`. Looks for one byte at a time in growing windows: fast for either
// line end, and never far past the first one found.
const char* FindLineEnd(const char* begin, const char* end) {
  std::size_t window = 256;
  while (begin != end) {
    const std::size_t size = std::min(window, static_cast<std::size_t>(end - begin));
    const auto* lf = static_cast<const char*>(std::memchr(begin, '\n', size));
    const char* stop = lf ? lf : begin + size;
    const auto* cr =
        static_cast<const char*>(std::memchr(begin, '\r', static_cast<std::size_t>(stop - begin)));
    if (cr) return cr;
    if (lf) return lf;
    begin += size;
    window *= 2;
  }
  return end;
}

}  // namespace

bool LineCursor::CopyPlainLines(MessageBuffer& out, bool& lastWasEmpty) {
  if (!Ready()) return false;
  const std::size_t size = std::min(_buffer.size() - _used, kPiece);
  char* const room = out.Room(platform::simd::MailLinesRoom(size));
  const auto done = platform::simd::CopyMailLines(_buffer.data() + _used, size, room);
  out.Grow(done.made);
  _used += done.taken;
  if (done.any) lastWasEmpty = done.lastWasEmpty;
  return done.any;
}

bool LineCursor::AppendLine(MessageBuffer& out) {
  if (!Ready()) return false;
  do {
    const char* begin = _buffer.data() + _used;
    const char* end = _buffer.data() + _buffer.size();
    const char* stop = FindLineEnd(begin, end);
    const auto size = static_cast<std::size_t>(stop - begin);
    std::memcpy(out.Room(size + kLineEnd.size()), begin, size);
    out.Grow(size);
    _used += size;
    if (stop != end) {
      TakeLineEnd(*stop);
      return true;
    }
  } while (Ready());
  return true;
}

std::optional<std::uint64_t> LineCursor::SkipLine(std::string& beginning) {
  if (!Ready()) return std::nullopt;
  std::uint64_t length = 0;
  do {
    const char* begin = _buffer.data() + _used;
    const char* end = _buffer.data() + _buffer.size();
    const char* stop = FindLineEnd(begin, end);
    const auto size = static_cast<std::size_t>(stop - begin);
    beginning.append(begin,
                     std::min(size, kLineBeginning - std::min(kLineBeginning, beginning.size())));
    length += size;
    _used += size;
    if (stop != end) {
      TakeLineEnd(*stop);
      break;
    }
  } while (Ready());
  return length;
}

bool LineCursor::Fill() {
  _buffer = _stream.Buffer();
  _used = 0;
  return !_buffer.empty();
}

void LineCursor::TakeLineEnd(char first) {
  ++_used;
  if (first == '\r' && Ready() && _buffer[_used] == '\n') ++_used;
}

}  // namespace parvane::sources
