#include "cli/help.h"

#include <algorithm>
#include <string_view>

namespace parvane::cli {
namespace {

constexpr std::size_t kColumns = 80;

}  // namespace

// Arguments that people see as several, and CLI11 as one under a name without spaces, go by their
// text.
std::string HelpFormat::make_usage(const CLI::App* app, std::string name) const {
  std::string usage = CLI::Formatter::make_usage(app, std::move(name));
  for (const CLI::Option* option : app->get_options()) {
    if (!option->get_positional() || option->get_option_text().empty()) continue;
    const std::string shown = "[" + option->get_name(true) + "...]";
    const std::size_t at = usage.find(shown);
    if (at != usage.npos) usage.replace(at, shown.size(), option->get_option_text());
  }
  return usage;
}

std::string HelpFormat::make_option(const CLI::Option* option, bool positional) const {
  const std::string& own = option->get_option_text();
  std::string line = "  " + (own.empty() ? option->get_name(positional, !positional) : own);
  if (!positional && option->get_type_size() != 0) line += " " + option->get_type_name();
  std::string text;
  const auto endLine = [&] {
    text += line + "\n";
    line.assign(kTextColumn - 1, ' ');
  };
  if (line.size() + 2 > kTextColumn) endLine();
  line.resize(kTextColumn - 1, ' ');
  const std::string description = option->get_description();
  for (std::string_view rest = description; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    if (line.size() + 1 + word.size() > kColumns) endLine();
    line.append(1, ' ').append(word);
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
  }
  endLine();
  return text;
}

}  // namespace parvane::cli
