// The options of every command that reads mail: which it is, and what comes along of it.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options.h"

namespace parvane::cli {

// Both outlive the parsing of the command line.
class SourceArguments {
 public:
  explicit SourceArguments(desk::SourceOptions& options) : _options(options) {}

  void Describe(CLI::App& command);
  // Once they are parsed: what CLI11 could not judge, judged, and turned into what it means; the
  // complaint about it, empty: none. `paths` are the sources.
  std::string Understand(const std::vector<std::string>& paths);

 private:
  std::string UnderstandChoice();

  desk::SourceOptions& _options;
  // Byte strings, as CLI11 fills them.
  std::string _keep = "all", _name, _since, _until;
  std::vector<std::string> _folders, _excluded;
};

// Why a path cannot be one, as far as its text tells; empty: it may be one.
std::string FaultOfPath(const std::string& path);

}  // namespace parvane::cli
