// The table of the program's commands and options: the command line is read by it, and help, man
// pages and completions are made from it.
#pragma once

#include <string>
#include <variant>

#include <CLI/CLI.hpp>

#include "cli/convert_options.h"
#include "cli/options.h"
#include "cli/verify_options.h"

namespace parvane::cli {

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  CLI::App& parser() { return _parser; }
  // Once it has parsed: what was asked for, or the complaint about what CLI11 could not judge.
  std::variant<Command, std::string> Understand();

 private:
  CLI::App _parser{"Moves e-mail from mbox files and mail profiles into an Outlook PST file.",
                   "parvane"};
  void DescribeList(CLI::App& command);
  void DescribeCheck(CLI::App& command);
  std::string UnderstandCheck();

  ConvertCommandOptions _convert, _scan;
  ConvertArguments _convertArguments{_convert}, _scanArguments{_scan};
  ListOptions _list;
  CheckCommandOptions _check;
  VerifyCommandOptions _verify;
  VerifyArguments _verifyArguments{_verify};
  app::Options _window;
  // Byte strings, turned into paths and numbers afterwards.
  std::string _listFile, _checkFile, _dump;
};

}  // namespace parvane::cli
