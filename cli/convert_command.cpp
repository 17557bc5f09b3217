#include "cli/convert_command.h"

#include <string>
#include <string_view>

#include "cli/console.h"
#include "cli/terminal_run.h"
#include "desk/conversion.h"
#include "desk/report.h"
#include "desk/scan.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

using desk::ConversionRecord;
using desk::ExitCode;
using desk::Outcome;
using desk::Report;
using desk::Summary;
using desk::SummaryInOneLine;
using desk::SummaryOfNothing;

// Where the mail is that a run has written which did not finish.
std::string HowToGoOn(const ConversionRecord& record) {
  const std::string where = record.parts.size() > 1 ? "the PSTs that it names; the last is " : "";
  return "what the summary counts as written is in " + where +
         platform::PathForDisplay(record.partial) +
         ", a PST like any other; run again with --resume to go on, with --overwrite to start "
         "afresh and replace it, or give it another name to keep it";
}

// The summary where people look, the report where it was asked for. False when standard output did
// not take it.
void TellResults(const ConvertCommandOptions& options, ConversionRecord& record) {
  const std::string summary = record.began ? Summary(record) : SummaryOfNothing(record);
  if (options.report != u"-") {
    if (!options.quiet && !(WriteOutput(summary) && FlushOutput()))
      WriteError("the summary could not be written to standard output");
    return;
  }
  bool told = true;
  Report(record, [&](std::string_view text) { told = told && WriteOutput(text); });
  if (!(told && FlushOutput())) {
    record.Fail(desk::RunProblem::kOutputNotWritten,
                "the report could not be written to standard output");
  }
  if (!options.quiet && !options.json) WriteMessage(summary);
}

void TellProblems(const ConvertCommandOptions& options, const ConversionRecord& record) {
  if (options.quiet && Outcome(record) == ExitCode::kMailLeftBehind)
    WriteError(SummaryInOneLine(record));
  if (!record.error.empty()) WriteError(record.error);
  if (record.interrupted) {
    WriteError(record.began && record.appended
                   ? "interrupted; what the summary counts as written is in the PST"
                   : "interrupted");
  }
  if (!record.partial.empty()) WriteError(HowToGoOn(record));
}

ProgressStyle StyleFor(const ConvertCommandOptions& options) {
  if (options.quiet) return ProgressStyle::kNone;
  // A scan whose results go to standard output is like any command that reads.
  return options.dryRun && options.json ? StyleForResults(options.progress)
                                        : StyleForWork(options.progress);
}

}  // namespace

ExitCode RunConvert(const ConvertCommandOptions& options) {
  TerminalRun terminal(StyleFor(options), !options.quiet);
  ConversionRecord record =
      options.dryRun ? desk::Scan(options, terminal) : desk::Convert(options, terminal);
  terminal.Finish();
  TellResults(options, record);
  TellProblems(options, record);
  return Outcome(record);
}

}  // namespace parvane::cli
