#include "platform/cpu.h"

#include <atomic>
#include <cstdlib>
#include <string_view>

#include "platform/system_cpu.h"

#if defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
#include <immintrin.h>
#include <intrin.h>
#elif defined(__x86_64__) || defined(__i386__)
#define PARVANE_CPU_BUILTINS 1
#endif

namespace parvane::platform {
namespace {

constexpr unsigned Bit(CpuFeature feature) { return 1U << static_cast<unsigned>(feature); }

// What PARVANE_CPU in the environment leaves of the machine's features: whole programs are measured
// and tested that way.
unsigned AllowedFeatures() {
#if defined(_MSC_VER)
#pragma warning(suppress : 4996)  // nothing changes the environment meanwhile
#endif
  const char* wanted = std::getenv("PARVANE_CPU");
  const std::string_view level = wanted != nullptr ? wanted : "";
  if (level == "plain") return 0;
  if (level == "avx2") return Bit(CpuFeature::kAvx512) - 1;
  return ~0U;
}

unsigned Detect() {
  unsigned found = 0;
#if defined(PARVANE_CPU_BUILTINS)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("ssse3")) found |= Bit(CpuFeature::kSsse3);
  if (__builtin_cpu_supports("sse4.1")) found |= Bit(CpuFeature::kSse41);
  if (__builtin_cpu_supports("pclmul")) found |= Bit(CpuFeature::kPclmul);
#if !defined(__MINGW32__) || defined(__clang__)
  // GCC for Windows does not align the stack for wide registers it has to set aside.
  if (__builtin_cpu_supports("avx2")) found |= Bit(CpuFeature::kAvx2);
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi")) {
    found |= Bit(CpuFeature::kAvx512);
    if (__builtin_cpu_supports("vpclmulqdq")) found |= Bit(CpuFeature::kVpclmul);
    if (__builtin_cpu_supports("avx512vbmi2")) found |= Bit(CpuFeature::kVbmi2);
  }
#endif
#elif defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
  int leaf[4];
  __cpuid(leaf, 0);
  const int highest = leaf[0];
  __cpuid(leaf, 1);
  const unsigned ecx = static_cast<unsigned>(leaf[2]);
  if (ecx >> 9 & 1) found |= Bit(CpuFeature::kSsse3);
  if (ecx >> 19 & 1) found |= Bit(CpuFeature::kSse41);
  if (ecx >> 1 & 1) found |= Bit(CpuFeature::kPclmul);
  // AVX2 also needs the system to save the wide registers.
  const bool saved = (ecx >> 27 & 1) && (_xgetbv(0) & 6) == 6;
  if (saved && highest >= 7) {
    __cpuidex(leaf, 7, 0);
    const auto ebx = static_cast<unsigned>(leaf[1]);
    const auto extended = static_cast<unsigned>(leaf[2]);
    if (ebx >> 5 & 1) found |= Bit(CpuFeature::kAvx2);
    // F, BW, VL; VBMI; and the wide registers with their masks saved.
    if ((ebx >> 16 & 1) && (ebx >> 30 & 1) && (ebx >> 31 & 1) && (extended >> 1 & 1) &&
        (_xgetbv(0) & 0xE6) == 0xE6) {
      found |= Bit(CpuFeature::kAvx512);
      if (extended >> 10 & 1) found |= Bit(CpuFeature::kVpclmul);
      if (extended >> 6 & 1) found |= Bit(CpuFeature::kVbmi2);
    }
  }
#elif defined(__AARCH64EL__) || defined(_M_ARM64)
  found |= Bit(CpuFeature::kNeon);
  if (SystemHasArmCrc32()) found |= Bit(CpuFeature::kArmCrc32);
#endif
  return found;
}

std::atomic<unsigned> g_shown{~0U};

}  // namespace

bool CpuHas(CpuFeature feature) {
  static const unsigned kFound = Detect() & AllowedFeatures();
  return (kFound & g_shown.load(std::memory_order_relaxed) & Bit(feature)) != 0;
}

void HideCpuFeatures(std::optional<CpuFeature> from) {
  g_shown.store(from ? Bit(*from) - 1 : ~0U, std::memory_order_relaxed);
}

}  // namespace parvane::platform
