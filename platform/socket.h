// What listening on a port takes beyond what systems have in common.
#pragma once

#include <cstdint>

namespace parvane::platform {

// Keeps the port that a socket is going to be bound to from being taken over by another process: on
// Windows that has to be asked for.
void KeepPortFromOthers(std::uintptr_t socket);

}  // namespace parvane::platform
