// Which optional instructions this machine has.
//
// Fast paths ask at run time and always have a plain twin that gives the same result; the tests
// run both.
#pragma once

namespace parvane::platform {

enum class CpuFeature {
  kSsse3,
  kSse41,
  kPclmul,
  kAvx2,
  kAvx512,  // F, BW, VL and VBMI, with which wide paths begin to pay
  kVpclmul  // VPCLMULQDQ, and kAvx512
};

// False on machines of another architecture, and for everything while plain paths are forced: by
// ForcePlainPaths, or by PARVANE_CPU=plain in the environment.
bool CpuHas(CpuFeature feature);

// Makes every fast path take its plain twin, for tests; not while other threads convert.
void ForcePlainPaths(bool force);

}  // namespace parvane::platform
