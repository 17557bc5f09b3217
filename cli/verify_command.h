// `parvane verify`: reads the sources again, and the PSTs, and compares.
#pragma once

#include "cli/options.h"
#include "desk/exit_code.h"

namespace parvane::cli {

desk::ExitCode RunVerify(const VerifyCommandOptions& options);

}  // namespace parvane::cli
