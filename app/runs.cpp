#include "app/runs.h"

#include <charconv>
#include <utility>

#include "app/run_options.h"
#include "desk/destination.h"
#include "desk/source_names.h"
#include "platform/path.h"

namespace parvane::app {

std::vector<std::u16string> Runs::Sources(const Json& request) const {
  const auto list = request.find("sources");
  std::vector<std::u16string> sources;
  if (list != request.end() && list->is_array()) {
    for (const Json& named : *list) {
      for (std::u16string& path : PathsOf(named)) sources.push_back(std::move(path));
    }
  }
  if (sources.empty()) throw Refusal{400, "request", "no mail is chosen"};
  _chosen.Require(sources);
  return sources;
}

HttpAnswer Runs::Scan(const Json& request) {
  desk::ConvertOptions options = RunOptions(request);
  options.sources = Sources(request);
  options.resume = false;
  return Begin(RunKind::kScan, std::move(options));
}

HttpAnswer Runs::Convert(const Json& request) {
  desk::ConvertOptions options = RunOptions(request);
  options.sources = Sources(request);
  options.destination = PathOf({{"path", TextIn(request, "destination")}});
  _worker.Ask([&] { CheckPlace(options); });
  return Begin(RunKind::kConvert, std::move(options));
}

void Runs::CheckPlace(desk::ConvertOptions& options) {
  if (!IsWhole(options.destination))
    throw Refusal{400, "destination", "please give the whole path of the new file"};
  const auto place = desk::CheckDestination(options, desk::NameForSource(options.sources.front()));
  if (!place.ok()) throw RefusalOf(place.status());
  options.destination = place->path;
  // There is nothing to add to, or to replace.
  if (!place->existed) options.append = options.skipExisting = false;
}

HttpAnswer Runs::Begin(RunKind kind, desk::ConvertOptions options) {
  const auto run = std::make_shared<Run>(kind, std::move(options), _interrupted);
  _worker.Begin([this, run] {
    _before();
    run->Do();
    // What was made may be looked into.
    _chosen.Add(run->Written(), "pst");
  });
  {
    const std::lock_guard lock(_mutex);
    _last = run;
    if (kind == RunKind::kConvert) _lastConversion = run;
  }
  return {200, "application/json", "{\"run\":" + run->Describe(0) + "}"};
}

HttpAnswer Runs::Stop() {
  const std::lock_guard lock(_mutex);
  if (_last) _last->Stop();
  return Answered(Json::object());
}

std::string Runs::Describe(std::size_t attentionFrom) const {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard lock(_mutex);
    run = _last;
  }
  return run ? run->Describe(attentionFrom) : "null";
}

HttpAnswer Runs::Ask(const HttpRequest& request) const {
  std::size_t after = 0;
  if (const auto given = request.query.find("after"); given != request.query.end()) {
    const std::string& text = given->second;
    std::from_chars(text.data(), text.data() + text.size(), after);
  }
  return {200, "application/json", Describe(after)};
}

std::shared_ptr<Run> Runs::LastConversion() const {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard lock(_mutex);
    run = _lastConversion;
  }
  if (!run || !run->IsOver()) throw Refusal{404, "missing", "there is no report yet"};
  return run;
}

HttpAnswer Runs::ReportAsJson() const {
  return {200,
          "application/json",
          LastConversion()->Report(),
          {{"Content-Disposition", "attachment; filename=\"report.json\""}}};
}

HttpAnswer Runs::ReportAsPage() const {
  return {200,
          "text/html; charset=utf-8",
          LastConversion()->ReportPage(),
          {{"Content-Disposition", "attachment; filename=\"report.html\""}}};
}

}  // namespace parvane::app
