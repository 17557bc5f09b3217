// How help looks: names on the left, what they mean on the right, within 80 columns.
#pragma once

#include <cstddef>
#include <string>

#include <CLI/CLI.hpp>

namespace parvane::cli {

class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat() { column_width(kTextColumn); }
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_option(const CLI::Option* option, bool positional) const override;

 private:
  static constexpr std::size_t kTextColumn = 26;
};

}  // namespace parvane::cli
