// A std::vector whose memory is used again by the next one of its type: for the short vectors that
// are filled and thrown away for every message.
//
// Each thread keeps the memory of a few, none larger than 16 KiB. A new one may have some of it
// already: what has to be small calls shrink_to_fit().
#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/of_thread.h"

namespace parvane::platform {

template <typename T>
class RecycledVector : public std::vector<T> {
 public:
  RecycledVector() {
    if (s_ended) return;
    Stock& stock = Mine();
    if (stock.count > 0) this->swap(stock.free[--stock.count]);
  }
  RecycledVector(const RecycledVector& other) : RecycledVector() { *this = other; }
  // Takes the other's memory, and leaves it empty.
  RecycledVector(RecycledVector&& other) noexcept : std::vector<T>(std::move(other)) {}
  RecycledVector& operator=(const RecycledVector& other) = default;
  RecycledVector& operator=(RecycledVector&& other) noexcept {
    this->swap(other);
    other.clear();
    return *this;
  }
  ~RecycledVector() {
    if (this->capacity() == 0 || this->capacity() * sizeof(T) > kMostBytes) return;
    if (s_ended) return;
    this->clear();
    Stock& stock = Mine();
    if (stock.count < stock.free.size()) this->swap(stock.free[stock.count++]);
  }

 private:
  static constexpr std::size_t kMostBytes = 16 * 1024;

  struct Stock {
    std::array<std::vector<T>, 8> free;
    std::size_t count = 0;
    ~Stock() { s_ended = true; }
  };
  // The stock is gone with the thread. Not part of it: compilers drop what destructors store last.
  static inline constinit thread_local bool s_ended = false;
  static Stock& Mine() { return OfThread<Stock>(); }
};

}  // namespace parvane::platform
