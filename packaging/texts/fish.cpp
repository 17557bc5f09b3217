#include "packaging/texts/writers.h"

namespace parvane::texts {
namespace {

std::string Quoted(std::string_view text) {
  return "'" + Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string Line(const std::string& condition, const OptionText& option) {
  std::string line = "complete -c parvane -n " + Quoted(condition), words;
  for (const std::string& name : option.names)
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  for (const std::string& word : option.words) words += (words.empty() ? "" : " ") + word;
  if (option.file) line += " -r -F";
  if (!option.file && !option.value.empty()) line += " -x";
  if (option.list)
    line += " -a " + Quoted("(__fish_complete_list , 'string split \" \" \"" + words + "\"')");
  if (!option.list && !words.empty()) line += " -a " + Quoted(words);
  return line + " -d " + Quoted(option.Brief()) + "\n";
}

}  // namespace

std::string FishCompletion(const std::vector<CommandText>& commands) {
  std::string text =
      "# Completion of the parvane command for fish, made from the table of its options.\n"
      "complete -c parvane -f\n";
  const std::string none = "__fish_use_subcommand";
  std::string names;
  for (const CommandText& command : commands) {
    const std::string own = "__fish_seen_subcommand_from " + command.name;
    for (const OptionText& option : command.options)
      text += Line(command.name.empty() ? none : own, option);
    if (command.name.empty()) continue;
    text += "complete -c parvane -n " + none + " -a " + command.name + " -d " +
            Quoted(command.summary) + "\n";
    if (!command.arguments.empty()) text += "complete -c parvane -n " + Quoted(own) + " -F\n";
    names += (names.empty() ? "" : " ") + command.name;
  }
  text += "complete -c parvane -n " + none + " -a help -d 'Tell about a command'\n";
  return text + "complete -c parvane -n '__fish_seen_subcommand_from help' -a " + Quoted(names) +
         "\n";
}

}  // namespace parvane::texts
