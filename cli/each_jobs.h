// What `convert --each` has to do: a PST for each source, in one folder.
//
//   SOURCE           a file, a profile, a maildir...: one PST, named after it
//   a folder of      each of the mailboxes and folders in it, sorted by name; what is none of these
//   mailboxes        is passed over
//   --each-of FILE   each line of a file; empty ones, and those that begin with "#", mean nothing
//
// Names depend on the sources and their order alone, so that a run that is repeated finds what the
// one before has done: NAME.pst beside its report NAME.json.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/options.h"
#include "platform/status.h"

namespace parvane::cli {

struct EachJob {
  enum class State {
    kWaiting,
    kRunning,
    kDone,         // exit status 0 or 1: it has a report
    kDoneBefore,   // ... by an earlier run
    kFailed,       // it could not finish
    kInterrupted,  // ... because all was stopped
  };

  std::u16string source;  // from the root
  std::u16string name;
  std::u16string pst;
  std::u16string report;
  State state = State::kWaiting;
  int exitCode = 0;
  std::string error;
  // From its report.
  std::uint64_t read = 0, written = 0, failed = 0, pstBytes = 0;
  std::uint64_t milliseconds = 0;

  bool IsDone() const { return state == State::kDone || state == State::kDoneBefore; }
};

struct EachPlan {
  std::vector<EachJob> jobs;
  std::vector<std::u16string> passedOver;  // entries of folders that are no mail
};

// The name in DEST-FOLDER of the report over all.
inline constexpr std::u16string_view kEachReportName = u"parvane-each.json";

// Fails when there is nothing to do, with the reason.
platform::Result<EachPlan> PlanEach(const ConvertCommandOptions& options);

// Reads the job's report, if there is one that is about it and says that it is done.
bool ReadReport(EachJob& job);

}  // namespace parvane::cli
