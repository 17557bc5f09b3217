#include "cli/options.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

#include "cli/command_line.h"
#include "cli/console.h"
#include "cli/results.h"
#include "desk/suggestion.h"
#include "platform/browser.h"

namespace parvane::cli {
namespace {

using desk::ExitCode;
using desk::NoSuch;

ExitCode ShowHelp(const std::string& text) {
  Results results(ProgressStyle::kNone);
  results.Write(text);
  return results.Finish() ? ExitCode::kDone : ExitCode::kCouldNotFinish;
}

// Who asks for nothing is told what can be asked for, but not that all mail was converted.
ExitCode ShowUsage(const CLI::App& app) {
  const ExitCode shown = ShowHelp(app.help());
  return shown == ExitCode::kDone ? ExitCode::kUsage : shown;
}

// "help convert" as "convert --help".
std::vector<std::string> WithoutHelpCommand(std::vector<std::string> arguments) {
  if (arguments.front() == "help") {
    std::rotate(arguments.begin(), arguments.begin() + 1, arguments.end());
    arguments.back() = "--help";
  }
  return arguments;
}

bool Contains(const std::vector<std::string>& words, const std::string& word) {
  return std::ranges::find(words, word) != words.end();
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options({})) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// Names the first argument that means nothing here, and what might have been meant; empty when the
// fault is another one.
std::string UnknownWord(const CLI::App& app, const std::vector<std::string>& arguments) {
  std::vector<std::string> commands;
  for (const CLI::App* command : app.get_subcommands({})) commands.push_back(command->get_name());
  const std::string& first = arguments.front();
  const bool isCommand = Contains(commands, first);
  if (!isCommand && !first.starts_with('-')) return NoSuch("command", first, commands);
  const std::vector<std::string> options = OptionsOf(isCommand ? *app.get_subcommand(first) : app);
  for (const std::string& argument : arguments) {
    const std::string name = argument.substr(0, argument.find('='));
    if (name == "--") break;
    if (name.starts_with("--") && !Contains(options, name)) return NoSuch("option", name, options);
  }
  return {};
}

ExitCode Explain(const CLI::App& app, const std::vector<std::string>& arguments,
                 const CLI::ParseError& error) {
  std::ostringstream output, complaint;
  if (app.exit(error, output, complaint) == 0) return ShowHelp(output.str());
  const std::string unknown = UnknownWord(app, arguments);
  WriteError(unknown.empty() ? error.what() : unknown);
  WriteMessage("Try: parvane --help, parvane COMMAND --help\n");
  return ExitCode::kUsage;
}

ExitCode WrongUsage(const std::string& why) {
  WriteError(why);
  return ExitCode::kUsage;
}

}  // namespace

std::variant<Command, ExitCode> ParseArguments(const std::vector<std::string>& given) {
  CommandLine line;
  // Who double-clicks the program wants to see something.
  if (given.empty() && app::IsBuiltIn() && platform::HasOwnConsole())
    return Command(app::Options{.doubleClicked = true});
  if (given.empty()) return ShowUsage(line.parser());
  const std::vector<std::string> arguments = WithoutHelpCommand(given);
  try {
    // CLI11 takes them last first.
    line.parser().parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return Explain(line.parser(), arguments, error);
  }
  auto understood = line.Understand();
  if (const auto* fault = std::get_if<std::string>(&understood)) return WrongUsage(*fault);
  return std::get<Command>(std::move(understood));
}

}  // namespace parvane::cli
