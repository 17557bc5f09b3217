// Options of several commands, and how an option is described whose values are words.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options.h"
#include "parvane/option_words.h"

namespace parvane::cli {

// What is given becomes the choice, which is either a word itself or what a word stands for. It
// outlives the command, as `words` do.
template <typename Taken, typename Choice, std::size_t kCount>
void AddChoice(CLI::App& command, const char* option, Taken& choice,
               const Word<Choice> (&words)[kCount], const std::string& about) {
  std::vector<std::string> names;
  std::string type;
  for (const Word<Choice>& word : words) {
    names.emplace_back(word.name);
    type.append(type.empty() ? "" : "|").append(word.name);
  }
  const auto take = [&](const std::string& name) {
    if constexpr (std::is_same_v<Taken, std::string>) {
      choice = name;
    } else {
      choice = std::ranges::find(words, name, &Word<Choice>::name)->choice;
    }
  };
  command.add_option_function<std::string>(option, take, about)
      ->check(CLI::IsMember(names).description(""))
      ->type_name(type);
}

// What an option takes several of, with commas between them; completions offer them.
void SetListWords(CLI::Option& option, const std::string& words);
std::vector<std::string> ListWordsOf(CLI::Option& option);

// The option is there on every system, so that it can say where it works.
template <typename Taken>
void DescribeMapi(CLI::App& command, Taken& mapi, const std::string& does) {
  AddChoice(command, "--mapi", mapi, kMapiWords,
            "who " + does + " the PST: this program, or Outlook through its MAPI (Windows only)");
}
void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere);

}  // namespace parvane::cli
