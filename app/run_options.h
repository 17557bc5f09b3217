// What a request says of how to convert, understood.
#pragma once

#include "app/json.h"
#include "desk/options.h"

namespace parvane::app {

// Throws a Refusal for what means nothing.
desk::ConvertOptions RunOptions(const Json& request);

}  // namespace parvane::app
