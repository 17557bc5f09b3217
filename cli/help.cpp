#include "cli/help.h"

#include <algorithm>
#include <string_view>

namespace parvane::cli {
namespace {

constexpr std::size_t kColumns = 80;

}  // namespace

// CLI11 marks the positional arguments, whose name already says that there may be several, once
// more.
std::string HelpFormat::make_usage(const CLI::App* app, std::string name) const {
  std::string usage = CLI::Formatter::make_usage(app, std::move(name));
  const std::size_t dots = usage.find(".pst...");
  if (dots != usage.npos) usage.erase(dots + 4, 3);
  return usage;
}

std::string HelpFormat::make_option(const CLI::Option* option, bool positional) const {
  std::string line = "  " + option->get_name(positional, !positional);
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
