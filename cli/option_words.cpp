#include "cli/option_words.h"

namespace parvane::cli {
namespace {

constexpr Word<ProgressChoice> kProgress[] = {{"auto", ProgressChoice::kAuto},
                                              {"lines", ProgressChoice::kLines},
                                              {"never", ProgressChoice::kNever}};

}  // namespace

void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere) {
  AddChoice(command, "--progress", progress, kProgress,
            "progress on standard error; auto: a live line on a terminal, " + elsewhere);
}

}  // namespace parvane::cli
