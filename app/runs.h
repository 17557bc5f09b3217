// The scan or conversion of this window: one at a time, and the last of each.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "app/files.h"
#include "app/http.h"
#include "app/run.h"
#include "app/worker.h"

namespace parvane::app {

// May be used from several threads.
class Runs {
 public:
  // `before`: on the worker's thread, before a run begins. `interrupted`: whether the program is to
  // end.
  Runs(Worker& worker, Chosen& chosen, std::function<void()> before,
       std::function<bool()> interrupted)
      : _worker(worker),
        _chosen(chosen),
        _before(std::move(before)),
        _interrupted(std::move(interrupted)) {}

  HttpAnswer Scan(const Json& request);
  HttpAnswer Convert(const Json& request);
  HttpAnswer Stop();
  // What has come of it so far, from number `attentionFrom` of what needs attention.
  HttpAnswer Ask(const HttpRequest& request) const;
  // The report of the last conversion that is over, to be saved.
  HttpAnswer ReportAsJson() const;
  HttpAnswer ReportAsPage() const;

  // Of the last run; "null" when there was none.
  std::string Describe(std::size_t attentionFrom) const;

 private:
  HttpAnswer Begin(RunKind kind, desk::ConvertOptions options);
  // Settles the destination, or throws a Refusal that says why it cannot be.
  void CheckPlace(desk::ConvertOptions& options);
  std::vector<std::u16string> Sources(const Json& request) const;
  std::shared_ptr<Run> LastConversion() const;

  Worker& _worker;
  Chosen& _chosen;
  std::function<void()> _before;
  std::function<bool()> _interrupted;
  mutable std::mutex _mutex;
  std::shared_ptr<Run> _last, _lastConversion;
};

}  // namespace parvane::app
