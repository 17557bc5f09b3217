#include "cli/each_command.h"

#include <algorithm>
#include <map>
#include <span>

#include <fmt/format.h>

#include "cli/console.h"
#include "cli/each_jobs.h"
#include "cli/each_report.h"
#include "cli/progress_line.h"
#include "desk/format.h"
#include "platform/child_process.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

using desk::Columns;
using desk::ExitCode;
using desk::MapiChoice;
using platform::ChildProcess;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::PathToNative;
using platform::Status;
using State = EachJob::State;

// How long nobody looks whether a process has ended.
constexpr unsigned kPause = 20;  // milliseconds
constexpr std::uint64_t kBetweenReports = 1000;
constexpr unsigned kWidestName = 40;

// What a process said last: why it could not finish.
std::string LastLine(const std::u16string& path) {
  constexpr std::uint64_t kTail = 4096;
  auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return {};
  const auto size = (*file)->Size();
  if (!size.ok()) return {};
  std::string text(kTail, '\0');
  const auto count =
      (*file)->ReadAt(*size > kTail ? *size - kTail : 0, std::as_writable_bytes(std::span(text)));
  text.resize(count.ok() ? *count : 0);
  while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
  text.erase(0, text.find_last_of('\n') + 1);
  constexpr std::string_view kSelf = "parvane: ";
  return text.starts_with(kSelf) ? text.substr(kSelf.size()) : text;
}

class EachRun {
 public:
  explicit EachRun(const ConvertCommandOptions& options)
      : _options(options),
        _progress(options.quiet ? ProgressStyle::kNone : StyleForWork(options.progress)) {}

  ExitCode Run() {
    const std::uint64_t start = platform::MonotonicMilliseconds();
    if (Status prepared = Prepare(); !prepared.ok()) {
      WriteError(prepared.message());
      return ExitCode::kCouldNotFinish;
    }
    for (EachJob& job : _plan.jobs) {
      if (job.state == State::kDoneBefore) Tell(job);
    }
    Work();
    _progress.Finish();
    if (Status written = WriteEachReport(_report, _plan, _interrupted); !written.ok()) {
      WriteError(written.message());
      return ExitCode::kCouldNotFinish;
    }
    Say(SummaryOf(_plan, platform::MonotonicMilliseconds() - start));
    if (_interrupted) WriteError("interrupted; the same command goes on where this was");
    return OutcomeOf(_plan, _interrupted);
  }

 private:
  struct Process {
    ChildProcess child;
    std::u16string messages;  // the file of its complaints, which goes with it
    std::uint64_t start;
  };

  Status Prepare() {
    if (!FileSystem::Default().FolderExists(_options.understood.destination)) {
      return {platform::StatusCode::kNotFound,
              PathForDisplay(_options.understood.destination) +
                  ": with --each the destination is a folder, and there is none of this name"};
    }
    _report = _options.report.empty()
                  ? platform::JoinPath(_options.understood.destination, kEachReportName)
                  : _options.understood.report;
    if (Status free = CheckEachReport(_report); !free.ok()) return free;
    auto plan = PlanEach(_options);
    if (!plan.ok()) return plan.status();
    _plan = *std::move(plan);
    // Who adds to or replaces what is there means all of it.
    const bool anew = _options.append || _options.overwrite;
    for (EachJob& job : _plan.jobs) {
      _width = std::max(_width, std::min(Columns(PathForDisplay(job.name)), kWidestName));
      _bytes += SizeOf(job);
      const bool there =
          _options.understood.split.byYear || FileSystem::Default().FileExists(job.pst);
      if (!anew && there && ReadReport(job)) job.state = State::kDoneBefore;
      if (job.state == State::kDoneBefore) _bytesDone += SizeOf(job);
    }
    return WriteEachReport(_report, _plan, false);
  }

  static std::uint64_t SizeOf(const EachJob& job) {
    return FileSystem::Default().Inspect(job.source).size;
  }

  void Work() {
    const platform::InterruptWatch interrupt;
    std::size_t next = 0;
    for (;;) {
      if (!_interrupted && interrupt.Requested()) {
        _interrupted = true;
        for (auto& [job, process] : _running) process.child.Interrupt();
      }
      while (!_interrupted && _running.size() < _options.jobs && next < _plan.jobs.size())
        Start(next++);
      if (_running.empty() && (_interrupted || next >= _plan.jobs.size())) return;
      Collect();
      ShowProgress();
      platform::Sleep(kPause);
    }
  }

