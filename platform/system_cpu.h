// What only the system can tell about the processor.
#pragma once

namespace parvane::platform {

// Whether a 64-bit ARM processor has instructions for CRC-32; programs cannot ask it themselves.
bool SystemHasArmCrc32();

}  // namespace parvane::platform
