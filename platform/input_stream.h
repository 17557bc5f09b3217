// Sequential reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::platform {

// A stream of bytes with its buffer in the open, so that scanners look at many bytes at once.
class InputStream {
 public:
  virtual ~InputStream() = default;
  // The bytes read ahead; reads more when there are none. Empty only at the end or after an error.
  // The span holds until the next call of Buffer or Skip.
  virtual std::span<const char> Buffer() = 0;
  // Takes the first `count` bytes of Buffer() as read.
  virtual void Skip(std::size_t count) = 0;
  // Bytes taken so far.
  virtual std::uint64_t Position() const = 0;
  // Why the stream ended: ok at the end of the data, else the read error.
  virtual const Status& status() const = 0;
};

// `bufferSize` bytes at a time; the file may grow meanwhile (a mail client may hold it open).
Result<std::unique_ptr<InputStream>> OpenInputStream(FileSystem& files, std::u16string_view path,
                                                     std::size_t bufferSize = 1 << 18);

}  // namespace parvane::platform
