// The program's two voices: results on standard output, everything else on standard error.
#pragma once

#include <string_view>

namespace parvane::cli {

// Results. False once standard output takes no more (a closed pipe).
bool WriteOutput(std::string_view utf8);
bool FlushOutput();

void WriteMessage(std::string_view utf8);
// "parvane: <text>" and a line end; control characters in `text`, which may hold file names, are
// shown as "?", so that one error is one line.
void WriteError(std::string_view text);

}  // namespace parvane::cli
