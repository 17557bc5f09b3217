#include "packaging/texts/writers.h"

namespace parvane::texts {
namespace {

// Within '...' of _arguments.
std::string Quoted(std::string_view text) {
  std::string quoted = Replaced(text, "'", "'\\''");
  for (std::string_view special : {"[", "]", ":"})
    quoted = Replaced(quoted, special, "\\" + std::string(special));
  return quoted;
}

std::string Action(const OptionText& option) {
  if (option.file) return "_files";
  std::string words;
  for (const std::string& word : option.words) words += (words.empty() ? "" : " ") + word;
  if (option.list) return "_values -s , value " + words;
  return words.empty() ? " " : "(" + words + ")";
}

std::string Specification(const OptionText& option) {
  std::string together;
  for (const std::string& name : option.names) together += (together.empty() ? "" : " ") + name;
  std::string text;
  for (const std::string& name : option.names) {
    text += "        '";
    text += option.again ? "*" : "(" + together + ")";
    text += name;
    if (!option.value.empty()) text += name.starts_with("--") ? "=" : "+";
    text += "[" + Quoted(option.Brief()) + "]";
    if (!option.value.empty()) text += ":" + Quoted(option.value) + ":" + Action(option);
    text += "' \\\n";
  }
  return text;
}

}  // namespace

std::string ZshCompletion(const std::vector<CommandText>& commands) {
  std::string list, cases, own;
  for (const CommandText& command : commands) {
    if (command.name.empty()) {
      for (const OptionText& option : command.options) own += Specification(option);
      continue;
    }
    list += "    '" + command.name + ":" + Quoted(command.summary) + "'\n";
    cases += "    " + command.name + ")\n      _arguments -s \\\n";
    for (const OptionText& option : command.options) cases += Specification(option);
    cases += "        '*:" + Quoted(command.arguments) + ":" +
             (command.takesPstAlone() ? "_files -g \"*.pst(-.)\"" : "_files") + "' ;;\n";
  }
  return "#compdef parvane\n# Made from the table of the options of parvane.\n\n"
         "_parvane() {\n  local curcontext=\"$curcontext\" state line\n  local -a commands\n  "
         "commands=(\n" +
         list + "    'help:Tell about a command'\n  )\n  _arguments -C \\\n" + own +
         "        '1: :->command' '*:: :->argument' && return\n"
         "  if [[ $state == command ]]; then\n    _describe -t commands command commands\n    "
         "return\n  fi\n"
         "  case $words[1] in\n    help) _describe -t commands command commands ;;\n" +
         cases + "  esac\n}\n\n_parvane \"$@\"\n";
}

}  // namespace parvane::texts
