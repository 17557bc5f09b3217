// What the table of the command line says of each command, as man pages and completions need it.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace parvane::texts {

struct OptionText {
  std::vector<std::string> names;  // "-q", "--quiet"
  std::string value;               // as the help shows it, "auto|lines|never"; empty: none
  std::vector<std::string> words;  // of the value
  bool list = false;               // several words with commas between them
  bool file = false;               // the value names one
  bool again = false;              // may be given again
  std::string description;

  const std::string& longName() const { return names.back(); }
  // Its first clause, for where there is one line.
  std::string_view Brief() const;
};

struct CommandText {
  std::string name;  // "convert"; empty: of the program itself
  std::string summary;
  std::string arguments;       // "SOURCE... DEST.pst"
  std::string argumentsAbout;  // what they are
  std::vector<OptionText> options;
  std::string examples;  // lines
  std::vector<std::pair<std::string, std::string>> exitStatus;

  bool takesPstAlone() const { return arguments == "FILE.pst"; }
};

// The program itself first.
std::vector<CommandText> CommandsOf(CLI::App& app);

// `text` with every `from` replaced.
std::string Replaced(std::string_view text, std::string_view from, std::string_view to);

}  // namespace parvane::texts
