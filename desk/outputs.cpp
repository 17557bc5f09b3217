#include "desk/outputs.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "desk/destination.h"
#include "desk/report.h"
#include "desk/same_file.h"
#include "desk/source_plan.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"

namespace parvane::desk {

using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;

namespace {

// Of a file that need not be there yet.
std::u16string WholePath(std::u16string_view path) {
  return platform::JoinPath(platform::CanonicalPath(platform::ParentOfPath(path)),
                            platform::FileNameOfPath(path));
}

bool SameFile(const std::u16string& a, const std::u16string& b) {
  if (WholePath(a) == WholePath(b)) return true;
  return IsSameFile(FileSystem::Default().Inspect(a), FileSystem::Default().Inspect(b));
}

// A file that has nothing in it, or what a run wrote. Whatever else is there may be mail, of which
// not all begins as a mailbox does.
bool MayBeReplaced(const std::u16string& path) {
  const auto file = FileSystem::Default().Inspect(path);
  if (file.kind != platform::FileKind::kFile || file.size == 0) return true;
  std::array<char, 100> start{};
  auto opened = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!opened.ok()) return true;  // the reason is told by whoever opens it for writing
  const auto count = opened.value()->ReadAt(0, std::as_writable_bytes(std::span(start)));
  const std::string_view text(start.data(), count.ok() ? *count : 0);
  return text.starts_with("parvane ") || text.starts_with("ERROR: ") || BeginsLikeReport(text);
}

}  // namespace

Status Outputs::CheckApart(std::initializer_list<const std::u16string*> outputs,
                           std::u16string_view destination, std::u16string_view partial) const {
  std::vector<std::u16string> taken = _options.sources;
  taken.emplace_back(destination);
  taken.emplace_back(partial);
  const auto mail = std::ssize(taken);
  for (const std::u16string* output : outputs) {
    if (output->empty() || (output == &_options.report && ReportsToOutput())) continue;
    const auto same = std::find_if(taken.begin(), taken.end(), [&](const std::u16string& path) {
      return SameFile(*output, path);
    });
    const bool isMail =
        same - taken.begin() < mail || LooksLikeMailbox(*output) || CheckIsPst(*output).ok();
    std::string_view fault;
    if (isMail) {
      fault = ": is mail, not a place for a log";
    } else if (same != taken.end()) {
      fault = ": is given for two logs";
    } else if (!MayBeReplaced(*output)) {
      fault = ": is there already and no log of an earlier run; it is left as it is";
    }
    if (!fault.empty()) {
      return {platform::StatusCode::kInvalidArgument, PathForDisplay(*output).append(fault)};
    }
    taken.push_back(*output);
  }
  return {};
}

Status Outputs::Begin() {
  const std::u16string& destination = _options.destination;
  // First, so that whatever is wrong with the logs is in it.
  Status apart = CheckApart({&_options.report}, destination, destination);
  if (!apart.ok()) return apart;
  if (!_options.report.empty() && !ReportsToOutput()) {
    auto report = ReportFile::Begin(_options.report);
    if (!report.ok()) return report.status();
    _report = std::move(report).value();
  }
  return CheckApart({&_options.report, &_options.log, &_options.detailedLog}, destination,
                    destination);
}

Status Outputs::Open(std::u16string_view destination, std::u16string_view partial) {
  Status apart = CheckApart({&_options.report}, destination, partial);
  // Not even to say so is the report put in the PST's place.
  if (!apart.ok()) _report.reset();
  const auto all = {&_options.report, &_options.log, &_options.detailedLog};
  if (apart.ok()) apart = CheckApart(all, destination, partial);
  if (!apart.ok()) return apart;
  Status opened = _logs.Open(_options.log, _options.detailedLog);
  // Names that differ may mean one file: what is there tells.
  return opened.ok() ? CheckApart(all, destination, partial) : opened;
}

void Outputs::ForgetOwnFiles(ConversionRecord& record, std::u16string_view partial) const {
  for (const std::u16string_view own :
       {partial, std::u16string_view(_options.log), std::u16string_view(_options.detailedLog)}) {
    const auto file = FileSystem::Default().Inspect(own);
    record.otherFiles.Remove([&](const SkippedPath& other) {
      if (platform::FileNameOfPath(other.path) != platform::FileNameOfPath(own)) return false;
      return IsSameFile(FileSystem::Default().Inspect(other.path), file);
    });
  }
}

void Outputs::Tell(ConversionRecord& record) {
  if (record.began) _logs.Lines(Summary(record));
  if (!record.error.empty()) _logs.Both("ERROR: " + record.error);
  if (Status written = _logs.Flush(); !written.ok()) record.Fail(written);
  if (_report) {
    if (Status written = _report->Write(record); !written.ok()) record.Fail(written);
  }
}

}  // namespace parvane::desk
