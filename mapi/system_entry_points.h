// The system's Extended MAPI: on Windows, what mapi32.dll passes on to the library of the default
// mail program, which usually is Outlook.
#pragma once

#include <string>

#include "mapi/entry_points.h"
#include "platform/status.h"

namespace parvane::mapi {

// Loads the library at the first call; it stays loaded. That succeeds on every Windows: whether a
// mail program stands behind it shows when MAPIInitialize fails. kUnsupported on other systems.
//
// FreeProws is our own, over MAPIFreeBuffer: its exported name differs between systems.
platform::Result<EntryPoints> SystemEntryPoints();

// After the system's MAPI has refused to start or to log on: why that may be, from what is
// registered on this machine, and what its user can do. One or two sentences without a full stop.
std::string SystemMapiAdvice();

}  // namespace parvane::mapi
