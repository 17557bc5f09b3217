// Work beside the caller's thread.
#include "platform/background_task.h"

#include <memory>

#include <gtest/gtest.h>

namespace parvane::platform {
namespace {

TEST(BackgroundTask, DoesOnePieceOfWorkAtATime) {
  constexpr int kPieces = 2000;
  int done = 0;  // each side's in turn
  auto task = std::make_unique<BackgroundTask>();
  task->Wait();
  for (int i = 0; i < kPieces; ++i) {
    ASSERT_TRUE(task->Start([&done] { ++done; }));
    // Every other piece is waited for by the next alone.
    if (i % 2 == 0) continue;
    task->Wait();
    ASSERT_EQ(done, i + 1);
  }
  ASSERT_TRUE(task->Start([&done] { ++done; }));
  task.reset();
  EXPECT_EQ(done, kPieces + 1);
}

}  // namespace
}  // namespace parvane::platform
