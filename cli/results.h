// What a command tells while it goes on: results, complaints about what it could not read, and how
// far it is, none of them in another's way.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/progress_line.h"

namespace parvane::cli {

class Results {
 public:
  explicit Results(ProgressStyle style) : _progress(style) {}

  void Write(std::string_view utf8);
  void Progress(const desk::RunFigures& figures) { _progress.Update(figures); }
  // The first few on standard error at once, of the others the number at the end.
  void Complain(const std::string& what);
  std::uint64_t complaints() const { return _complaints; }
  // False when standard output took not all of it; that is said.
  bool Finish();

 private:
  ProgressLine _progress;
  std::uint64_t _complaints = 0;
};

}  // namespace parvane::cli
