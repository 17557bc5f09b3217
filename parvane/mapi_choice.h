// Who answers MAPI's entry points.
#pragma once

#include "desk/options.h"
#include "platform/status.h"

namespace parvane {

// For the whole process. Fails where there is no such MAPI.
platform::Status ChooseMapi(desk::MapiChoice choice);

}  // namespace parvane
