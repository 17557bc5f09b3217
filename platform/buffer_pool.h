// Buffers of one size that are used again instead of going back to the heap: an allocation of a few
// kilobytes, made and freed for every message, costs more than what is done with it.
//
//   PooledBuffer<8192> buffer = MakePooledBuffer<8192>();   // contents unspecified
//
// Each thread keeps a few; a buffer may be released by another thread than the one it came from.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "platform/of_thread.h"

namespace parvane::platform {

template <std::size_t kSize>
class BufferPool {
 public:
  static std::byte* Take() {
    if (s_ended) return new std::byte[kSize];
    Stock& stock = Mine();
    return stock.count > 0 ? stock.free[--stock.count] : new std::byte[kSize];
  }
  static void Give(std::byte* buffer) noexcept {
    if (s_ended) return delete[] buffer;
    Stock& stock = Mine();
    if (stock.count < stock.free.size()) {
      stock.free[stock.count++] = buffer;
    } else {
      delete[] buffer;
    }
  }

 private:
  struct Stock {
    std::array<std::byte*, 8> free{};
    std::size_t count = 0;
    ~Stock() {
      s_ended = true;
      while (count > 0) delete[] free[--count];
    }
  };
  // The stock is gone with the thread. Not part of it: compilers drop what destructors store last.
  static inline constinit thread_local bool s_ended = false;
  static Stock& Mine() { return OfThread<Stock>(); }
};

template <std::size_t kSize>
struct PooledBufferDeleter {
  void operator()(std::byte* buffer) const noexcept { BufferPool<kSize>::Give(buffer); }
};

template <std::size_t kSize>
using PooledBuffer = std::unique_ptr<std::byte[], PooledBufferDeleter<kSize>>;

template <std::size_t kSize>
PooledBuffer<kSize> MakePooledBuffer() {
  return PooledBuffer<kSize>(BufferPool<kSize>::Take());
}

}  // namespace parvane::platform
