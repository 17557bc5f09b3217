#include "cli/each_jobs.h"

#include <algorithm>
#include <charconv>
#include <span>

#include "desk/folder_names.h"
#include "desk/json_writer.h"
#include "desk/source_names.h"
#include "desk/source_plan.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::cli {
using desk::JsonWriter;
using desk::NameForSource;
using desk::RecogniseSources;
using desk::SiblingNames;
using desk::SourceOptions;
using desk::SourcePlan;
using platform::FileKind;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// Lists and the heads of reports are small.
constexpr std::size_t kMostText = std::size_t{64} << 20;

Result<std::string> ReadText(const std::u16string& path, std::size_t most) {
  auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  auto size = (*file)->Size();
  if (!size.ok()) return size.status();
  std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(*size, most)), '\0');
  auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(text)));
  if (!count.ok()) return count.status();
  text.resize(*count);
  return text;
}

class Planner {
 public:
  explicit Planner(const ConvertCommandOptions& options) : _options(options) {
    // The report over all has a name that no PST's report gets.
    _names.Take(platform::StemOfPath(kEachReportName));
  }

  Result<EachPlan> Run() {
    std::vector<std::u16string> sources = _options.understood.sources;
    if (!_options.eachOf.empty()) {
      if (Status read = ReadList(sources); !read.ok()) return read;
    }
    for (const std::u16string& source : sources) AddSource(source);
    if (!_plan.jobs.empty()) return std::move(_plan);
    return Status(StatusCode::kNotFound, "there is nothing to convert");
  }

 private:
  Status ReadList(std::vector<std::u16string>& sources) const {
    auto text = ReadText(_options.eachOf, kMostText);
    if (!text.ok()) return text.status();
    for (std::size_t from = 0; from < text->size();) {
      const std::size_t end = std::min(text->find('\n', from), text->size());
      std::string line = text->substr(from, end - from);
      if (line.ends_with('\r')) line.pop_back();
      if (!line.empty() && !line.starts_with('#'))
        sources.push_back(platform::PathFromNative(line));
      from = end + 1;
    }
    return {};
  }

  Result<SourcePlan> LookAt(const std::u16string& path) const {
    SourceOptions alone = _options.understood;
    alone.sources = {path};
    return RecogniseSources(alone);
  }

  // Whether what is in it are sources by themselves.
  bool HoldsSources(const std::u16string& path) const {
    if (!FileSystem::Default().FolderExists(path)) return false;
    const auto plan = LookAt(path);
    if (!plan.ok()) return false;
    return plan->severalKinds ||
           (plan->stores.size() == 1 && plan->stores.front().kind == factory::SourceKind::kMbox);
  }

  // What lies in a folder and certainly holds no mail: a file of another kind, a folder without
  // any. One that cannot be read is a job that fails, and says why.
  bool IsNoMail(const std::u16string& path, FileKind kind) const {
    const auto plan = LookAt(path);
    if (plan.ok()) return false;
    const StatusCode why = plan.status().code();
    return (kind == FileKind::kFile && why == StatusCode::kUnsupported) ||
           (kind == FileKind::kFolder && why == StatusCode::kNotFound);
  }

  void AddSource(const std::u16string& source) {
    const std::u16string path = platform::CanonicalPath(source);
    auto entries = FileSystem::Default().List(path);
    if (!entries.ok() || !HoldsSources(path)) return AddJob(path);
    std::ranges::sort(*entries, {}, &platform::DirectoryEntry::name);
    for (const platform::DirectoryEntry& entry : *entries) {
      const std::u16string inside = platform::JoinPath(path, entry.name);
      IsNoMail(inside, entry.kind) ? _plan.passedOver.push_back(inside) : AddJob(inside);
    }
  }

  void AddJob(const std::u16string& path) {
    EachJob job;
    job.source = path;
    std::u16string name = NameForSource(path);
    std::ranges::replace(name, u'/', u'_');
    std::ranges::replace(name, u'\\', u'_');
    job.name = _names.Take(name);
    job.pst = platform::JoinPath(_options.understood.destination, job.name + u".pst");
    job.report = platform::JoinPath(_options.understood.destination, job.name + u".json");
    _plan.jobs.push_back(std::move(job));
  }

  const ConvertCommandOptions& _options;
  SiblingNames _names;
  EachPlan _plan;
};

// Of a report that this program has written: the number behind the first such key after `from`.
std::uint64_t NumberOf(std::string_view report, std::string_view key, std::size_t from = 0) {
  const std::string quoted = "\"" + std::string(key) + "\": ";
  const std::size_t at = report.find(quoted, from);
  std::uint64_t number = 0;
  if (at == report.npos) return number;
  const std::string_view digits = report.substr(at + quoted.size(), 20);
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

// What the report of this source has in it.
std::string SourcesText(const std::u16string& source) {
  JsonWriter json;
  json.BeginObject().Key("sources").BeginArray().String(PathForDisplay(source)).EndArray();
  std::string text = json.Take();
  return text.substr(text.find('"'));
}

}  // namespace

Result<EachPlan> PlanEach(const ConvertCommandOptions& options) { return Planner(options).Run(); }

bool ReadReport(EachJob& job) {
  // All that is looked for stands before the lists.
  constexpr std::size_t kHead = 1 << 20;
  const auto report = ReadText(job.report, kHead);
  if (!report.ok() || report->find(SourcesText(job.source)) == report->npos) return false;
  const std::size_t totals = report->find("\"totals\"");
  if (totals == report->npos) return false;
  job.read = NumberOf(*report, "read", totals);
  job.written = NumberOf(*report, "written", totals);
  job.failed = NumberOf(*report, "failed", totals);
  job.pstBytes = NumberOf(*report, "pstBytes");
  job.exitCode = static_cast<int>(NumberOf(*report, "exitCode"));
  return job.exitCode <= 1;
}

}  // namespace parvane::cli
