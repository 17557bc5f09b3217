// parvane convert, and parvane scan, which is a conversion that writes nothing
#pragma once

#include "cli/options.h"

namespace parvane::cli {

desk::ExitCode RunConvert(const ConvertCommandOptions& options);

}  // namespace parvane::cli
