// A request that has been let in, and its answer.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace parvane::app {

struct HttpRequest {
  std::string method;  // "GET" or "POST"
  std::string path;    // behind the secret: "api/state"
  std::map<std::string, std::string> query;
  std::string body;
  std::string origin;   // of this server
  std::string address;  // of the page
};

// Every answer goes out with the headers of http_server.cpp, which keep it from being stored,
// guessed at or framed.
struct HttpAnswer {
  int status = 200;
  std::string type = "application/json";
  std::string body;
  // In addition, or instead of the server's own.
  std::vector<std::pair<std::string, std::string>> headers = {};
};

}  // namespace parvane::app
