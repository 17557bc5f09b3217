// Options of several commands, and how an option is described whose values are words.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options.h"

namespace parvane::cli {

// The words that stand for an option's values.
template <typename Choice>
struct Word {
  const char* name;
  Choice choice;
};

// `words` outlive the command, as does `choice`.
template <typename Choice, std::size_t kCount>
void AddChoice(CLI::App& command, const char* option, Choice& choice,
               const Word<Choice> (&words)[kCount], const std::string& about) {
  std::vector<std::string> names;
  std::string type;
  for (const Word<Choice>& word : words) {
    names.emplace_back(word.name);
    type.append(type.empty() ? "" : "|").append(word.name);
  }
  const auto take = [&choice, &words](const std::string& name) {
    choice = std::ranges::find(words, name, &Word<Choice>::name)->choice;
  };
  command.add_option_function<std::string>(option, take, about)
      ->check(CLI::IsMember(names).description(""))
      ->type_name(type);
}

// The option is there on every system, so that it can say where it works.
void DescribeMapi(CLI::App& command, desk::MapiChoice& mapi, const std::string& does);
void AddDedup(CLI::App& command, desk::Dedup& dedup, const std::string& about);
void DescribeProgress(CLI::App& command, ProgressChoice& progress, const std::string& elsewhere);

}  // namespace parvane::cli
