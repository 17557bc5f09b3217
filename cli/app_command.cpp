#include "cli/app_command.h"

#include <CLI/CLI.hpp>

namespace parvane::cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  parvane app                          in the default browser
  parvane app --no-browser             where to find it is written instead

It listens on this machine only, and ends when its page is closed.)";

}  // namespace

void DescribeApp(CLI::App& command, app::Options& options) {
  command.add_flag_callback(
      "--no-browser", [&options] { options.browser = false; },
      "write the page's address, and open no browser");
  command.footer(kExamples);
}

}  // namespace parvane::cli
