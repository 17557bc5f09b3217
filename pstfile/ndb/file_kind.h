// Whether a file is an Outlook data file, and which kind, told by how it begins: the one place that
// decides it, and the words that everybody uses who has to refuse one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile {

enum class FileFamily : std::uint8_t {
  kPst,           // an Outlook data file, handled here or not
  kOfflineStore,  // OST: Outlook's copy of a server mailbox
  kOther,         // empty, or something else altogether
};

struct FileKind {
  FileFamily family = FileFamily::kOther;
  // Ok for what this engine reads and writes, a Unicode PST. Otherwise kUnsupported for relatives
  // of the format, kCorrupt for something else or a mere beginning; the text goes on after the
  // file's name ("is an offline copy ...").
  platform::Status status;
};

// `start`: the first kHeaderSize bytes, or all that the file has. Check sums are not looked at.
FileKind KindOf(std::span<const std::byte> start);
// Fails only when the file cannot be read.
platform::Result<FileKind> KindOfFile(platform::FileSystem& files, std::u16string_view path);

}  // namespace parvane::pstfile
