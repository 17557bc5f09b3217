// The search for mail on this computer, and what it has found: in the background, a little at a
// time.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "app/files.h"
#include "app/http.h"
#include "app/worker.h"
#include "desk/mail_finder.h"

namespace parvane::app {

// May be used from several threads.
class Search {
 public:
  Search(Worker& worker, Chosen& chosen) : _worker(worker), _chosen(chosen) {}

  // What has been found so far. Begins the search, anew when the last one is over.
  HttpAnswer Ask();

 private:
  struct Found {
    desk::FoundPlace place;
    std::optional<std::uint64_t> messages;
  };

  // On the worker's thread.
  void Step();
  bool Look();
  bool Count();
  void Publish();

  Worker& _worker;
  Chosen& _chosen;
  std::optional<desk::MailFinder> _finder;  // the worker's
  std::size_t _counted = 0;                 // places, the worker's

  std::mutex _mutex;
  std::vector<Found> _found;
  bool _looks = false;
};

}  // namespace parvane::app
