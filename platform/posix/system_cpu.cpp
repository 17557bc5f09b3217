#include "platform/system_cpu.h"

#if defined(__linux__) && defined(__aarch64__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace parvane::platform {

bool SystemHasArmCrc32() {
#if defined(__linux__) && defined(__aarch64__)
  return (getauxval(AT_HWCAP) & HWCAP_CRC32) != 0;
#elif defined(__ARM_FEATURE_CRC32)
  return true;  // the compiler takes it for granted, as on every Mac
#else
  return false;
#endif
}

}  // namespace parvane::platform
