// Base of classes of which every message makes an object: `new` and `delete` of them use the memory
// of earlier ones again (buffer_pool.h) instead of going to the heap.
//
//   class Message : public PooledObject<Message> {...};
#pragma once

#include <cstddef>
#include <new>

#include "platform/buffer_pool.h"

namespace parvane::platform {

template <typename Object>
class PooledObject {
 public:
  static void* operator new(std::size_t size) {
    static_assert(alignof(Object) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    // Classes derived from it are larger.
    return size == sizeof(Object) ? BufferPool<sizeof(Object)>::Take() : ::operator new(size);
  }
  static void operator delete(void* object, std::size_t size) noexcept {
    if (size == sizeof(Object))
      return BufferPool<sizeof(Object)>::Give(static_cast<std::byte*>(object));
    ::operator delete(object);
  }
};

}  // namespace parvane::platform
