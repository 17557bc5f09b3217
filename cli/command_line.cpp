#include "cli/command_line.h"

#include <charconv>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "cli/app_command.h"
#include "cli/help.h"
#include "cli/option_words.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

std::string Examples() {
  return std::string(R"(Examples:
  parvane convert Inbox.mbox mail.pst
  parvane convert ~/.thunderbird/x1y2z3.default mail.pst
  parvane scan ~/.thunderbird/x1y2z3.default
  parvane list --messages mail.pst
  parvane check mail.pst
  parvane verify Inbox.mbox mail.pst
)") + (app::IsBuiltIn() ? "  parvane app\n" : "") +
         "\nparvane COMMAND --help tells more about a command.";
}

constexpr const char* kListExamples = R"(Examples:
  parvane list mail.pst                folders with their counts and sizes
  parvane list --messages mail.pst     and every message
  parvane list --json mail.pst         for other programs

Exit status: 0 all listed, 1 something in it could not be read, 2 wrong usage,
3 could not finish.)";

constexpr const char* kCheckExamples = R"(Examples:
  parvane check mail.pst               what is wrong with it, in plain words
  parvane check --json mail.pst        for other programs

Exit status: 0 nothing found, 1 something found, 2 wrong usage, 3 unreadable.)";

template <typename Options>
void DescribeFile(CLI::App& command, std::string& path, Options& options) {
  command.add_option("FILE.pst", path, "the PST; it is only read")->required()->type_name("");
  command.add_flag("--json", options.json, "write JSON");
  DescribeProgress(command, options.progress, "elsewhere nothing; lines: a line every few seconds");
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

template <typename Options>
std::variant<Command, std::string> Understood(std::string fault, Options& options) {
  if (!fault.empty()) return fault;
  return Command(std::move(options));
}

}  // namespace

CommandLine::CommandLine() {
  _parser.formatter(std::make_shared<HelpFormat>());
  // "/mail" is a path on every system.
  _parser.allow_windows_style_options(false);
  _parser.set_version_flag("--version", "parvane " PARVANE_VERSION, "Print the version and exit");
  _parser.require_subcommand(1);
  _parser.footer(Examples());
  _convertArguments.Describe(*_parser.add_subcommand("convert", "Write mail into a PST file"));
  _scanArguments.DescribeScan(
      *_parser.add_subcommand("scan", "Tell what a conversion would do, without writing"));
  DescribeList(*_parser.add_subcommand("list", "Show what a PST file holds"));
  DescribeCheck(*_parser.add_subcommand("check", "Verify the structure of a PST file"));
  _verifyArguments.Describe(
      *_parser.add_subcommand("verify", "Tell whether all mail is in PST files, and as it was"));
  if (app::IsBuiltIn())
    DescribeApp(*_parser.add_subcommand("app", "Do it all in a window of your browser"), _window);
}

std::variant<Command, std::string> CommandLine::Understand() {
  const CLI::App& command = *_parser.get_subcommands().front();
  if (command.get_name() == "list") {
    _list.file = platform::PathFromNative(_listFile);
    return Command(std::move(_list));
  }
  if (command.get_name() == "app") return Command(_window);
  if (command.get_name() == "check") return Understood(UnderstandCheck(), _check);
  if (command.get_name() == "verify") return Understood(_verifyArguments.Understand(), _verify);
  if (command.get_name() == "scan") return Understood(_scanArguments.UnderstandScan(), _scan);
  return Understood(_convertArguments.Understand(), _convert);
}

void CommandLine::DescribeList(CLI::App& command) {
  DescribeFile(command, _listFile, _list);
  command.add_flag("--messages", _list.messages, "list every message");
  DescribeMapi(command, _list.mapi, "reads");
  command.footer(kListExamples);
}

void CommandLine::DescribeCheck(CLI::App& command) {
  DescribeFile(command, _checkFile, _check);
  command.add_flag("--notes", _check.notes,
                   "also tell what is harmless and usual in files by Outlook");
  command
      .add_option("--dump", _dump,
                  "show what one node of the file holds, such as 0x200024, and check only that")
      ->type_name("NID");
  command.footer(kCheckExamples);
}

std::string CommandLine::UnderstandCheck() {
  _check.file = platform::PathFromNative(_checkFile);
  _check.dump = NodeNamed(_dump);
  if (_dump.empty() || (_check.dump && !_check.json)) return {};
  return _check.json ? "--dump writes no JSON"
                     : "--dump: \"" + _dump + "\" is no node id such as 0x8022";
}

}  // namespace parvane::cli
