#include "cli/each_options.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/child_process.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

// What is for the whole, or given to each by itself.
constexpr std::array<std::string_view, 9> kOwn = {
    "each", "each-of", "jobs", "report", "progress", "quiet", "resume", "timings", "help"};

// What cannot be given to many.
constexpr std::array<std::string_view, 3> kOfOne = {"log", "detailed-log", "dry-run"};

constexpr unsigned kMostJobs = 256;

}  // namespace

void EachArguments::Describe(CLI::App& command) {
  _command = &command;
  command.add_flag("--each", _options.each,
                   "a PST and a report for each source, in the folder DEST; of a folder of "
                   "mailboxes, for each of them. What an earlier run finished is not done again");
  command.add_option("--each-of", _eachOf, "the same for the sources in a file, one a line")
      ->type_name("FILE");
  command
      .add_option("-j,--jobs", _jobs,
                  "with --each: so many at a time, each a process; default: one a processor")
      ->type_name("N");
}

std::string EachArguments::Understand() {
  if (!given()) return _jobs ? "--jobs is for --each" : "";
  _options.each = true;
  _options.eachOf = platform::PathFromNative(_eachOf);
  if (_jobs && (*_jobs == 0 || *_jobs > kMostJobs)) return "--jobs: not a number of processes";
  _options.jobs = _jobs.value_or(platform::ProcessorCount());
  // Only one program of a user at a time uses it.
  if (_options.mapi == "outlook") _options.jobs = 1;
  for (const CLI::Option* option : _command->get_options()) {
    if (option->count() == 0 || option->get_lnames().empty()) continue;
    const std::string& name = option->get_lnames().front();
    if (std::ranges::find(kOfOne, name) != kOfOne.end())
      return "--" + name + " is for one conversion; with --each every PST has a report of its own";
    if (std::ranges::find(kOwn, name) != kOwn.end()) continue;
    if (option->get_expected_max() == 0) {
      _options.passedOn.push_back("--" + name);
      continue;
    }
    for (const std::string& value : option->results())
      _options.passedOn.push_back("--" + name + "=" + value);
  }
  return {};
}

}  // namespace parvane::cli
