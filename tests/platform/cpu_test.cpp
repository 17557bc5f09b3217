#include "platform/cpu.h"

#include <gtest/gtest.h>

namespace parvane::platform {
namespace {

TEST(Cpu, ForcingPlainPathsHidesEveryFeature) {
  const CpuFeature kAll[] = {CpuFeature::kSsse3, CpuFeature::kSse41, CpuFeature::kPclmul,
                             CpuFeature::kAvx2};
  // Each of these came with all before it.
  if (CpuHas(CpuFeature::kAvx2)) {
    EXPECT_TRUE(CpuHas(CpuFeature::kSse41) && CpuHas(CpuFeature::kSsse3));
  }
  ForcePlainPaths(true);
  for (const CpuFeature feature : kAll) EXPECT_FALSE(CpuHas(feature));
  ForcePlainPaths(false);
}

}  // namespace
}  // namespace parvane::platform
