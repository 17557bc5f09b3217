// The options of `parvane verify`.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options.h"
#include "cli/source_options.h"

namespace parvane::cli {

// Both outlive the parsing of the command line.
class VerifyArguments {
 public:
  explicit VerifyArguments(VerifyCommandOptions& options) : _options(options) {}

  void Describe(CLI::App& command);
  // Once they are parsed: what CLI11 could not judge, judged, and turned into what it means; the
  // complaint about it, empty: none.
  std::string Understand();

 private:
  VerifyCommandOptions& _options;
  SourceOptions _words;
  std::vector<std::string> _paths;
  std::string _manifest;
};

}  // namespace parvane::cli
