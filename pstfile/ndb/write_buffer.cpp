#include "pstfile/ndb/write_buffer.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

Result<std::span<std::byte>> WriteBuffer::Reserve(platform::RandomAccessFile& file,
                                                  std::uint64_t offset, std::size_t size) {
  if (_used + size > _capacity) {
    if (Status s = Flush(file); !s.ok()) return s;
  }
  if (_bytes == nullptr) _bytes = std::make_unique_for_overwrite<std::byte[]>(_capacity);
  const std::size_t at = _used;
  if (!_pieces.empty() && _pieces.back().offset + _pieces.back().size == offset) {
    _pieces.back().size += size;
  } else {
    _pieces.push_back({offset, at, size});
  }
  _places[offset] = at;
  _used += size;
  return std::span<std::byte>(_bytes.get() + at, size);
}

std::optional<std::span<const std::byte>> WriteBuffer::Find(std::uint64_t offset,
                                                            std::size_t size) const {
  const auto found = _places.find(offset);
  if (found == _places.end() || size > _used - found->second) return std::nullopt;
  return std::span<const std::byte>(_bytes.get() + found->second, size);
}

Status WriteBuffer::Flush(platform::RandomAccessFile& file) {
  for (const Piece& piece : _pieces) {
    Status s = file.WriteAt(piece.offset, {_bytes.get() + piece.at, piece.size});
    if (!s.ok()) return s;
  }
  _pieces.clear();
  _places.clear();
  _used = 0;
  return {};
}

}  // namespace parvane::pstfile
