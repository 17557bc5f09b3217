// Memory that a thread keeps for the next who asks.
#include <thread>

#include <gtest/gtest.h>

#include "platform/buffer_pool.h"
#include "platform/recycled_vector.h"

namespace parvane::platform {
namespace {

void Use() {
  RecycledVector<int> numbers;
  EXPECT_TRUE(numbers.empty());
  numbers.resize(100, 7);
  MakePooledBuffer<64>()[0] = std::byte{1};
}

TEST(Reuse, EndsWithTheThread) {
  struct AtEnd {
    ~AtEnd() {
      for (int i = 0; i < 3; ++i) Use();
    }
  };
  std::thread([] {
    // Made before the stocks, and so destroyed after them.
    thread_local AtEnd atEnd;
    (void)&atEnd;
    Use();
  }).join();
}

}  // namespace
}  // namespace parvane::platform
