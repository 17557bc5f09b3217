#include "desk/text_file.h"

#include "platform/text.h"

namespace parvane::desk {

using platform::FileSystem;
using platform::Result;
using platform::Status;
using platform::StatusCode;

Result<std::unique_ptr<TextFile>> TextFile::Create(std::u16string_view path) {
  FileSystem& files = FileSystem::Default();
  auto file = files.Open(path, FileSystem::OpenMode::kCreateNew);
  if (!file.ok() && file.status().code() == StatusCode::kExists) {
    file = files.Open(path, FileSystem::OpenMode::kReadWrite);
    if (file.ok()) {
      if (Status emptied = file.value()->Resize(0); !emptied.ok()) return emptied;
    }
  }
  if (!file.ok()) return file.status();
  return std::unique_ptr<TextFile>(new TextFile(std::move(file).value()));
}

void TextFile::Write(std::string_view utf8) {
  std::size_t from = 0;
  for (std::size_t cr = utf8.find('\r'); cr != utf8.npos; cr = utf8.find('\r', cr + 1)) {
    if (cr + 1 >= utf8.size() || utf8[cr + 1] != '\n') continue;
    _buffer.append(utf8, from, cr - from);
    from = cr + 1;
  }
  _buffer.append(utf8, from);
  if (_buffer.size() >= kBufferSize) (void)Flush();
}

void TextFile::Write(std::u16string_view text) { Write(platform::Utf16ToUtf8(text)); }

Status TextFile::Flush() {
  if (_status.ok() && !_buffer.empty()) {
    _status = _file->WriteAt(_written, std::as_bytes(std::span(_buffer)));
    _written += _buffer.size();
  }
  _buffer.clear();
  return _status;
}

}  // namespace parvane::desk
