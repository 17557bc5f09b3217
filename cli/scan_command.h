// parvane scan, which is parvane convert --dry-run
#pragma once

#include "cli/exit_code.h"
#include "cli/options.h"

namespace parvane::cli {

// Reads all mail, and tells what a conversion with these options would do. Writes nothing but the
// logs and the report that are asked for. Without a destination none is judged.
ExitCode RunScan(const ConvertOptions& options);

}  // namespace parvane::cli
