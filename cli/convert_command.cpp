#include "cli/convert_command.h"

#include <string>
#include <string_view>

#include "cli/console.h"
#include "cli/terminal_run.h"
#include "parvane/convert.h"

namespace parvane::cli {
namespace {

// The summary where people look, the report where it was asked for. False when the report did not
// get there.
bool TellResults(const ConvertCommandOptions& options, const Account& account) {
  const std::string summary = account.Summary();
  if (options.report != "-") {
    if (!options.quiet && !(WriteOutput(summary) && FlushOutput()))
      WriteError("the summary could not be written to standard output");
    return true;
  }
  bool told = true;
  account.WriteReport([&](std::string_view text) { told = told && WriteOutput(text); });
  told = told && FlushOutput();
  if (!told) WriteError("the report could not be written to standard output");
  if (!options.quiet && !options.json) WriteMessage(summary);
  return told;
}

ProgressStyle StyleFor(const ConvertCommandOptions& options) {
  if (options.quiet) return ProgressStyle::kNone;
  // A scan whose results go to standard output is like any command that reads.
  return options.dryRun && options.json ? StyleForResults(options.progress)
                                        : StyleForWork(options.progress);
}

}  // namespace

desk::ExitCode RunConvert(const ConvertCommandOptions& options) {
  TerminalRun terminal(StyleFor(options), !options.quiet);
  const Account account =
      (options.dryRun ? Scan : Convert)(options.sources, options.destination, options, &terminal);
  terminal.Finish();
  const bool told = TellResults(options, account);
  if (options.quiet && account.outcome() == Outcome::kMailLeftBehind)
    WriteError(account.SummaryInOneLine());
  for (const std::string& complaint : account.Complaints()) WriteError(complaint);
  return told ? static_cast<desk::ExitCode>(account.outcome()) : desk::ExitCode::kCouldNotFinish;
}

}  // namespace parvane::cli
