#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/app_command.h"
#include "cli/console.h"
#include "cli/convert_options.h"
#include "cli/help.h"
#include "cli/option_words.h"
#include "cli/results.h"
#include "cli/verify_options.h"
#include "desk/suggestion.h"
#include "platform/browser.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

using desk::ExitCode;
using desk::NoSuch;

constexpr const char* kExamples = R"(Examples:
  parvane convert Inbox.mbox mail.pst
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
  parvane scan ~/.thunderbird/x1y2z3.default
  parvane list --messages mail.pst
  parvane check mail.pst
  parvane verify Inbox.mbox mail.pst
  parvane app

parvane COMMAND --help tells more about a command.)";

constexpr const char* kListExamples = R"(Examples:
  parvane list mail.pst                folders with their counts and sizes
  parvane list --messages mail.pst     and every message
  parvane list --json mail.pst         for other programs)";

constexpr const char* kCheckExamples = R"(Examples:
  parvane check mail.pst               what is wrong with it, in plain words
  parvane check --json mail.pst        for other programs

Exit status: 0 nothing found, 1 something found, 2 wrong usage, 3 unreadable.)";

// What CLI11 fills: byte strings, turned into paths and numbers afterwards.
struct RawFile {
  std::string path, dump;
};

std::u16string Path(const std::string& native) { return platform::PathFromNative(native); }

template <typename Options>
void DescribeFile(CLI::App& command, RawFile& raw, Options& options) {
  command.add_option("FILE.pst", raw.path, "the PST; it is only read")->required()->type_name("");
  command.add_flag("--json", options.json, "write JSON");
  DescribeProgress(command, options.progress, "elsewhere nothing; lines: a line every few seconds");
}

void DescribeList(CLI::App& command, RawFile& raw, ListOptions& options) {
  DescribeFile(command, raw, options);
  command.add_flag("--messages", options.messages, "list every message");
  DescribeMapi(command, options.mapi, "reads");
  command.footer(kListExamples);
}

void DescribeCheck(CLI::App& command, RawFile& raw, CheckCommandOptions& options) {
  DescribeFile(command, raw, options);
  command.add_flag("--notes", options.notes,
                   "also tell what is harmless and usual in files by Outlook");
  command
      .add_option("--dump", raw.dump,
                  "show what one node of the file holds, such as 0x200024, and check only that")
      ->type_name("NID");
  command.footer(kCheckExamples);
}

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

// As findings write it, "0x8022", or decimal.
std::optional<std::uint32_t> NodeNamed(std::string_view text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  std::uint32_t nid = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), nid, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return nid;
}

// The complaint about what CLI11 could not judge; empty: none.
std::string UnderstandCheck(const RawFile& raw, CheckCommandOptions& options) {
  options.file = Path(raw.path);
  options.dump = NodeNamed(raw.dump);
  if (raw.dump.empty() || (options.dump && !options.json)) return {};
  return options.json ? "--dump writes no JSON"
                      : "--dump: \"" + raw.dump + "\" is no node id such as 0x8022";
}

// Unless there is a complaint about them.
template <typename Options>
std::variant<Command, ExitCode> Understood(const std::string& fault, Options& options) {
  if (!fault.empty()) return WrongUsage(fault);
  return Command(std::move(options));
}

}  // namespace

std::variant<Command, ExitCode> ParseArguments(const std::vector<std::string>& given) {
  CLI::App app{"Moves e-mail from mbox files and mail profiles into an Outlook PST file.",
               "parvane"};
  app.formatter(std::make_shared<HelpFormat>());
  // "/mail" is a path on every system.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", "parvane " PARVANE_VERSION);
  app.require_subcommand(1);
  app.footer(kExamples);

  ConvertCommandOptions convert;
  ConvertArguments convertArguments(convert);
  convertArguments.Describe(*app.add_subcommand("convert", "Write mail into a PST file"));
  ConvertCommandOptions scan;
  ConvertArguments scanArguments(scan);
  CLI::App* scanCommand =
      app.add_subcommand("scan", "Tell what a conversion would do, without writing");
  scanArguments.DescribeScan(*scanCommand);
  ListOptions list;
  CheckCommandOptions check;
  RawFile file;
  CLI::App* listCommand = app.add_subcommand("list", "Show what a PST file holds");
  DescribeList(*listCommand, file, list);
  CLI::App* checkCommand = app.add_subcommand("check", "Verify the structure of a PST file");
  DescribeCheck(*checkCommand, file, check);

  VerifyCommandOptions verify;
  VerifyArguments verifyArguments(verify);
  CLI::App* verifyCommand =
      app.add_subcommand("verify", "Tell whether all mail is in PST files, and as it was");
  verifyArguments.Describe(*verifyCommand);

  app::Options window;
  CLI::App* windowCommand = nullptr;
  if (app::IsBuiltIn()) {
    windowCommand = app.add_subcommand("app", "Do it all in a window of your browser");
    DescribeApp(*windowCommand, window);
  }
  // Who double-clicks the program wants to see something.
  if (given.empty() && windowCommand && platform::HasOwnConsole())
    return Command(app::Options{.doubleClicked = true});
  if (given.empty()) return ShowUsage(app);
  const std::vector<std::string> arguments = WithoutHelpCommand(given);
  try {
    // CLI11 takes them last first.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return Explain(app, arguments, error);
  }

  if (windowCommand && windowCommand->parsed()) return Command(window);
  if (listCommand->parsed()) {
    list.file = Path(file.path);
    return Command(std::move(list));
  }
  if (checkCommand->parsed()) return Understood(UnderstandCheck(file, check), check);
  if (verifyCommand->parsed()) return Understood(verifyArguments.Understand(), verify);
  if (scanCommand->parsed()) return Understood(scanArguments.UnderstandScan(), scan);
  return Understood(convertArguments.Understand(), convert);
}

}  // namespace parvane::cli
