#include <algorithm>
#include <cctype>

#include "packaging/texts/writers.h"

namespace parvane::texts {
namespace {

// As it is to be read: a hyphen that can be copied, no line that is taken for a request.
std::string Roff(std::string_view text) {
  std::string roff = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
  roff = Replaced(Replaced(roff, "\n.", "\n\\&."), "\n'", "\n\\&'");
  return roff.starts_with('.') || roff.starts_with('\'') ? "\\&" + roff : roff;
}

std::string PageOf(const CommandText& command) {
  return command.name.empty() ? "parvane" : "parvane-" + command.name;
}

std::string LowerFirst(std::string text) {
  if (!text.empty()) text.front() = static_cast<char>(std::tolower(text.front()));
  if (text.ends_with('.')) text.pop_back();
  return text;
}

// Words as they are, what stands for something in italics.
std::string Value(const OptionText& option) {
  std::string value = Roff(option.value);
  const bool placeholder = option.words.empty();
  if (placeholder) return "\\fI" + value + "\\fR";
  for (std::string_view name : {"SIZE", "LIST", "FILE"})
    value = Replaced(value, name, "\\fI" + std::string(name) + "\\fR");
  return value;
}

std::string Options(const CommandText& command) {
  std::string text = ".SH OPTIONS\n";
  for (const OptionText& option : command.options) {
    std::string names;
    for (const std::string& name : option.names)
      names += (names.empty() ? "\\fB" : ", \\fB") + Roff(name) + "\\fR";
    if (!option.value.empty()) names += " " + Value(option);
    std::string about = option.description;
    if (!about.empty()) about.front() = static_cast<char>(std::toupper(about.front()));
    text += ".TP\n" + names + "\n" + Roff(about) + ".\n";
  }
  return text;
}

std::string Synopsis(const CommandText& command, const std::vector<CommandText>& all) {
  if (!command.name.empty()) {
    std::string line = "\\fBparvane " + command.name + "\\fR [\\fIOPTION\\fR]...";
    return line + (command.arguments.empty() ? "" : " \\fI" + Roff(command.arguments) + "\\fR") +
           "\n";
  }
  std::string text;
  for (const CommandText& each : all) {
    if (!each.name.empty()) text += Synopsis(each, all) + ".br\n";
  }
  return text + "\\fBparvane help\\fR [\\fICOMMAND\\fR]\n";
}

std::string Commands(const std::vector<CommandText>& all) {
  std::string text = ".SH COMMANDS\n";
  for (const CommandText& command : all) {
    if (!command.name.empty())
      text += ".TP\n\\fB" + command.name + "\\fR\n" + Roff(command.summary) + ".\n";
  }
  return text;
}

std::string Examples(const CommandText& command) {
  // A line of this section stands by itself, indented or not.
  return command.examples.empty() ? "" : ".SH EXAMPLES\n.nf\n" + Roff(command.examples) + "\n.fi\n";
}

std::string ExitStatus(const CommandText& command) {
  if (command.exitStatus.empty()) return {};
  std::string text = ".SH EXIT STATUS\n";
  for (const auto& [code, meaning] : command.exitStatus)
    text += ".TP\n.B " + code + "\n" + Roff(meaning) + "\n";
  return text;
}

std::string SeeAlso(const CommandText& command, const std::vector<CommandText>& all) {
  std::string text;
  for (const CommandText& other : all) {
    if (&other == &command || other.name == command.name) continue;
    text += (text.empty() ? ".BR " : " ,\n.BR ") + Roff(PageOf(other)) + " (1)";
  }
  return ".SH SEE ALSO\n" + text + "\n";
}

}  // namespace

std::string ManPage(const CommandText& command, const std::vector<CommandText>& all,
                    const std::string& told, const ManualFacts& facts) {
  std::string title = PageOf(command);
  std::ranges::transform(title, title.begin(), [](unsigned char c) { return std::toupper(c); });
  std::size_t second = told.find("\n.SH ", 1);
  second = second == told.npos ? told.size() : second + 1;
  std::string page = ".TH " + Roff(title) + " 1 " + Roff(facts.date) + " \"parvane " +
                     facts.version + "\" \"User Commands\"\n.SH NAME\n";
  page += Roff(PageOf(command)) + " \\- " + Roff(LowerFirst(command.summary)) + "\n";
  page += ".SH SYNOPSIS\n" + Synopsis(command, all) + told.substr(0, second);
  if (command.name.empty()) page += Commands(all);
  page += Options(command) + told.substr(second) + ExitStatus(command) + Examples(command);
  return page + SeeAlso(command, all);
}

}  // namespace parvane::texts
