// One-off entry identifiers: a recipient spelled out in its identifier.
#pragma once

#include <cstddef>
#include <span>

#include "mapi/builtin/memory.h"
#include "mapi/types.h"

namespace parvane::mapi::builtin {

// CreateOneOff. Strings are UTF-16 with MAPI_UNICODE in `flags`, 8-bit otherwise, and are copied as
// they are; a null name is empty.
//
//   offset 0 flags (0), 4 provider (16 bytes), 20 version (0), 22 flags, 24 name, address type and
//   address, each with its terminator
// The identifier is in memory of `chain`.
std::span<const std::byte> MakeOneOff(LPTSTR name, LPTSTR addressType, LPTSTR address, ULONG flags,
                                      Chain& chain);
bool IsOneOff(const void* entryId, ULONG size);

}  // namespace parvane::mapi::builtin
