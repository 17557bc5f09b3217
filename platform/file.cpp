#include "platform/file.h"

#include "platform/path.h"

namespace parvane::platform {

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

}  // namespace parvane::platform
