// The bytes behind a property stream, wherever they are.
#pragma once

#include <optional>
#include <vector>

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/stream.h"

namespace parvane::mapi::builtin {

// Appending is what mail is written by, and costs nothing extra. Changing a long value anywhere
// else brings it back into memory.
class StreamContents {
 public:
  // `isText`: bytes are UTF-16LE. `spills`: a long value may leave memory as it is appended to.
  StreamContents(StoreCore& core, bool isText, bool spills)
      : _core(core), _isText(isText), _spills(spills) {}
  ~StreamContents();
  StreamContents(const StreamContents&) = delete;
  StreamContents& operator=(const StreamContents&) = delete;

  void Adopt(std::vector<std::byte> bytes) { _memory = std::move(bytes); }
  void Adopt(pstfile::ValueReader reader) { _reader = std::move(reader); }

  std::uint64_t Size() const;
  HRESULT Read(std::uint64_t offset, std::span<std::byte> out, std::size_t& read);
  // Past the end, the gap is filled with zero bytes.
  HRESULT Write(std::uint64_t offset, std::span<const std::byte> bytes);
  HRESULT Resize(std::uint64_t size);
  // Gives the value to the object, without the `terminator` bytes of zero that may end it.
  HRESULT Install(StreamHost& host, ULONG tag, std::size_t terminator);
  // Brings all of it into memory.
  HRESULT Load();
  std::span<const std::byte> memory() const { return _memory; }

 private:
  HRESULT TooLong();
  HRESULT Append(std::span<const std::byte> bytes);
  HRESULT Spill(std::span<const std::byte> bytes);
  HRESULT FinishSpilled();
  HRESULT DropTerminator(std::size_t terminator);

  StoreCore& _core;
  bool _isText;
  bool _spills;
  // The value is what `_reader` reads, or else what went into `_writer` followed by `_memory`.
  std::optional<pstfile::ValueReader> _reader;
  std::optional<pstfile::ValueWriter> _writer;
  std::optional<pstfile::StoredValue> _finished;  // behind `_reader`, and not yet the object's
  std::vector<std::byte> _memory;
};

HRESULT StreamResultOf(const platform::Status& status);

}  // namespace parvane::mapi::builtin
