#include "packaging/texts/writers.h"

namespace parvane::texts {
namespace {

// `--option=` arrives in pieces, because = separates words.
constexpr std::string_view kLogic = R"bash(
_parvane() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} before= values
  COMPREPLY=()
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  elif [[ $current == --*=* ]]; then
    before=${current%%=*}= previous=${current%%=*} current=${current#*=}
  fi
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_parvane_words '' '')" -- "$current")
    return
  fi
  local command=${COMP_WORDS[1]}
  values=$(_parvane_words "$command" "$previous")
  case $values in
    FILE) ;;
    LIST*)
      [[ $current == *,* ]] && before+=${current%,*}, current=${current##*,}
      mapfile -t COMPREPLY < <(compgen -P "$before" -W "${values#LIST}" -- "$current")
      compopt -o nospace
      return
      ;;
    NONE) return ;;
    ?*)
      mapfile -t COMPREPLY < <(compgen -P "$before" -W "$values" -- "$current")
      return
      ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_parvane_words "$command" -)" -- "$current")
        return
      fi
      ;;
  esac
  compopt -o filenames
  mapfile -t COMPREPLY < <(compgen -P "$before" -f -- "$current")
}
complete -F _parvane parvane
)bash";

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string ValueOf(const OptionText& option) {
  if (option.file) return "FILE";
  if (option.words.empty()) return "NONE";
  return (option.list ? "LIST " : "") + Joined(option.words);
}

}  // namespace

std::string BashCompletion(const std::vector<CommandText>& commands) {
  std::vector<std::string> first = {"help"}, names;
  std::string text;
  for (const CommandText& command : commands) {
    std::vector<std::string> options;
    for (const OptionText& option : command.options) {
      options.insert(options.end(), option.names.begin(), option.names.end());
      if (command.name.empty() || option.value.empty()) continue;
      std::string patterns;
      for (const std::string& name : option.names)
        patterns += (patterns.empty() ? "" : " | ") + command.name + "\\ " + name;
      text += "    " + patterns + ") echo '" + ValueOf(option) + "' ;;\n";
    }
    if (!command.name.empty()) {
      names.push_back(command.name);
      text += "    " + command.name + "\\ -) echo '" + Joined(options) + "' ;;\n";
    }
    std::vector<std::string>& words = command.name.empty() ? first : names;
    if (command.name.empty()) words.insert(words.end(), options.begin(), options.end());
  }
  first.insert(first.begin(), names.begin(), names.end());
  return "# Completion of the parvane command for bash, made from the table of its options.\n"
         "\n# What may stand after an option of a command; after \"-\", its options; after "
         "neither, commands.\n"
         "_parvane_words() {\n  case \"$1 $2\" in\n    \\ ) echo '" +
         Joined(first) + "' ;;\n    help\\ *) echo '" + Joined(names) + "' ;;\n" + text +
         "  esac\n}\n" + std::string(kLogic);
}

}  // namespace parvane::texts
