// A run watched from a terminal: progress and notices on standard error, stopped by the signals
// that mean it.
#pragma once

#include "cli/console.h"
#include "cli/progress_line.h"
#include "desk/run_observer.h"
#include "platform/process.h"

namespace parvane::cli {

class TerminalRun : public desk::RunObserver {
 public:
  TerminalRun(ProgressStyle style, bool tellsNotices) : _line(style), _notices(tellsNotices) {}

  void Finish() { _line.Finish(); }

  void Restart() override { _line.Restart(); }
  void Progress(const desk::RunFigures& figures, const desk::ConversionRecord&) override {
    _line.Update(figures);
  }
  void Notice(std::string_view text) override {
    if (_notices) WriteError(text);
  }
  bool StopRequested() const override { return _interrupt.Requested(); }

 private:
  platform::InterruptWatch _interrupt;
  ProgressLine _line;
  bool _notices;
};

}  // namespace parvane::cli
