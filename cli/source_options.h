// The options of every command that reads mail: which it is, and what comes along of it.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "parvane/options.h"

namespace parvane::cli {

// Understood by parvane/option_words.h. `words` outlive the parsing of the command line.
void DescribeSources(CLI::App& command, SourceOptions& words);

// Why a path cannot be one, as far as its text tells; empty: it may be one.
std::string FaultOfPath(const std::string& path);

}  // namespace parvane::cli
