#include "cli/options.h"

#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/console.h"
#include "cli/format.h"
#include "platform/file.h"

namespace parvane::cli {
namespace {

constexpr const char* kExamples = R"(
Examples:
  parvane convert Inbox.mbox mail.pst
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
  parvane list --messages mail.pst
  parvane check mail.pst

parvane COMMAND --help tells more about a command.)";

constexpr const char* kConvertExamples = R"(
Examples:
  parvane convert Inbox.mbox mail.pst
      one mailbox; its messages go to the folder "Inbox" of mail.pst
  parvane convert ~/mail-export mail.pst
      every .mbox file in a folder and the folders in it
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
      a Thunderbird profile with all its accounts
  parvane convert --append --name "Archive 2019" old.mbox mail.pst
      adds a folder to a PST that is there already
  parvane convert --report run.json --detailed-log run.log inbox.mbox mail.pst

Exit status: 0 all converted, 1 finished but some messages failed or mail was
passed over, 2 wrong usage, 3 could not finish, 130 interrupted.)";

constexpr const char* kListExamples = R"(
Examples:
  parvane list mail.pst                folders with their counts and sizes
  parvane list --messages mail.pst     and every message
  parvane list --json mail.pst         for other programs)";

constexpr const char* kCheckExamples = R"(
Examples:
  parvane check mail.pst               what is wrong with it, in plain words
  parvane check --json mail.pst        for other programs

Exit status: 0 nothing found, 1 something found, 2 wrong usage, 3 unreadable.)";

// CLI11 marks the positional arguments, whose name already says that there may be several, once
// more.
class HelpFormat : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string name) const override {
    std::string usage = CLI::Formatter::make_usage(app, std::move(name));
    const std::size_t dots = usage.find(".pst...");
    if (dots != usage.npos) usage.erase(dots + 4, 3);
    return usage;
  }
};

// Outlook's own default limit for a PST.
constexpr const char* kDefaultSizeLimit = "50GB";

// What CLI11 fills: byte strings, turned into paths and text afterwards.
struct RawConvert {
  std::vector<std::string> paths;
  std::string from = "auto", progress = "auto", mapi = "builtin", name, log, detailedLog, report;
  std::optional<std::string> sizeLimit;
};

std::u16string Path(const std::string& native) { return platform::PathFromNative(native); }

// The option is there on every system, so that it can say where it works.
void DescribeMapi(CLI::App& command, std::string& mapi) {
  command
      .add_option("--mapi", mapi,
                  "who writes the PST: this program, or Outlook through its MAPI (Windows only)")
      ->check(CLI::IsMember({"builtin", "outlook"}).description(""))
      ->type_name("builtin|outlook");
}

MapiChoice MapiNamed(const std::string& name) {
  return name == "outlook" ? MapiChoice::kOutlook : MapiChoice::kBuiltin;
}

SourceChoice SourceNamed(const std::string& name) {
  return name == "mbox"          ? SourceChoice::kMbox
         : name == "thunderbird" ? SourceChoice::kThunderbird
                                 : SourceChoice::kAuto;
}

ProgressChoice ProgressNamed(const std::string& name) {
  return name == "lines"   ? ProgressChoice::kLines
         : name == "never" ? ProgressChoice::kNever
                           : ProgressChoice::kAuto;
}

void DescribeConvert(CLI::App& command, RawConvert& raw, ConvertOptions& options) {
  command
      .add_option("SOURCE... DEST.pst", raw.paths,
                  "mbox files, folders of .mbox files or Thunderbird profiles, then the PST "
                  "(or a folder for it)")
      ->required()
      ->type_name("");
  command.add_option("--from", raw.from, "what the sources are; auto looks at each")
      ->check(CLI::IsMember({"auto", "mbox", "thunderbird"}).description(""))
      ->type_name("auto|mbox|thunderbird");
  command.add_option("--name", raw.name, "name of the top folder for the mail in the PST")
      ->type_name("NAME");
  CLI::Option* append =
      command.add_flag("--append", options.append, "add to the PST when it is there already");
  command
      .add_flag("--overwrite", options.overwrite,
                "replace the PST when it is there already (never a file that is no PST)")
      ->excludes(append);
  DescribeMapi(command, raw.mapi);
  command
      .add_option("--size-limit", raw.sizeLimit,
                  "largest size of the PST, such as 20GB; default 50GB, as in Outlook")
      ->type_name("SIZE");
  command
      .add_option("--log", raw.log, "write a brief log: folders, failures, what was passed over")
      ->type_name("FILE");
  command.add_option("--detailed-log", raw.detailedLog, "write a log that names every message")
      ->type_name("FILE");
  command
      .add_option("--report", raw.report,
                  "write the account of the conversion as JSON; - for standard output")
      ->type_name("FILE");
  command.add_flag("--timings", options.timings,
                   "tell where the time went: seconds and bytes of each stage");
  command.add_flag("--quiet,-q", options.quiet, "say nothing but errors");
  command
      .add_option(
          "--progress", raw.progress,
          "progress on standard error; auto: a live line on a terminal, elsewhere a line every few "
          "seconds; lines: such lines on a terminal too")
      ->check(CLI::IsMember({"auto", "lines", "never"}).description(""))
      ->type_name("auto|lines|never");
  command.footer(kConvertExamples);
}

