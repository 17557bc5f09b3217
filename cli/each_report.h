// What became of the jobs of `convert --each`: the report over all, and the words for people.
#pragma once

#include <string>

#include "cli/each_jobs.h"
#include "desk/exit_code.h"
#include "platform/status.h"

namespace parvane::cli {

inline constexpr std::string_view kEachFormat = "parvane report of many conversions";

// The worst that happened; `interrupted`: all was stopped.
desk::ExitCode OutcomeOf(const EachPlan& plan, bool interrupted);
// A job's line of the table, with a name column of so many columns.
std::string LineOf(const EachJob& job, unsigned width);
std::string SummaryOf(const EachPlan& plan, std::uint64_t milliseconds);

// Whether there is none, or one of an earlier run: another file is never replaced.
platform::Status CheckEachReport(const std::u16string& path);
// Whole, or not at all.
platform::Status WriteEachReport(const std::u16string& path, const EachPlan& plan,
                                 bool interrupted);

}  // namespace parvane::cli
