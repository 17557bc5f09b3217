#include "platform/system_cpu.h"

#include <windows.h>

namespace parvane::platform {

bool SystemHasArmCrc32() {
#if defined(PF_ARM_V8_CRC32_INSTRUCTIONS_AVAILABLE)
  return IsProcessorFeaturePresent(PF_ARM_V8_CRC32_INSTRUCTIONS_AVAILABLE) != 0;
#else
  return false;
#endif
}

}  // namespace parvane::platform