ExitCode Explain(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream output, complaint;
  const int code = app.exit(error, output, complaint);
  WriteOutput(output.str());
  FlushOutput();
  if (code == 0) return ExitCode::kDone;
  WriteError(error.what());
  WriteMessage("Try: parvane --help, parvane COMMAND --help\n");
  return ExitCode::kUsage;
}

}  // namespace

std::variant<Command, ExitCode> ParseArguments(const std::vector<std::string>& arguments) {
  CLI::App app{"Moves e-mail from mbox files and mail profiles into an Outlook PST file.",
               "parvane"};
  app.formatter(std::make_shared<HelpFormat>());
  // "/mail" is a path on every system.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", "parvane " PARVANE_VERSION);
  app.require_subcommand(1);
  app.footer(kExamples);

  ConvertOptions convert;
  RawConvert raw;
  CLI::App* convertCommand = app.add_subcommand("convert", "Write mail into a PST file");
  DescribeConvert(*convertCommand, raw, convert);

  ListOptions list;
  std::string file, listMapi = "builtin";
  CLI::App* listCommand = app.add_subcommand("list", "Show what a PST file holds");
  listCommand->add_option("FILE.pst", file, "the PST; it is only read")->required()->type_name("");
  listCommand->add_flag("--messages", list.messages, "list every message");
  listCommand->add_flag("--json", list.json, "write JSON");
  DescribeMapi(*listCommand, listMapi);
  listCommand->footer(kListExamples);

  CheckCommandOptions check;
  CLI::App* checkCommand = app.add_subcommand("check", "Verify the structure of a PST file");
  checkCommand->add_option("FILE.pst", file, "the PST; it is only read")->required()->type_name("");
  checkCommand->add_flag("--json", check.json, "write JSON");
  checkCommand->add_flag("--notes", check.notes,
                         "also tell what is harmless and usual in files by Outlook");
  checkCommand->footer(kCheckExamples);

  try {
    // CLI11 takes them last first.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return Explain(app, error);
  }

  if (listCommand->parsed()) {
    list.file = Path(file);
    list.mapi = MapiNamed(listMapi);
    return Command(std::move(list));
  }
  if (checkCommand->parsed()) {
    check.file = Path(file);
    return Command(std::move(check));
  }
  if (raw.paths.size() < 2) {
    WriteError("convert needs at least one SOURCE and the DEST.pst");
    return ExitCode::kUsage;
  }
  if (MapiNamed(raw.mapi) == MapiChoice::kOutlook && raw.sizeLimit) {
    WriteError("--size-limit is for the built-in MAPI: Outlook has a limit of its own");
    return ExitCode::kUsage;
  }
  const auto sizeLimit = ParseSize(raw.sizeLimit.value_or(kDefaultSizeLimit));
  if (!sizeLimit) {
    WriteError("--size-limit: \"" + *raw.sizeLimit + "\" is no size such as 20GB");
    return ExitCode::kUsage;
  }
  convert.sizeLimit = *sizeLimit;
  convert.from = SourceNamed(raw.from);
  convert.mapi = MapiNamed(raw.mapi);
  convert.progress = ProgressNamed(raw.progress);
  convert.destination = Path(raw.paths.back());
  raw.paths.pop_back();
  for (const std::string& source : raw.paths) convert.sources.push_back(Path(source));
  convert.name = Path(raw.name);
  convert.log = Path(raw.log);
  convert.detailedLog = Path(raw.detailedLog);
  convert.report = Path(raw.report);
  return Command(std::move(convert));
}

}  // namespace parvane::cli
