// Looking into a PST: one at a time, while no conversion goes on.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/files.h"
#include "app/http.h"
#include "app/json.h"
#include "app/worker.h"
#include "desk/pst_viewer.h"

namespace parvane::app {

// May be used from several threads.
class PstViews {
 public:
  PstViews(Worker& worker, Chosen& chosen) : _worker(worker), _chosen(chosen) {}

  HttpAnswer Open(const Json& request);
  // "K/messages" and the like, behind "api/pst/".
  HttpAnswer Answer(const HttpRequest& request, std::string_view what);

  // On the worker's thread: nothing is open from here on.
  void Close() { _open.reset(); }

 private:
  HttpAnswer Look(const HttpRequest& request, std::string_view what);
  HttpAnswer Messages(const HttpRequest& request);
  HttpAnswer Message(const std::string& id);
  HttpAnswer Document(const HttpRequest& request, const std::string& id);
  HttpAnswer Attachment(const HttpRequest& request, const std::string& id);

  Worker& _worker;
  Chosen& _chosen;
  // The worker's:
  std::unique_ptr<desk::PstViewer> _open;
  unsigned _number = 0;  // of what is open
};

}  // namespace parvane::app
