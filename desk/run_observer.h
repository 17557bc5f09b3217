// What a front end hears of a run while it goes on, and how it stops one. All of it on the thread
// that runs it. Who wants to hear nothing takes it as it is.
#pragma once

#include <cstdint>
#include <string_view>

namespace parvane::desk {

struct ConversionRecord;

struct RunFigures {
  std::string_view name;              // of what is worked at
  std::uint64_t done = 0, total = 0;  // bytes; a total of 0 is not known
  std::uint64_t messages = 0;         // 0: not counted
};

class RunObserver {
 public:
  virtual ~RunObserver() = default;
  // The work begins, maybe once more; what went before was only looking.
  virtual void Restart() {}
  // After every message, and while the sources are looked at. The record is as far as the run is.
  virtual void Progress(const RunFigures&, const ConversionRecord&) {}
  // Something to know before the work, which goes on.
  virtual void Notice(std::string_view) {}
  // Asked after every message. A run that is to stop ends what it has begun, and tells so.
  virtual bool StopRequested() const { return false; }
};

}  // namespace parvane::desk
