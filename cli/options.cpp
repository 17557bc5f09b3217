#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/console.h"
#include "cli/format.h"
#include "cli/help.h"
#include "cli/results.h"
#include "cli/suggestion.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

using engine::SeparatorRule;
using factory::SourceKind;

constexpr const char* kExamples = R"(Examples:
  parvane convert Inbox.mbox mail.pst
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
  parvane list --messages mail.pst
  parvane check mail.pst

parvane COMMAND --help tells more about a command.)";

constexpr const char* kConvertExamples = R"(Examples:
  parvane convert Inbox.mbox mail.pst
      one mailbox; its messages go to the folder "Inbox" of mail.pst
  parvane convert ~/mail-export mail.pst
      every .mbox file in a folder and the folders in it
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
      a Thunderbird profile with all its accounts
  parvane convert takeout-*-001.zip takeout-*-002.zip mail.pst
      an export of Gmail in two parts; its labels become folders
  parvane convert ~/Library/Mail mail.pst
      Apple Mail, its folders or a copy of them
  parvane convert --append --name "Archive 2019" old.mbox mail.pst
      adds a folder to a PST that is there already
  parvane convert --report run.json --detailed-log run.log inbox.mbox mail.pst

Exit status: 0 all converted, 1 finished but messages failed or mail was left
behind, 2 wrong usage, 3 could not finish, 130 interrupted.)";

constexpr const char* kListExamples = R"(Examples:
  parvane list mail.pst                folders with their counts and sizes
  parvane list --messages mail.pst     and every message
  parvane list --json mail.pst         for other programs)";

constexpr const char* kCheckExamples = R"(Examples:
  parvane check mail.pst               what is wrong with it, in plain words
  parvane check --json mail.pst        for other programs

Exit status: 0 nothing found, 1 something found, 2 wrong usage, 3 unreadable.)";

// Outlook's own default limit for a PST.
constexpr const char* kDefaultSizeLimit = "50GB";

// What CLI11 fills: byte strings, turned into paths and text afterwards.
struct RawConvert {
  std::vector<std::string> paths;
  std::string keep = "all", name, log, detailedLog, report;
  std::optional<std::string> sizeLimit;
};

struct RawFile {
  std::string path, dump;
};

std::u16string Path(const std::string& native) { return platform::PathFromNative(native); }

// The words that stand for an option's values.
template <typename Choice>
struct Word {
  const char* name;
  Choice choice;
};
constexpr Word<SeparatorRule> kSeparatorRules[] = {{"standard", SeparatorRule::kStandard},
                                                   {"strict", SeparatorRule::kStrict}};
constexpr Word<std::optional<SourceKind>> kSources[] = {{"auto", std::nullopt},
                                                        {"mbox", SourceKind::kMbox},
                                                        {"thunderbird", SourceKind::kThunderbird},
                                                        {"maildir", SourceKind::kMaildir},
                                                        {"mh", SourceKind::kMh},
                                                        {"eml", SourceKind::kEml},
                                                        {"apple-mail", SourceKind::kAppleMail},
                                                        {"archive", SourceKind::kArchive},
                                                        {"takeout", SourceKind::kTakeout}};
constexpr Word<std::optional<engine::LabelUse>> kLabels[] = {
    {"folders", engine::LabelUse::kFolders},
    {"copies", engine::LabelUse::kCopies},
    {"off", engine::LabelUse::kOff}};
constexpr Word<MapiChoice> kMapis[] = {{"builtin", MapiChoice::kBuiltin},
                                       {"outlook", MapiChoice::kOutlook}};
constexpr Word<ProgressChoice> kProgress[] = {{"auto", ProgressChoice::kAuto},
                                              {"lines", ProgressChoice::kLines},
                                              {"never", ProgressChoice::kNever}};

