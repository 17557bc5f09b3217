#include "packaging/texts/command_text.h"

#include <algorithm>
#include <cctype>
#include <regex>

#include "cli/option_words.h"

namespace parvane::texts {
namespace {

bool IsWord(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](unsigned char c) {
    return std::islower(c) || std::isdigit(c) || c == '-';
  });
}

OptionText TextOf(CLI::Option& option) {
  OptionText text;
  for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
  text.description = option.get_description();
  if (option.get_type_size() == 0) return text;
  text.value = option.get_type_name();
  for (std::string_view rest = text.value; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find('|'));
    if (IsWord(word)) text.words.emplace_back(word);
    text.file |= word == "FILE";
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
  }
  const std::vector<std::string> listed = cli::ListWordsOf(option);
  text.list = !listed.empty();
  text.words.insert(text.words.end(), listed.begin(), listed.end());
  text.again = option.get_expected_max() > 1;
  return text;
}

// "Examples:" and what is told after them, then "Exit status: 0 all converted, 1 ...".
void ReadFooter(const std::string& footer, CommandText& text) {
  constexpr std::string_view kExamples = "Examples:\n", kStatus = "\n\nExit status: ";
  const std::size_t end = footer.find(kStatus);
  const std::size_t begin = footer.starts_with(kExamples) ? kExamples.size() : 0;
  text.examples = footer.substr(begin, end == footer.npos ? end : end - begin);
  if (end == footer.npos) return;
  std::string status = Replaced(footer.substr(end + kStatus.size()), "\n", " ");
  if (status.ends_with('.')) status.pop_back();
  static const std::regex kCode(R"((?:^|, )(\d+) (.*?)(?=, \d+ |$))");
  for (std::sregex_iterator at(status.begin(), status.end(), kCode), last; at != last; ++at)
    text.exitStatus.emplace_back((*at)[1], (*at)[2]);
}

CommandText TextOf(CLI::App& command, bool program) {
  CommandText text;
  if (!program) text.name = command.get_name();
  text.summary = command.get_description();
  for (CLI::Option* option : command.get_options({})) {
    if (!option->get_positional()) {
      text.options.push_back(TextOf(*option));
      continue;
    }
    const std::string& shown = option->get_option_text();
    text.arguments = shown.empty() ? option->get_name(true) : shown;
    text.argumentsAbout = option->get_description();
  }
  ReadFooter(command.get_footer(), text);
  return text;
}

}  // namespace

std::string_view OptionText::Brief() const {
  constexpr std::size_t kTellsNothing = 15;  // "with --append: ..."
  std::string_view text = description;
  for (std::string_view end : {"; ", ": ", " (", ". "})
    text = text.substr(0, text.find(end, kTellsNothing));
  return text;
}

std::vector<CommandText> CommandsOf(CLI::App& app) {
  std::vector<CommandText> commands = {TextOf(app, true)};
  for (CLI::App* command : app.get_subcommands({})) commands.push_back(TextOf(*command, false));
  return commands;
}

std::string Replaced(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  for (std::size_t at; (at = text.find(from)) != text.npos; text.remove_prefix(at + from.size()))
    result.append(text.substr(0, at)).append(to);
  return result.append(text);
}

}  // namespace parvane::texts
