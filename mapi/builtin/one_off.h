// One-off entry identifiers: a recipient spelled out in its identifier.
#pragma once

#include <vector>

#include "mapi/types.h"

namespace parvane::mapi::builtin {

// CreateOneOff. Strings are UTF-16 with MAPI_UNICODE in `flags`, 8-bit otherwise, and are copied as
// they are; a null name is empty.
//
//   offset 0 flags (0), 4 provider (16 bytes), 20 version (0), 22 flags, 24 name, address type and
//   address, each with its terminator
std::vector<std::byte> MakeOneOff(LPTSTR name, LPTSTR addressType, LPTSTR address, ULONG flags);
bool IsOneOff(const void* entryId, ULONG size);

}  // namespace parvane::mapi::builtin
