// The files in an archive, or the one file in a compressed one, from the first to the last; nothing
// is unpacked to disk.
//
// Archives are believed nothing: names are names and never paths, a size is what an entry claims,
// and an entry may claim to be endless.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "archives/packing.h"
#include "platform/file.h"
#include "platform/input_stream.h"
#include "platform/status.h"

namespace parvane::archives {

// What an archive may unpack to: this much, or so many times its own size, whichever is more. Both
// for an entry and for all that is read of it.
inline constexpr std::uint64_t kUnpackedAlways = std::uint64_t{256} << 20;
inline constexpr std::uint64_t kUnpackedTimes = 1000;

struct Entry {
  std::u16string name;  // with "/" between folders; empty for the file in a compressed one
  std::optional<std::uint64_t> size;  // as it claims
};

// What is taken for packed: archives as such, or the file alone however it goes on inside.
enum class Contents { kEntries, kOneFile };

class ArchiveReader {
 public:
  virtual ~ArchiveReader() = default;

  // The next file. False at the end, and where nothing more can be read: see status().
  virtual bool Next(Entry& entry) = 0;
  // The bytes of the entry that Next found last, until the next call of it. Its status says why it
  // ended early: damaged, cut off, encrypted, or more than an archive may hold.
  virtual platform::InputStream& Stream() = 0;
  // Why there is no next entry: ok at the end of the archive.
  virtual const platform::Status& status() const = 0;
  // How far the archive itself has been read, in bytes of its file.
  virtual std::uint64_t Position() const = 0;
};

// Fails for a file that is not packed (kInvalidArgument), for a packing that cannot be read on this
// system (kUnsupported), and for what cannot be opened. The file may be damaged all the same.
platform::Result<std::unique_ptr<ArchiveReader>> OpenArchive(
    platform::FileSystem& files, std::u16string_view path, Contents contents = Contents::kEntries);

// Opens a file for reading from front to back, unpacked when its first bytes say that it is
// compressed. An archive (zip, tar) is read as it is: it is no file of its own.
platform::Result<std::unique_ptr<platform::InputStream>> OpenDecompressed(
    platform::FileSystem& files, std::u16string_view path, std::size_t bufferSize = 64u << 10);

}  // namespace parvane::archives
