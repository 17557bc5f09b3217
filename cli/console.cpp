#include "cli/console.h"

#include <string>

#include "desk/format.h"
#include "platform/process.h"

namespace parvane::cli {
using desk::AppendPrintable;
using platform::StandardStream;

bool WriteOutput(std::string_view utf8) {
  return platform::WriteStandardStream(StandardStream::kOutput, utf8);
}

bool FlushOutput() { return platform::FlushStandardStream(StandardStream::kOutput); }

void WriteMessage(std::string_view utf8) {
  (void)platform::WriteStandardStream(StandardStream::kError, utf8);
  (void)platform::FlushStandardStream(StandardStream::kError);
}

void WriteError(std::string_view text) {
  std::string line = "parvane: ";
  AppendPrintable(line, text);
  line += '\n';
  WriteMessage(line);
}

}  // namespace parvane::cli
