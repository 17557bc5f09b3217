// Reading mail line by line, whatever ends its lines: LF, CR, CR LF or the end of the stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/input_stream.h"
#include "sources/message_buffer.h"

namespace parvane::sources {

inline constexpr std::string_view kLineEnd = "\r\n";

// Reads lines off a stream and tells the stream only once a buffer has been used up.
class LineCursor {
 public:
  // What is kept of lines that are passed over.
  static constexpr std::size_t kLineBeginning = 512;

  explicit LineCursor(platform::InputStream& stream) : _stream(stream) { Fill(); }
  ~LineCursor() { _stream.Skip(_used); }
  LineCursor(const LineCursor&) = delete;
  LineCursor& operator=(const LineCursor&) = delete;

  std::uint64_t Position() const { return _stream.Position() + _used; }

  // Copies lines that need no closer look, each ended by CR LF, as many as there are in one piece
  // of the stream's buffer. False when there was none.
  bool CopyPlainLines(MessageBuffer& out, bool& lastWasEmpty);
  // Appends the next line, without its end, to `out`, where there is then room for an end as well.
  // False when there is none.
  bool AppendLine(MessageBuffer& out);
  // Passes over the next line; its first bytes are put behind what `beginning` holds, up to
  // kLineBeginning of them. The length of the line, without its end; none: there is no line.
  std::optional<std::uint64_t> SkipLine(std::string& beginning);

 private:
  bool Ready() {
    if (_used < _buffer.size()) return true;
    _stream.Skip(_used);
    return Fill();
  }
  bool Fill();
  void TakeLineEnd(char first);

  platform::InputStream& _stream;
  std::span<const char> _buffer;
  std::size_t _used = 0;
};

}  // namespace parvane::sources
