// The command line, understood.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/app.h"
#include "desk/exit_code.h"
#include "desk/options.h"
#include "parvane/options.h"

namespace parvane::cli {

enum class ProgressChoice { kAuto, kLines, kNever };

struct ConvertCommandOptions : ConvertOptions {
  std::vector<std::string> sources;
  std::string destination;
  desk::ConvertOptions understood;  // the same as values
  ProgressChoice progress = ProgressChoice::kAuto;
  // A PST for each source, in the folder that is the destination, by so many processes.
  bool each = false;
  std::u16string eachOf;              // a file that lists further sources
  unsigned jobs = 1;                  // at a time
  std::vector<std::string> passedOn;  // the options that each of them is given
  bool quiet = false;
  bool dryRun = false;  // a scan: what would be done is told, and nothing done
  bool json = false;    // standard output gets the report of a scan instead of its summary
};

struct ListOptions {
  std::u16string file;
  desk::MapiChoice mapi = desk::MapiChoice::kBuiltin;
  ProgressChoice progress = ProgressChoice::kAuto;
  bool messages = false;
  bool json = false;
};

struct CheckCommandOptions {
  std::u16string file;
  ProgressChoice progress = ProgressChoice::kAuto;
  bool json = false;
  bool notes = false;
  std::optional<std::uint32_t> dump;  // a node to be shown instead
};

struct VerifyCommandOptions : desk::VerifyOptions {
  // Sources, manifests and PSTs; which is which, their contents tell.
  std::vector<std::u16string> paths;
  std::u16string manifest;  // to be written; empty: none
  ProgressChoice progress = ProgressChoice::kAuto;
  bool json = false;
};

using Command = std::variant<ConvertCommandOptions, ListOptions, CheckCommandOptions,
                             VerifyCommandOptions, app::Options>;

// What the arguments ask for; or, when there is nothing to run (help, version, wrong usage), the
// exit code after saying so.
std::variant<Command, desk::ExitCode> ParseArguments(const std::vector<std::string>& arguments);

}  // namespace parvane::cli