// `words` outlive the command, as does `choice`.
template <typename Choice, std::size_t kCount>
void AddChoice(CLI::App& command, const char* option, Choice& choice,
               const Word<Choice> (&words)[kCount], const std::string& about) {
  std::vector<std::string> names;
  std::string type;
  for (const Word<Choice>& word : words) {
    names.emplace_back(word.name);
    type.append(type.empty() ? "" : "|").append(word.name);
  }
  const auto take = [&choice, &words](const std::string& name) {
    choice = std::ranges::find(words, name, &Word<Choice>::name)->choice;
  };
  command.add_option_function<std::string>(option, take, about)
      ->check(CLI::IsMember(names).description(""))
      ->type_name(type);
}

// The option is there on every system, so that it can say where it works.
void DescribeMapi(CLI::App& command, MapiChoice& mapi, const std::string& does) {
  AddChoice(command, "--mapi", mapi, kMapis,
            "who " + does + " the PST: this program, or Outlook through its MAPI (Windows only)");
}

void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere) {
  AddChoice(command, "--progress", progress, kProgress,
            "progress on standard error; auto: a live line on a terminal, " + elsewhere);
}

struct KeepGroup {
  std::string_view name;
  bool KeepChoice::*member;
};
constexpr KeepGroup kKeepGroups[] = {
    {"state", &KeepChoice::state},         {"winmail", &KeepChoice::winmail},
    {"addresses", &KeepChoice::addresses}, {"headers", &KeepChoice::headers},
    {"dates", &KeepChoice::dates},         {"inline", &KeepChoice::inlines},
    {"parts", &KeepChoice::parts}};

std::string NamesOfKeepGroups() {
  std::string names;
  for (const KeepGroup& group : kKeepGroups)
    names.append(names.empty() ? "" : ",").append(group.name);
  return names;
}

// "all", "none", or some of the groups with commas between them.
std::optional<KeepChoice> KeepNamed(const std::string& list) {
  KeepChoice keep;
  if (list == "all") return keep;
  for (const KeepGroup& group : kKeepGroups) keep.*group.member = false;
  if (list == "none") return keep;
  for (std::size_t at = 0; at <= list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    const auto* group = std::ranges::find(kKeepGroups, std::string_view(list).substr(at, end - at),
                                          &KeepGroup::name);
    if (group == std::end(kKeepGroups)) return std::nullopt;
    keep.*group->member = true;
    at = end + 1;
  }
  return keep;
}

void DescribeConvert(CLI::App& command, RawConvert& raw, ConvertOptions& options) {
  command
      .add_option("PATHS", raw.paths,
                  "mailboxes, folders of mail, profiles of mail programs, exports or archives, "
                  "then the PST "
                  "(or a folder for it)")
      ->option_text("SOURCE... DEST.pst")
      ->type_name("");
  AddChoice(command, "--from", options.from, kSources, "what the sources are; auto looks at each");
  command.add_option("--name", raw.name, "name of the top folder for the mail in the PST")
      ->type_name("NAME");
  CLI::Option* append =
      command.add_flag("--append", options.append, "add to the PST when it is there already");
  command
      .add_flag("--overwrite", options.overwrite,
                "replace the PST when it is there already (never a file that is no PST)")
      ->excludes(append);
  command
      .add_option("--keep", raw.keep,
                  "what comes along beside the messages themselves: state (read, answered, flags, "
                  "tags, importance), winmail (what is in a winmail.dat), addresses (names and "
                  "addresses that repair would lose), headers (as they came), dates (of messages "
                  "without one), inline (pictures in the text, not beside it), parts (what no "
                  "property takes, as attachments); all by default")
      ->type_name("all|none|LIST");
  command.add_flag("--skip-deleted", options.skipDeleted,
                   "leave out messages that their mail program has marked as deleted");
  AddChoice(
      command, "--separators", options.separators, kSeparatorRules,
      "what parts the messages of a mailbox: standard, every line that begins with \"From \"; "
      "strict, only where an empty line before it, a date in it or a header behind it speak for "
      "it too");
  AddChoice(command, "--labels", options.labels, kLabels,
            "what becomes of Gmail's labels: one copy of each message in the folder of its most "
            "specific label, the others as categories; a copy in the folder of each label; or "
            "nothing. folders is the default for exports of Gmail");
  DescribeMapi(command, options.mapi, "writes");
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
  DescribeProgress(command, options.progress,
                   "elsewhere a line every few seconds; lines: such lines on a terminal too");
  command.footer(kConvertExamples);
}

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

