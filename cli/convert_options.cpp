#include "cli/convert_options.h"

#include <utility>
#include <vector>

#include "cli/option_words.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

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

constexpr const char* kScanExamples = R"(Examples:
  parvane scan ~/.thunderbird/x1y2z3.default
      what a conversion of the profile would do
  parvane scan --json Inbox.mbox
      the same for other programs

Exit status: 0 all can be converted, 1 messages cannot be read or mail would be
left behind, 2 wrong usage, 3 could not finish, 130 interrupted.)";

}  // namespace

void ConvertArguments::Describe(CLI::App& command) {
  command
      .add_option("PATHS", _options.sources,
                  "mailboxes, folders of mail, profiles of mail programs, exports or archives, "
                  "then the PST "
                  "(or a folder for it)")
      ->option_text("SOURCE... DEST.pst")
      ->type_name("");
  DescribeSources(command, _options);
  command.add_flag("--dry-run", _options.dryRun,
                   "read everything, tell what would be done, and do nothing");
  CLI::Option* append =
      command.add_flag("--append", _options.append, "add to the PST when it is there already");
  command
      .add_flag("--overwrite", _options.overwrite,
                "replace the PST when it is there already (never a file that is no PST)")
      ->excludes(append);
  command
      .add_flag("--skip-existing", _options.skipExisting,
                "with --append: do not write again what the PST's folder has already")
      ->needs(append);
  command
      .add_flag("--resume", _options.resume,
                "go on with the PST that an interrupted conversion of the same sources has left")
      ->excludes(append);
  AddChoice(command, "--dedup", _options.dedup, kDedupWords,
            "leave out copies of a message: those in its folder, or in all folders");
  DescribeMapi(command, _options.mapi, "writes");
  command
      .add_option("--size-limit", _options.sizeLimit,
                  "largest size of the PST, such as 20GB; default 50GB, as in Outlook")
      ->type_name("SIZE");
  command
      .add_option("--split", _options.split,
                  "write several PSTs: DEST.pst, DEST-2.pst and so on, none larger than SIZE; or "
                  "DEST-2019.pst and so on, by the year in which mail came")
      ->type_name("SIZE|year");
  _each.Describe(command);
  command
      .add_option("--log", _options.log,
                  "write a brief log: folders, failures, what was passed over")
      ->type_name("FILE");
  command
      .add_option("--detailed-log", _options.detailedLog, "write a log that names every message")
      ->type_name("FILE");
  command
      .add_option(
          "--report", _options.report,
          "write the account of the conversion as JSON, or as a page to look at if the name "
          "ends in .html; - for standard output")
      ->type_name("FILE");
  command.add_flag("--timings", _options.timings,
                   "tell where the time went: seconds and bytes of each stage");
  command.add_flag("--quiet,-q", _options.quiet, "say nothing but errors");
  DescribeProgress(command, _options.progress,
                   "elsewhere a line every few seconds; lines: such lines on a terminal too");
  command.footer(kConvertExamples);
}

std::string ConvertArguments::Understand() {
  std::vector<std::string>& paths = _options.sources;
  for (const std::string& path : paths) {
    if (std::string fault = FaultOfPath(path); !fault.empty()) return fault;
  }
  if (std::string fault = _each.Understand(); !fault.empty()) return fault;
  if (paths.size() < (_options.eachOf.empty() ? 2 : 1)) {
    return _options.each ? "convert --each needs at least one SOURCE and the folder DEST"
                         : "convert needs at least one SOURCE and the DEST.pst";
  }
  _options.destination = std::move(paths.back());
  paths.pop_back();
  return UnderstandWords();
}

void ConvertArguments::DescribeScan(CLI::App& command) {
  command
      .add_option("PATHS", _options.sources,
                  "mailboxes, folders of mail, profiles of mail programs, exports or archives; "
                  "they are only read")
      ->option_text("SOURCE...")
      ->required()
      ->type_name("");
  DescribeSources(command, _options);
  command.add_flag("--json", _options.json, "write JSON");
  DescribeProgress(command, _options.progress,
                   "elsewhere a line every few seconds; lines: such lines on a terminal too");
  command.footer(kScanExamples);
}

std::string ConvertArguments::UnderstandScan() {
  for (const std::string& path : _options.sources) {
    if (std::string fault = FaultOfPath(path); !fault.empty()) return fault;
  }
  _options.dryRun = true;
  if (_options.json) _options.report = "-";
  return UnderstandWords();
}

std::string ConvertArguments::UnderstandWords() {
  desk::ConvertOptions& understood = _options.understood;
  for (const std::string& source : _options.sources)
    understood.sources.push_back(platform::PathFromNative(source));
  understood.destination = platform::PathFromNative(_options.destination);
  return parvane::Understand(_options, understood);
}

}  // namespace parvane::cli
