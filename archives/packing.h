// What the first bytes of a file say it is packed as.
#pragma once

#include <string_view>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::archives {

enum class Packing {
  kNone,
  // One file, compressed.
  kGzip,
  kBzip2,
  kXz,
  kZstd,
  // Many files; a compressed tar is one of the above.
  kZip,
  kTar,
};

// As many bytes as it takes to tell.
inline constexpr std::size_t kPackingBytes = 512;

// Of a file that begins with these bytes.
Packing PackingOf(std::string_view beginning);
platform::Result<Packing> PackingOfFile(platform::FileSystem& files, std::u16string_view path);

// "gzip"
std::string_view NameOf(Packing packing);

// Whether one of the kind can be read here; the system's programs are never called for help.
bool IsReadHere(Packing packing);

// The name without the extension that tells how the file is packed ("Inbox.mbox.gz": "Inbox.mbox",
// "mail.tgz": "mail").
std::u16string_view WithoutPacking(std::u16string_view name);

}  // namespace parvane::archives
