#include "cli/option_words.h"

namespace parvane::cli {
namespace {

constexpr Word<ProgressChoice> kProgress[] = {{"auto", ProgressChoice::kAuto},
                                              {"lines", ProgressChoice::kLines},
                                              {"never", ProgressChoice::kNever}};

}  // namespace

// CLI11 keeps nothing beside an option but its validators, of which one that accepts everything has
// a name free.
void SetListWords(CLI::Option& option, const std::string& words) {
  option.check(CLI::Validator(""), words);
}

std::vector<std::string> ListWordsOf(CLI::Option& option) {
  try {
    const std::string words = option.get_validator(0)->get_name();
    return words.empty() ? std::vector<std::string>() : CLI::detail::split(words, ',');
  } catch (const CLI::OptionNotFound&) {
    return {};  // no validator
  }
}

void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere) {
  AddChoice(command, "--progress", progress, kProgress,
            "progress on standard error; auto: a live line on a terminal, " + elsewhere);
}

}  // namespace parvane::cli
