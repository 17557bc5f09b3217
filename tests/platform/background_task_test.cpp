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

// The thread may be asleep, awake or not quite either when the first piece comes, and when it ends.
TEST(BackgroundTask, NeverSleepsThroughItsWork) {
  constexpr int kTasks = 1000;
  int done = 0;
  for (int i = 0; i < kTasks; ++i) {
    BackgroundTask task;
    ASSERT_TRUE(task.Start([&done] { ++done; }));
    if (i % 2 == 0) task.Wait();
  }
  EXPECT_EQ(done, kTasks);
}

}  // namespace
}  // namespace parvane::platform
