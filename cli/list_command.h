// parvane list
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

ExitCode RunList(const ListOptions& options);

}  // namespace parvane::cli
