// parvane convert
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

ExitCode RunConvert(const ConvertOptions& options);

}  // namespace parvane::cli
