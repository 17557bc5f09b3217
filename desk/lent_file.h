// A file held for this run alone, and lent to whoever opens its path.
//
// A lock belongs to the handle that took it, so a file that the program has locked could not be
// opened for writing a second time, not even by the program's own MAPI. That opens files through
// LentFiles instead, and is given the handle that holds the lock: what was claimed at the start is
// what is written, under whatever name, until the claim ends.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/file.h"

namespace parvane::desk {

class HeldFile {
 public:
  // Opens (makes, with kCreateNew) and locks it. kLocked when somebody else has it, or it was
  // exchanged for another in this moment.
  static platform::Result<std::shared_ptr<HeldFile>> Take(std::u16string_view path,
                                                          platform::FileSystem::OpenMode mode);

  platform::RandomAccessFile& file() { return *_file; }
  const platform::FileInformation& identity() const { return _identity; }
  // Whether the path leads to this very file.
  bool IsAt(std::u16string_view path) const;

  // While blank, borrowers see an empty file: what it holds only says whose it is.
  platform::Status MakeBlank(std::string_view note);
  void Use() { _blank = false; }
  bool blank() const { return _blank; }

 private:
  std::unique_ptr<platform::RandomAccessFile> _file;
  platform::FileInformation _identity;
  bool _blank = false;
};

// The machine's files, but for the held one, which every opening of its path yields. Its path can
// be neither removed nor renamed through this.
class LentFiles : public platform::FileSystem {
 public:
  LentFiles(std::u16string path, std::shared_ptr<HeldFile> held)
      : _path(std::move(path)), _held(std::move(held)) {}

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
  std::u16string _path;
  std::shared_ptr<HeldFile> _held;
};

}  // namespace parvane::desk
