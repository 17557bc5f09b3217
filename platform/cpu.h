// Which optional instructions this machine has.
//
// Fast paths ask at run time and always have a plain twin that gives the same result; the tests
// run both.
#pragma once

#include <optional>

namespace parvane::platform {

enum class CpuFeature {
  kNeon,      // 64-bit ARM; every such machine has it, so this is there to be hidden
  kArmCrc32,  // the same architecture's instructions for CRC-32
  kSsse3,
  kSse41,
  kPclmul,
  kAvx2,
  kAvx512,   // F, BW, VL and VBMI, with which wide paths begin to pay
  kVpclmul,  // VPCLMULQDQ, and kAvx512
  kVbmi2     // VBMI2, and kAvx512
};

// False on machines of another architecture, for what is hidden, and for what PARVANE_CPU in the
// environment rules out: "plain" everything, "avx2" what comes after AVX2 in the list.
bool CpuHas(CpuFeature feature);

// Hides a feature and all that come after it in the list, so that what smaller machines run is
// run; none: hides nothing. For tests, and not while other threads convert.
void HideCpuFeatures(std::optional<CpuFeature> from);
// Hides all.
inline void ForcePlainPaths(bool force) {
  HideCpuFeatures(force ? std::optional(CpuFeature::kNeon) : std::nullopt);
}

}  // namespace parvane::platform
