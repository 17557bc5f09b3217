#include "app/routes.h"

#include "app/page_answer.h"
#include "app/start_file.h"
#include "platform/time.h"

namespace parvane::app {

HttpAnswer Routes::Answer(const HttpRequest& request) {
  const std::uint64_t now = platform::MonotonicMilliseconds();
  if (request.path == "api/goodbye") {
    _life.Goodbye(now);
    return {200, "application/json", "{}"};
  }
  _life.Visit(now);
  if (request.path == "api/knock") return {200, "application/json", "{}"};
  if (request.path.empty()) RemoveStartFile();
  if (request.method == "GET") return PageAnswer(request.path);
  return {404, "text/plain", {}};
}

}  // namespace parvane::app
