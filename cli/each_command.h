// parvane convert --each
#pragma once

#include "cli/options.h"
#include "desk/exit_code.h"

namespace parvane::cli {

// Converts each source by a process of this program, so many at a time. One that fails stops no
// other; what an earlier run has finished is not done again.
desk::ExitCode RunEach(const ConvertCommandOptions& options);

}  // namespace parvane::cli
