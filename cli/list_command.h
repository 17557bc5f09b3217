// parvane list
#pragma once

#include "cli/options.h"
#include "desk/exit_code.h"

namespace parvane::cli {

desk::ExitCode RunList(const ListOptions& options);

}  // namespace parvane::cli
