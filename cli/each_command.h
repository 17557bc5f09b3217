// parvane convert --each
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

// Converts each source by a process of this program, so many at a time. One that fails stops no
// other; what an earlier run has finished is not done again.
ExitCode RunEach(const ConvertOptions& options);

}  // namespace parvane::cli
