#include <algorithm>
#include <array>

#include "platform/system.h"
#include "platform/system_internal.h"

namespace parvane::platform {

// Keys are asked for one by one, message by message: a call of the system for each would cost more
// than all else about them.
void FillRandom(std::span<std::byte> bytes) {
  struct Stock {
    std::array<std::byte, 1024> bytes;
    std::size_t left = 0;
  };
  thread_local Stock stock;
  if (bytes.size() > stock.bytes.size()) return FillRandomFromSystem(bytes);
  if (stock.left < bytes.size()) {
    FillRandomFromSystem(stock.bytes);
    stock.left = stock.bytes.size();
  }
  const auto taken = std::span(stock.bytes).subspan(stock.left - bytes.size(), bytes.size());
  std::ranges::copy(taken, bytes.begin());
  std::ranges::fill(taken, std::byte{0});
  stock.left -= bytes.size();
}

}  // namespace parvane::platform
