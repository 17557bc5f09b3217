// parvane check
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

// kDone: the file is sound; kMailLeftBehind (1): something was found; kCouldNotFinish: there was
// nothing to check, or the file could not be read to its end.
ExitCode RunCheck(const CheckCommandOptions& options);

}  // namespace parvane::cli
