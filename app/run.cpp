#include "app/run.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "desk/conversion.h"
#include "desk/exit_code.h"
#include "desk/reasons.h"
#include "desk/report.h"
#include "desk/report_page.h"
#include "desk/scan.h"
#include "platform/time.h"

namespace parvane::app {
namespace {

using platform::MonotonicMilliseconds;

constexpr std::uint64_t kInterval = 200;  // milliseconds, between two looks at the record
// Before this the rate says nothing about the time left.
constexpr std::uint64_t kWarmUp = 2'000;

const char* StateOf(const desk::ConversionRecord& record) {
  if (record.interrupted) return "stopped";
  const desk::ExitCode code = desk::Outcome(record);
  return code == desk::ExitCode::kDone || code == desk::ExitCode::kMailLeftBehind ? "done"
                                                                                  : "failed";
}

std::string SummaryOf(const desk::ConversionRecord& record) {
  return record.began ? desk::Summary(record) : desk::SummaryOfNothing(record);
}

// A report with one more member.
std::string WithSummary(const std::string& report, const std::string& summary) {
  const std::size_t end = report.rfind('}');
  if (end == report.npos) return "null";
  return report.substr(0, end) + ",\"summary\":" + Print(summary) + "}";
}

}  // namespace

Run::Run(RunKind kind, desk::ConvertOptions options, std::function<bool()> interrupted)
    : _kind(kind),
      _options(std::move(options)),
      _interrupted(std::move(interrupted)),
      _began(MonotonicMilliseconds()) {}

void Run::Do() {
  try {
    Finish(_kind == RunKind::kScan ? desk::Scan(_options, *this) : desk::Convert(_options, *this));
  } catch (const std::exception& error) {
    // Of the account itself: it has an end, and says why.
    const std::lock_guard lock(_mutex);
    _notices.push_back(desk::InWords(error));
    _ended = MonotonicMilliseconds();
    _state = "failed";
  }
}

void Run::Restart() {
  const std::lock_guard lock(_mutex);
  _began = MonotonicMilliseconds();
}

void Run::Progress(const desk::RunFigures& figures, const desk::ConversionRecord& record) {
  const std::uint64_t now = MonotonicMilliseconds();
  if (now - _told < kInterval) return;
  _told = now;
  const std::lock_guard lock(_mutex);
  _name = figures.name;
  _done = figures.done;
  _total = figures.total;
  _messages = figures.messages;
  Take(record);
}

void Run::Notice(std::string_view text) {
  const std::lock_guard lock(_mutex);
  _notices.push_back(std::string(text));
}

void Run::Take(const desk::ConversionRecord& record) {
  _folders.resize(record.folders.size());
  for (std::size_t i = 0; i < _folders.size(); ++i) {
    const desk::FolderAccount& account = record.folders[i];
    Folder& folder = _folders[i];
    if (folder.path.is_null()) {
      folder.path = Json::array();
      for (const std::u16string& name : account.path) folder.path.push_back(Utf8(name));
    }
    folder.read = account.read;
    folder.written = account.written;
    folder.failed = account.failed;
  }
  _attention.Look(record);
}

void Run::Finish(desk::ConversionRecord record) {
  std::string report;
  desk::Report(record, [&report](std::string_view piece) { report += piece; });
  std::string summary = SummaryOf(record);
  const std::lock_guard lock(_mutex);
  Take(record);
  _messages = record.Read();
  _report = std::move(report);
  _summary = std::move(summary);
  for (const desk::PartAccount& part : record.parts) _written.push_back(part.path);
  for (const std::u16string& path : {record.destination, record.partial}) {
    if (!path.empty()) _written.push_back(path);
  }
  _ended = MonotonicMilliseconds();
  _state = StateOf(record);
  _record = std::move(record);
}

bool Run::IsOver() const {
  const std::lock_guard lock(_mutex);
  return _ended != 0;
}

std::string Run::Report() const {
  const std::lock_guard lock(_mutex);
  return _report;
}

std::string Run::ReportPage() const {
  const std::lock_guard lock(_mutex);
  std::string page;
  if (_record) desk::ReportPage(*_record, [&page](std::string_view piece) { page += piece; });
  return page;
}

std::vector<std::u16string> Run::Written() const {
  const std::lock_guard lock(_mutex);
  return _written;
}

Json Run::Figures() const {
  const std::uint64_t elapsed = (_ended ? _ended : MonotonicMilliseconds()) - _began;
  Json left = nullptr;
  const std::uint64_t done = std::min(_done, _total);
  if (_ended) {
    left = 0;
  } else if (elapsed >= kWarmUp && done > 0) {
    left = (static_cast<double>(_total - done) * static_cast<double>(elapsed)) /
           (static_cast<double>(done) * 1000);
  }
  return {{"name", _name},
          {"done", done},
          {"total", _total},
          {"messages", _messages},
          {"seconds", static_cast<double>(elapsed) / 1000},
          {"secondsLeft", std::move(left)}};
}

Json Run::Folders() const {
  Json folders = Json::array();
  for (const Folder& folder : _folders) {
    folders.push_back({{"path", folder.path},
                       {"read", folder.read},
                       {"written", folder.written},
                       {"failed", folder.failed}});
  }
  return folders;
}

std::string Run::Describe(std::size_t attentionFrom) const {
  const std::lock_guard lock(_mutex);
  const Json json = {{"kind", _kind == RunKind::kScan ? "scan" : "convert"},
                     {"state", _state},
                     {"figures", Figures()},
                     {"folders", Folders()},
                     {"attention", _attention.From(attentionFrom)},
                     {"notices", _notices}};
  std::string text = Print(json);
  text.pop_back();
  return text + ",\"result\":" + (_report.empty() ? "null" : WithSummary(_report, _summary)) + "}";
}

}  // namespace parvane::app
