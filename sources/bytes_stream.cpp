#include "sources/bytes_stream.h"

#include <cstring>
#include <new>

IBytesStream* BytesStream::OpenBytesStream(const char* data, std::uint64_t size) {
  return new (std::nothrow) BytesStream(data, size);
}

void BytesStream::CloseBytesStream(IBytesStream* stream) {
  if (!stream) return;
  stream->close();
  delete stream;
}

std::uint64_t BytesStream::read(void* buffer, std::uint64_t count) {
  // Relative seeks wrap around, so the position may lie anywhere.
  if (_size == 0 || _position >= _size - 1) return 0;
  const std::uint64_t remaining = _size - _position;
  const std::uint64_t n = count <= remaining ? count : remaining - 1;
  if (n > 0) std::memcpy(buffer, _data + _position, n);
  return n;
}

bool BytesStream::seek(std::uint64_t offset, RelativeToPosition origin) {
  switch (origin) {
    case RelativeToPosition::kStart:
      if (offset >= _size - 1) return false;
      _position = offset;
      return true;
    case RelativeToPosition::kForward:
      if (_position + offset < _size - 1) _position += offset;
      return false;
    case RelativeToPosition::kBackward:
      if (_position - offset > 0) _position -= offset;
      return false;
    case RelativeToPosition::kEnd:
      if (offset >= _size - 1) return false;
      _position = _size - offset - 1;
      return true;
  }
  return false;
}
