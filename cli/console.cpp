#include "cli/console.h"

#include <cstdio>
#include <string>

#include "cli/format.h"

namespace parvane::cli {

bool WriteOutput(std::string_view utf8) {
  return std::fwrite(utf8.data(), 1, utf8.size(), stdout) == utf8.size();
}

bool FlushOutput() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

void WriteMessage(std::string_view utf8) {
  std::fwrite(utf8.data(), 1, utf8.size(), stderr);
  std::fflush(stderr);
}

void WriteError(std::string_view text) {
  std::string line = "parvane: ";
  AppendPrintable(line, text);
  line += '\n';
  WriteMessage(line);
}

}  // namespace parvane::cli
