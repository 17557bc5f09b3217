// The texts that are made of the table, each a file.
#pragma once

#include <string>
#include <vector>

#include "packaging/texts/command_text.h"

namespace parvane::texts {

struct ManualFacts {
  std::string version;  // "0.1.0"
  std::string date;     // "2026-11-22"
};

// A page of section 1. `told` is what the table has no room for, in roff: the section DESCRIPTION,
// which comes before the options, and others that come after them.
std::string ManPage(const CommandText& command, const std::vector<CommandText>& all,
                    const std::string& told, const ManualFacts& facts);

std::string BashCompletion(const std::vector<CommandText>& commands);
std::string ZshCompletion(const std::vector<CommandText>& commands);
std::string FishCompletion(const std::vector<CommandText>& commands);

}  // namespace parvane::texts
