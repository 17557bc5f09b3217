// The options of `parvane convert --each`.
#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/options.h"

namespace parvane::cli {

// Both outlive the parsing of the command line.
class EachArguments {
 public:
  explicit EachArguments(ConvertCommandOptions& options) : _options(options) {}

  void Describe(CLI::App& command);
  bool given() const { return _options.each || !_eachOf.empty(); }
  // As VerifyArguments::Understand.
  std::string Understand();

 private:
  ConvertCommandOptions& _options;
  CLI::App* _command = nullptr;
  std::string _eachOf;
  std::optional<unsigned> _jobs;
};

}  // namespace parvane::cli
