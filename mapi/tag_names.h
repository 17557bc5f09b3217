// The published names of property tags, for people who look into a file.
#pragma once

#include <string_view>

#include "mapi/types.h"

namespace parvane::mapi {

// "PR_SUBJECT"; empty for a tag that has no name here. The type does not matter.
std::string_view TagName(ULONG tag);

}  // namespace parvane::mapi