// What CLI11 could not judge, judged, and turned into what it means.
std::variant<Command, ExitCode> Understand(RawConvert& raw, ConvertOptions& convert) {
  // Windows takes the quote for a part of the name, which none can have.
  for (const std::string& path : raw.paths) {
    if (platform::kPathSeparator == u'\\' && path.find('"') != path.npos) {
      return WrongUsage(path +
                        ": \\ in front of a closing quote means the quote itself: leave it out "
                        "there, or write \\\\");
    }
  }
  if (raw.paths.size() < 2) return WrongUsage("convert needs at least one SOURCE and the DEST.pst");
  if (convert.mapi == MapiChoice::kOutlook && raw.sizeLimit)
    return WrongUsage("--size-limit is for the built-in MAPI: Outlook has a limit of its own");
  const auto sizeLimit = ParseSize(raw.sizeLimit.value_or(kDefaultSizeLimit));
  if (!sizeLimit)
    return WrongUsage("--size-limit: \"" + *raw.sizeLimit + "\" is no size such as 20GB");
  const auto keep = KeepNamed(raw.keep);
  if (!keep) {
    return WrongUsage("--keep: \"" + raw.keep +
                      "\" is neither all, none nor a list of: " + NamesOfKeepGroups());
  }
  convert.keep = *keep;
  convert.sizeLimit = *sizeLimit;
  convert.destination = Path(raw.paths.back());
  raw.paths.pop_back();
  for (const std::string& source : raw.paths) convert.sources.push_back(Path(source));
  convert.name = Path(raw.name);
  convert.log = Path(raw.log);
  convert.detailedLog = Path(raw.detailedLog);
  convert.report = Path(raw.report);
  return Command(std::move(convert));
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

  ConvertOptions convert;
  RawConvert rawConvert;
  CLI::App* convertCommand = app.add_subcommand("convert", "Write mail into a PST file");
  DescribeConvert(*convertCommand, rawConvert, convert);
  ListOptions list;
  CheckCommandOptions check;
  RawFile file;
  CLI::App* listCommand = app.add_subcommand("list", "Show what a PST file holds");
  DescribeList(*listCommand, file, list);
  CLI::App* checkCommand = app.add_subcommand("check", "Verify the structure of a PST file");
  DescribeCheck(*checkCommand, file, check);

  // Who asks for nothing is told what can be asked for, but not that all mail was converted.
  if (given.empty()) {
    const ExitCode shown = ShowHelp(app.help());
    return shown == ExitCode::kDone ? ExitCode::kUsage : shown;
  }
  std::vector<std::string> arguments = given;
  if (arguments.front() == "help") {
    std::rotate(arguments.begin(), arguments.begin() + 1, arguments.end());
    arguments.back() = "--help";
  }
  try {
    // CLI11 takes them last first.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return Explain(app, arguments, error);
  }

  if (listCommand->parsed()) {
    list.file = Path(file.path);
    return Command(std::move(list));
  }
  if (checkCommand->parsed()) {
    check.file = Path(file.path);
    check.dump = NodeNamed(file.dump);
    if (!file.dump.empty() && (!check.dump || check.json)) {
      return WrongUsage(check.json ? "--dump writes no JSON"
                                   : "--dump: \"" + file.dump + "\" is no node id such as 0x8022");
    }
    return Command(std::move(check));
  }
  return Understand(rawConvert, convert);
}

}  // namespace parvane::cli
