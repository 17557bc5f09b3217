#include "app/routes.h"

#include <exception>
#include <string>
#include <utility>

#include "app/page_answer.h"
#include "app/start_file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/time.h"

namespace parvane::app {
namespace {

constexpr std::string_view kPsts = "api/pst/";

HttpAnswer Nothing() { return {404, "text/plain", {}}; }

}  // namespace

Routes::Routes(Life& life, std::function<bool()> interrupted)
    : _life(life),
      _search(_worker, _chosen),
      _chooser(_worker, _chosen),
      _views(_worker, _chosen),
      _runs(
          _worker, _chosen, [this] { _views.Close(); }, std::move(interrupted)) {}

Routes::~Routes() {
  try {
    _worker.Ask([this] { _views.Close(); });
  } catch (const Refusal&) {
    // A run goes on, and has closed what was open.
  }
}

HttpAnswer Routes::Answer(const HttpRequest& request) {
  const std::uint64_t now = platform::MonotonicMilliseconds();
  if (request.path == "api/goodbye" && request.method == "POST") {
    _life.Goodbye(now);
    return Answered(Json::object());
  }
  _life.Visit(now);
  try {
    return request.method == "GET" ? Get(request) : Post(request);
  } catch (const Refusal& refusal) {
    return Answered(refusal);
  } catch (const std::exception& error) {
    return Answered(Refusal{500, "failed", error.what()});
  }
}

HttpAnswer Routes::Get(const HttpRequest& request) {
  const std::string_view path = request.path;
  if (path == "api/knock") return Answered(Json::object());
  if (path == "api/state") return State();
  if (path == "api/run") return _runs.Ask(request);
  if (path.starts_with(kPsts)) return _views.Answer(request, path.substr(kPsts.size()));
  if (path == "api/report.json") return _runs.ReportAsJson();
  if (path == "api/report.html") return _runs.ReportAsPage();
  if (path.empty()) RemoveStartFile();
  return path.starts_with("api/") ? Nothing() : PageAnswer(path);
}

HttpAnswer Routes::Post(const HttpRequest& request) {
  const std::string_view path = request.path;
  if (!path.starts_with("api/")) return Nothing();
  const Json body = Parse(request.body);
  if (path.starts_with(kPsts)) return _views.Answer(request, path.substr(kPsts.size()));
  if (path == "api/found") return _search.Ask();
  if (path == "api/browse") return _chooser.Browse(body);
  if (path == "api/choose") return _chooser.Choose(body);
  if (path == "api/destination") return _chooser.Destination(body);
  if (path == "api/open") return _views.Open(body);
  if (path == "api/scan") return _runs.Scan(body);
  if (path == "api/convert") return _runs.Convert(body);
  if (path == "api/stop") return _runs.Stop();
  return Nothing();
}

HttpAnswer Routes::State() const {
  const auto home = platform::FolderOfUser(platform::UserFolder::kHome);
  const bool windows = platform::kPathSeparator == u'\\';
  const Json state = {{"version", PARVANE_VERSION},
                      {"system", windows ? "windows" : "linux"},
                      {"home", home ? platform::PathForDisplay(*home) : std::string()},
                      {"separator", windows ? "\\" : "/"}};
  std::string text = Print(state);
  text.pop_back();
  return {200, "application/json", text + ",\"run\":" + _runs.Describe(0) + "}"};
}

}  // namespace parvane::app
