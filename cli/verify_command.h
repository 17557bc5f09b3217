// `parvane verify`: reads the sources again, and the PSTs, and compares.
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

ExitCode RunVerify(const VerifyOptions& options);

}  // namespace parvane::cli
