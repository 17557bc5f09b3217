// The options of `parvane convert`.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "cli/each_options.h"
#include "cli/options.h"
#include "cli/source_options.h"

namespace parvane::cli {

// Both outlive the parsing of the command line.
class ConvertArguments {
 public:
  explicit ConvertArguments(ConvertCommandOptions& options) : _options(options) {}

  void Describe(CLI::App& command);
  // As VerifyArguments::Understand.
  std::string Understand();
  // Of `parvane scan`, which is this command with --dry-run and without a PST.
  void DescribeScan(CLI::App& command);
  std::string UnderstandScan();

 private:
  std::string UnderstandWords();

  ConvertCommandOptions& _options;
  EachArguments _each{_options};
};

}  // namespace parvane::cli
