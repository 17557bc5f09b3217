// Where the bytes of one message are put together: grows without clearing what it grows by, and is
// used again for the next message.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace parvane::sources {

class MessageBuffer {
 public:
  std::string_view view() const { return {_bytes.get(), _size}; }
  std::size_t size() const { return _size; }
  bool empty() const { return _size == 0; }
  void clear() { _size = _lost = 0; }

  // For a message that memory does not suffice for: gives all of it back, and keeps nothing of the
  // message but how many bytes it has.
  void Lose(std::uint64_t size) {
    _bytes.reset();
    _size = _capacity = 0;
    _lost = size;
  }
  std::uint64_t lost() const { return _lost; }

  // Behind the last byte; at least `count` bytes may be written there before Grow says how many
  // have been.
  char* Room(std::size_t count) {
    if (_capacity - _size < count) Reserve(_size + count);
    return _bytes.get() + _size;
  }
  void Grow(std::size_t count) { _size += count; }

  void Append(std::string_view bytes) {
    if (bytes.empty()) return;
    std::memcpy(Room(bytes.size()), bytes.data(), bytes.size());
    _size += bytes.size();
  }
  void Cut(std::size_t size) { _size = size; }
  void EraseFront(std::size_t count) {
    if (count == 0) return;
    std::memmove(_bytes.get(), _bytes.get() + count, _size - count);
    _size -= count;
  }
  void EraseByte(std::size_t at) {
    std::memmove(_bytes.get() + at, _bytes.get() + at + 1, _size - at - 1);
    --_size;
  }

 private:
  void Reserve(std::size_t capacity) {
    capacity = std::max(capacity, _capacity + _capacity / 2);
    // Large blocks are moved by the system's page tables rather than copied.
    void* grown = std::realloc(_bytes.get(), capacity);
    if (grown == nullptr) throw std::bad_alloc();
    (void)_bytes.release();
    _bytes.reset(static_cast<char*>(grown));
    _capacity = capacity;
  }

  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };

  std::unique_ptr<char, Free> _bytes;
  std::size_t _size = 0;
  std::size_t _capacity = 0;
  std::uint64_t _lost = 0;
};

}  // namespace parvane::sources
