#include "cli/each_report.h"

#include <algorithm>
#include <array>
#include <span>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/json_writer.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::cli {
using desk::AppendPrintable;
using desk::Columns;
using desk::Counted;
using desk::Duration;
using desk::ExitCode;
using desk::JsonWriter;
using desk::Size;
using desk::WithThousands;
using platform::FileKind;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;
using platform::StatusCode;
using State = EachJob::State;

namespace {

std::string_view CodeOf(State state) {
  switch (state) {
    case State::kWaiting:
      return "not begun";
    case State::kRunning:
      return "running";
    case State::kDone:
      return "done";
    case State::kDoneBefore:
      return "done before";
    case State::kFailed:
      return "failed";
    case State::kInterrupted:
      return "interrupted";
  }
  return "unknown";
}

std::uint64_t Sum(const EachPlan& plan, std::uint64_t EachJob::*count) {
  std::uint64_t sum = 0;
  for (const EachJob& job : plan.jobs) sum += job.IsDone() ? job.*count : 0;
  return sum;
}

std::uint64_t CountOf(const EachPlan& plan, State state) {
  return static_cast<std::uint64_t>(std::ranges::count(plan.jobs, state, &EachJob::state));
}

void WriteJob(JsonWriter& json, const EachJob& job) {
  json.BeginObject();
  json.Key("source").String(PathForDisplay(job.source));
  json.Key("destination").String(PathForDisplay(job.pst));
  json.Key("report").String(PathForDisplay(job.report));
  json.Key("state").String(CodeOf(job.state));
  const bool ended = job.state != State::kWaiting && job.state != State::kRunning;
  json.Key("exitCode");
  ended ? json.Number(static_cast<std::uint64_t>(job.exitCode)) : json.Null();
  json.Key("error");
  job.error.empty() ? json.Null() : json.String(job.error);
  for (const auto& [key, count] :
       {std::pair("read", job.read), std::pair("written", job.written),
        std::pair("failed", job.failed), std::pair("pstBytes", job.pstBytes)}) {
    json.Key(key).Number(job.IsDone() ? count : 0);
  }
  json.Key("seconds").Seconds(job.milliseconds);
  json.EndObject();
}

std::string Text(const EachPlan& plan, bool interrupted) {
  JsonWriter json;
  json.BeginObject();
  json.Key("format").String(kEachFormat);
  json.Key("version").Number(1);
  json.Key("program").String("parvane " PARVANE_VERSION);
  json.Key("exitCode").Number(static_cast<std::uint64_t>(OutcomeOf(plan, interrupted)));
  json.Key("totals").BeginObject();
  json.Key("jobs").Number(plan.jobs.size());
  json.Key("done").Number(CountOf(plan, State::kDone) + CountOf(plan, State::kDoneBefore));
  json.Key("failedJobs").Number(CountOf(plan, State::kFailed));
  json.Key("read").Number(Sum(plan, &EachJob::read));
  json.Key("written").Number(Sum(plan, &EachJob::written));
  json.Key("failed").Number(Sum(plan, &EachJob::failed));
  json.Key("pstBytes").Number(Sum(plan, &EachJob::pstBytes));
  json.EndObject();
  json.Key("jobs").BeginArray();
  for (const EachJob& job : plan.jobs) WriteJob(json, job);
  json.EndArray();
  json.Key("passedOver").BeginArray();
  for (const std::u16string& path : plan.passedOver) json.String(PathForDisplay(path));
  json.EndArray();
  json.EndObject();
  return json.Take();
}

}  // namespace

ExitCode OutcomeOf(const EachPlan& plan, bool interrupted) {
  if (CountOf(plan, State::kFailed) > 0) return ExitCode::kCouldNotFinish;
  if (interrupted) return ExitCode::kInterrupted;
  const bool all = std::ranges::all_of(plan.jobs, &EachJob::IsDone);
  if (!all) return ExitCode::kCouldNotFinish;
  const bool clean = std::ranges::all_of(plan.jobs, [](const EachJob& j) { return !j.exitCode; });
  return clean ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

std::string LineOf(const EachJob& job, unsigned width) {
  std::string line;
  AppendPrintable(line, platform::PathForDisplay(job.name));
  const unsigned used = Columns(line);
  if (used < width) line.append(width - used, ' ');
  if (!job.IsDone()) {
    line += fmt::format("  {}", CodeOf(job.state));
    if (!job.error.empty()) AppendPrintable(line += ": ", job.error);
    return line + "\n";
  }
  line += fmt::format("  {:>9} read  {:>9} written", WithThousands(job.read),
                      WithThousands(job.written));
  if (job.failed > 0) line += fmt::format("  {:>6} failed", WithThousands(job.failed));
  line += fmt::format("  {:>9}", Size(job.pstBytes));
  if (job.state == State::kDoneBefore) line += "  (done before)";
  if (job.exitCode == 1) line += "  (its report says what to look at)";
  return line + "\n";
}

std::string SummaryOf(const EachPlan& plan, std::uint64_t milliseconds) {
  std::string text = fmt::format(
      "{} of {} done, {} failed: {} read, {} written, {} failed ({}), {}\n",
      WithThousands(CountOf(plan, State::kDone) + CountOf(plan, State::kDoneBefore)),
      Counted(plan.jobs.size(), "source"), WithThousands(CountOf(plan, State::kFailed)),
      Counted(Sum(plan, &EachJob::read), "message"), WithThousands(Sum(plan, &EachJob::written)),
      WithThousands(Sum(plan, &EachJob::failed)), Size(Sum(plan, &EachJob::pstBytes)),
      Duration(milliseconds));
  if (!plan.passedOver.empty()) {
    text += fmt::format("Passed over beside the mail: {} (the report names them)\n",
                        WithThousands(plan.passedOver.size()));
  }
  return text;
}

Status CheckEachReport(const std::u16string& path) {
  const auto file = FileSystem::Default().Inspect(path);
  if (file.kind == FileKind::kNone) return {};
  std::array<char, 200> start{};
  auto opened = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!opened.ok()) return opened.status();
  const auto count = (*opened)->ReadAt(0, std::as_writable_bytes(std::span(start)));
  const std::string_view text(start.data(), count.ok() ? *count : 0);
  if (text.find(kEachFormat) != text.npos) return {};
  return {StatusCode::kExists, PathForDisplay(path) +
                                   ": is there already and no report of an earlier run; it is left "
                                   "as it is"};
}

Status WriteEachReport(const std::u16string& path, const EachPlan& plan, bool interrupted) {
  FileSystem& files = FileSystem::Default();
  const std::u16string temporary = path + u".new";
  const std::string text = Text(plan, interrupted);
  Status status;
  {
    (void)files.Remove(temporary).ok();  // of a run that was killed while it wrote this
    auto file = files.Open(temporary, FileSystem::OpenMode::kCreateNew);
    if (!file.ok()) return file.status();
    status = (*file)->WriteAt(0, std::as_bytes(std::span(text)));
  }
  return status.ok() ? files.Rename(temporary, path, /*replace=*/true) : status;
}

}  // namespace parvane::cli
