// How files and folders are chosen: looked for in folders, taken, and where the PST is to go.
#pragma once

#include "app/files.h"
#include "app/http.h"
#include "app/json.h"
#include "app/worker.h"

namespace parvane::app {

// May be used from several threads.
class Chooser {
 public:
  Chooser(Worker& worker, Chosen& chosen) : _worker(worker), _chosen(chosen) {}

  // A folder, by names.
  HttpAnswer Browse(const Json& request) const;
  // Makes files and folders sources, or PSTs to look into, if they can be such.
  HttpAnswer Choose(const Json& request);
  // Where the PST could go, and what is free there.
  HttpAnswer Destination(const Json& request);

 private:
  Json Take(const Json& named);

  Worker& _worker;
  Chosen& _chosen;
};

}  // namespace parvane::app
