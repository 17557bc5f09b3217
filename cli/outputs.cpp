#include "cli/outputs.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "cli/console.h"
#include "cli/destination.h"
#include "cli/report.h"
#include "cli/source_plan.h"
#include "platform/file.h"

namespace parvane::cli {

using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;

namespace {

bool SameFile(const std::u16string& a, const std::u16string& b) {
  if (a == b) return true;
  const auto one = FileSystem::Default().Inspect(a), other = FileSystem::Default().Inspect(b);
  return one.kind != platform::FileKind::kNone && one.kind == other.kind &&
         one.device == other.device && one.identity == other.identity;
}

}  // namespace

Status Outputs::CheckApart(std::u16string_view destination) const {
  std::vector<std::u16string> taken = _options.sources;
  taken.emplace_back(destination);
  const auto mail = std::ssize(taken);
  for (const std::u16string* output : {&_options.log, &_options.detailedLog, &_options.report}) {
    if (output->empty() || (output == &_options.report && ReportsToOutput())) continue;
    const auto same = std::find_if(taken.begin(), taken.end(), [&](const std::u16string& path) {
      return SameFile(*output, path);
    });
    const bool isMail =
        same - taken.begin() < mail || LooksLikeMailbox(*output) || CheckIsPst(*output).ok();
    if (isMail || same != taken.end()) {
      return {platform::StatusCode::kInvalidArgument,
              PathForDisplay(*output) +
                  (isMail ? ": is mail, not a place for a log" : ": is given for two logs")};
    }
    taken.push_back(*output);
  }
  return {};
}

Status Outputs::Open() {
  Status opened = _logs.Open(_options.log, _options.detailedLog);
  return opened.ok() ? OpenReport() : opened;
}

Status Outputs::OpenReport() {
  if (_options.report.empty() || ReportsToOutput()) return {};
  auto file = TextFile::Create(_options.report);
  if (!file.ok()) return file.status().WithContext("report");
  _report = std::move(file).value();
  return {};
}

void Outputs::Tell(ConversionRecord& record, bool began) {
  const std::string summary = began ? Summary(record) : SummaryOfNothing(record);
  if (began) _logs.Both(summary);
  if (!record.error.empty()) _logs.Both("ERROR: " + record.error);
  if (Status written = _logs.Flush(); !written.ok()) record.Fail(written);
  if (_report) {
    _report->Write(Report(record));
    if (Status written = _report->Flush(); !written.ok())
      record.Fail(written.WithContext("report"));
  }
  if (ReportsToOutput()) {
    if (!(WriteOutput(Report(record)) && FlushOutput()))
      record.Fail(RunProblem::kOutputNotWritten,
                  "the report could not be written to standard output");
    if (!_options.quiet) WriteMessage(summary);
  } else if (!_options.quiet && !(WriteOutput(summary) && FlushOutput())) {
    WriteError("the summary could not be written to standard output");
  }
  if (!record.error.empty()) WriteError(record.error);
  if (record.interrupted)
    WriteError(began ? "interrupted; what the summary counts as written is in the PST"
                     : "interrupted");
}

}  // namespace parvane::cli
