// errno as a Status.
#pragma once

#include <string_view>

#include "platform/status.h"

namespace parvane::platform {

// "cannot <action> <path>: <the system's text>". Reads no errno of its own: `error` is its value.
Status ErrnoStatus(int error, std::string_view action, std::u16string_view path);

}  // namespace parvane::platform
