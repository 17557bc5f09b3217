#include "platform/stage_times.h"

#include <chrono>

#include <gtest/gtest.h>

namespace parvane::platform {
namespace {

void Spend(std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) {
  }
}

TEST(StageTimes, EachMomentCountsForTheInnermostMark) {
  using std::chrono::milliseconds;
  { const StageMark unheard(Stage::kRead, 5); }
  StageTimes times;
  const auto start = std::chrono::steady_clock::now();
  times.Start();
  {
    const StageMark outer(Stage::kParse, 100);
    Spend(milliseconds(20));
    {
      const StageMark inner(Stage::kDecode, 7);
      Spend(milliseconds(60));
    }
    const StageMark again(Stage::kDecode, 8);
  }
  times.Stop();
  const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - start;
  { const StageMark late(Stage::kRead, 5); }

  EXPECT_EQ(times.Of(Stage::kRead).bytes, 0U);
  EXPECT_EQ(times.Of(Stage::kParse).bytes, 100U);
  EXPECT_EQ(times.Of(Stage::kDecode).bytes, 15U);
  EXPECT_GE(times.Of(Stage::kParse).seconds, 0.019);
  EXPECT_GE(times.Of(Stage::kDecode).seconds, 0.059);
  double sum = 0;
  for (std::size_t i = 0; i < kStages; ++i) sum += times.Of(static_cast<Stage>(i)).seconds;
  // Whatever else the machine does meanwhile lies within both.
  EXPECT_LE(sum, whole.count() + 0.001);
  EXPECT_GE(sum, times.Of(Stage::kParse).seconds + times.Of(Stage::kDecode).seconds);
}

}  // namespace
}  // namespace parvane::platform
