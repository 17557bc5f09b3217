// A log or report file: text appended through a buffer, written over what was there.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/file.h"

namespace parvane::desk {

class TextFile {
 public:
  // Empties a file that is there. Fails when the path is a folder or cannot be written.
  static platform::Result<std::unique_ptr<TextFile>> Create(std::u16string_view path);
  ~TextFile() { (void)Flush(); }

  // CR before LF is dropped, so that lines end alike. After a failed write further text is
  // ignored; status() tells.
  void Write(std::string_view utf8);
  void Write(std::u16string_view text);
  platform::Status Flush();
  const platform::Status& status() const { return _status; }

 private:
  explicit TextFile(std::unique_ptr<platform::RandomAccessFile> file) : _file(std::move(file)) {}

  static constexpr std::size_t kBufferSize = 1 << 16;
  std::unique_ptr<platform::RandomAccessFile> _file;
  std::uint64_t _written = 0;
  std::string _buffer;
  platform::Status _status;
};

}  // namespace parvane::desk
