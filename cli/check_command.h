// parvane check
#pragma once

#include "cli/options.h"
#include "desk/exit_code.h"

namespace parvane::cli {

// kDone: the file is sound; kMailLeftBehind (1): something was found; kCouldNotFinish: there was
// nothing to check, or the file could not be read to its end.
desk::ExitCode RunCheck(const CheckCommandOptions& options);

}  // namespace parvane::cli
