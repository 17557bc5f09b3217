// The files of the page.
#pragma once

#include <string_view>

#include "app/http.h"

namespace parvane::app {

// 404 for a name that is none of theirs.
HttpAnswer PageAnswer(std::string_view name);

}  // namespace parvane::app
