// MAPI memory: chains of blocks that are freed as a whole.
#pragma once

#include <cstring>
#include <new>
#include <span>
#include <string_view>

#include "mapi/types.h"

namespace parvane::mapi {
struct SRowSet;
}

namespace parvane::mapi::builtin {

// Starts a chain; aligned to 16 bytes. Any size, 0 included.
SCODE AllocateBuffer(ULONG size, void** buffer) noexcept;
// Adds a block to the chain that starts at `head`; refused when `head` does not start one.
SCODE AllocateMore(ULONG size, void* head, void** buffer) noexcept;
// Frees a chain by its first block. Null is accepted, any other block of a chain is refused.
ULONG FreeBuffer(void* buffer) noexcept;
void FreeRows(SRowSet* rows) noexcept;

// A chain under construction: freed unless it is given away. Allocation throws std::bad_alloc.
class Chain {
 public:
  Chain() = default;
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;
  ~Chain() { FreeBuffer(_head); }

  // The first call makes the head.
  void* Allocate(std::size_t size);
  template <typename T>
  T* AllocateArray(std::size_t count) {
    return static_cast<T*>(Allocate(count * sizeof(T)));
  }
  // With a terminator.
  LPWSTR Copy(std::u16string_view text);
  LPSTR Copy(std::string_view text);
  BYTE* Copy(std::span<const std::byte> bytes);

  // The head's memory, now the caller's.
  template <typename T>
  T* Detach() {
    void* head = _head;
    _head = nullptr;
    return static_cast<T*>(head);
  }

 private:
  void* _head = nullptr;
};

}  // namespace parvane::mapi::builtin
