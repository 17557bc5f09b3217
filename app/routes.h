// What answers which path: the page's files, and the interface that its modules talk to
// (docs/app.md).
#pragma once

#include <functional>

#include "app/chooser.h"
#include "app/files.h"
#include "app/http.h"
#include "app/json.h"
#include "app/life.h"
#include "app/pst_views.h"
#include "app/runs.h"
#include "app/search.h"
#include "app/worker.h"

namespace parvane::app {

// May be called on several threads at a time.
class Routes {
 public:
  // `interrupted`: whether the program is to end, which stops a run.
  Routes(Life& life, std::function<bool()> interrupted);
  ~Routes();
  Routes(const Routes&) = delete;
  Routes& operator=(const Routes&) = delete;

  HttpAnswer Answer(const HttpRequest& request);
  // A run goes on.
  bool IsBusy() const { return _worker.IsRunning(); }

 private:
  HttpAnswer Get(const HttpRequest& request);
  HttpAnswer Post(const HttpRequest& request);
  HttpAnswer State() const;

  Life& _life;
  Chosen _chosen;
  Search _search;
  Chooser _chooser;
  PstViews _views;
  Runs _runs;
  // Last, so that it ends before what it works with.
  Worker _worker;
};

}  // namespace parvane::app