  // Nobody's: in the destination every name may be somebody's file.
  static std::u16string NewMessages() {
    std::uint64_t number = 0;
    platform::FillRandom(std::as_writable_bytes(std::span(&number, 1)));
    return platform::JoinPath(platform::TemporaryFolder(),
                              platform::Utf8ToUtf16(fmt::format("parvane-{:016x}", number)));
  }

  void Start(std::size_t index) {
    EachJob& job = _plan.jobs[index];
    if (job.state != State::kWaiting) return;
    std::vector<std::string> arguments = {"convert"};
    arguments.insert(arguments.end(), _options.passedOn.begin(), _options.passedOn.end());
    // Goes on with what a run has left; without that, begins anew.
    const bool goesOn =
        !_options.append && !_options.overwrite && _options.understood.mapi == MapiChoice::kBuiltin;
    if (goesOn) arguments.emplace_back("--resume");
    arguments.insert(arguments.end(), {"--quiet", "--report", PathToNative(job.report), "--",
                                       PathToNative(job.source), PathToNative(job.pst)});
    const std::u16string messages = NewMessages();
    auto child = ChildProcess::Start(arguments, messages);
    if (!child.ok()) {
      job.state = State::kFailed;
      job.exitCode = static_cast<int>(ExitCode::kCouldNotFinish);
      job.error = child.status().message();
      return Tell(job);
    }
    job.state = State::kRunning;
    _running.emplace(
        index, Process{std::move(child).value(), messages, platform::MonotonicMilliseconds()});
  }

  void Collect() {
    for (auto at = _running.begin(); at != _running.end();) {
      const auto code = at->second.child.Poll();
      if (!code) {
        ++at;
        continue;
      }
      EachJob& job = _plan.jobs[at->first];
      job.milliseconds = platform::MonotonicMilliseconds() - at->second.start;
      Judge(job, *code, at->second.messages);
      at = _running.erase(at);
      Tell(job);
    }
    if (platform::MonotonicMilliseconds() < _reported + kBetweenReports) return;
    _reported = platform::MonotonicMilliseconds();
    (void)WriteEachReport(_report, _plan, _interrupted).ok();  // the last one is what counts
  }

  void Judge(EachJob& job, int code, const std::u16string& messages) {
    const bool done = code <= 1 && ReadReport(job);
    job.exitCode = code;
    _bytesDone += SizeOf(job);
    job.state = done ? State::kDone : State::kFailed;
    if (_interrupted && code == static_cast<int>(ExitCode::kInterrupted))
      job.state = State::kInterrupted;
    if (job.state == State::kFailed) {
      job.error = LastLine(messages);
      if (code > 128) job.error = fmt::format("its process ended by signal {}", code - 128);
      if (job.error.empty()) job.error = fmt::format("its process ended with {}", code);
    }
    (void)FileSystem::Default().Remove(messages).ok();
  }

  void ShowProgress() {
    std::string names;
    for (const auto& [index, process] : _running)
      names += (names.empty() ? "" : ", ") + PathForDisplay(_plan.jobs[index].name);
    const auto done = std::ranges::count_if(
        _plan.jobs, [](const EachJob& j) { return j.state > State::kRunning; });
    _progress.Update(
        {fmt::format("{} of {} ({})", done, _plan.jobs.size(), names), _bytesDone, _bytes, 0});
  }

  void Tell(const EachJob& job) {
    _progress.Finish();
    Say(LineOf(job, _width));
  }

  void Say(const std::string& text) const {
    if (!_options.quiet && WriteOutput(text)) (void)FlushOutput();
  }

  const ConvertCommandOptions& _options;
  ProgressLine _progress;
  std::u16string _report;
  EachPlan _plan;
  std::map<std::size_t, Process> _running;  // by the job's place
  std::uint64_t _reported = 0;
  std::uint64_t _bytes = 0, _bytesDone = 0;
  unsigned _width = 0;
  bool _interrupted = false;
};

}  // namespace

ExitCode RunEach(const ConvertCommandOptions& options) { return EachRun(options).Run(); }

}  // namespace parvane::cli
