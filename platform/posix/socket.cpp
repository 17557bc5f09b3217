#include "platform/socket.h"

namespace parvane::platform {

void KeepPortFromOthers(std::uintptr_t) {}

}  // namespace parvane::platform
