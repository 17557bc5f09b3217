#include "platform/socket.h"

#include <winsock2.h>

namespace parvane::platform {

void KeepPortFromOthers(std::uintptr_t socket) {
  const int yes = 1;
  ::setsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
               reinterpret_cast<const char*>(&yes), sizeof yes);
}

}  // namespace parvane::platform
