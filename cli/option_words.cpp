#include "cli/option_words.h"

namespace parvane::cli {
namespace {

using desk::Dedup;
using desk::MapiChoice;

constexpr Word<MapiChoice> kMapis[] = {{"builtin", MapiChoice::kBuiltin},
                                       {"outlook", MapiChoice::kOutlook}};
constexpr Word<Dedup> kDedups[] = {
    {"off", Dedup::kOff}, {"folder", Dedup::kFolder}, {"all", Dedup::kAll}};
constexpr Word<ProgressChoice> kProgress[] = {{"auto", ProgressChoice::kAuto},
                                              {"lines", ProgressChoice::kLines},
                                              {"never", ProgressChoice::kNever}};

}  // namespace

void DescribeMapi(CLI::App& command, MapiChoice& mapi, const std::string& does) {
  AddChoice(command, "--mapi", mapi, kMapis,
            "who " + does + " the PST: this program, or Outlook through its MAPI (Windows only)");
}

void AddDedup(CLI::App& command, Dedup& dedup, const std::string& about) {
  AddChoice(command, "--dedup", dedup, kDedups, about);
}

void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere) {
  AddChoice(command, "--progress", progress, kProgress,
            "progress on standard error; auto: a live line on a terminal, " + elsewhere);
}

}  // namespace parvane::cli
