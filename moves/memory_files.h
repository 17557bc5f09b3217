// Files that are nowhere but in memory, for a store that is thrown away.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/file.h"

namespace parvane::moves {

// Knows no folders: a path is a name, and every file is everybody's.
class MemoryFiles : public platform::FileSystem {
 public:
  platform::Result<std::unique_ptr<platform::RandomAccessFile>> Open(std::u16string_view path,
                                                                     OpenMode mode) override;
  platform::FileInformation Inspect(std::u16string_view path) override;
  platform::Result<std::vector<platform::DirectoryEntry>> List(std::u16string_view folder) override;
  platform::Status CreateFolder(std::u16string_view path, bool privateToUser) override;
  platform::Status Rename(std::u16string_view from, std::u16string_view to, bool replace) override;
  platform::Status Remove(std::u16string_view path) override;
  platform::Status FlushFolder(std::u16string_view path) override;
  platform::Status AppendPrivate(std::u16string_view path,
                                 std::span<const std::span<const std::byte>> pieces) override;

 private:
  struct Contents;
  class File;
  std::map<std::u16string, std::shared_ptr<Contents>, std::less<>> _files;
};

}  // namespace parvane::moves
