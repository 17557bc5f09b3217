// Progress on standard error, for any command: one live line on a terminal, a plain line every few
// seconds elsewhere.
//
//   Inbox  12.3 MB of 45.6 MB  27%  3,210 messages  41.0 MB/s  0:02 left
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/options.h"
#include "desk/run_observer.h"

namespace parvane::cli {

enum class ProgressStyle { kNone, kLiveLine, kPlainLines };

// For a command whose work is to change something: elsewhere than on a terminal, lines.
ProgressStyle StyleForWork(ProgressChoice choice);
// For one that writes results to standard output meanwhile: without a terminal nothing, and neither
// when another program reads the results, because that may be what owns the screen (a pager).
ProgressStyle StyleForResults(ProgressChoice choice);

// All of it where `columns` allow it. Where they don't, the name is cut, then the figures go that
// say least; percent, rate and time left stay.
std::string ProgressText(const desk::RunFigures& figures, std::uint64_t milliseconds,
                         unsigned columns);

class ProgressLine {
 public:
  explicit ProgressLine(ProgressStyle style);
  ~ProgressLine() { Finish(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // What went before was only preparation: the clock for the rate begins anew.
  void Restart();
  // Shows the figures when it is time to.
  void Update(const desk::RunFigures& figures);
  // Takes the live line off the screen, so that other text can be written.
  void Finish();

 private:
  ProgressStyle _style;
  std::uint64_t _interval;  // milliseconds
  std::uint64_t _start;
  std::uint64_t _lastShown;
  bool _onScreen = false;
};

}  // namespace parvane::cli
