// A run watched from a terminal: progress and notices on standard error, stopped by the signals
// that mean it. For the library's own observers, and for commands that run a part of one.
#pragma once

#include "cli/console.h"
#include "cli/progress_line.h"
#include "desk/run_observer.h"
#include "parvane/convert.h"
#include "platform/process.h"

namespace parvane::cli {

class TerminalRun : public desk::RunObserver, public Observer {
 public:
  TerminalRun(ProgressStyle style, bool tellsNotices) : _line(style), _notices(tellsNotices) {}

  void Finish() { _line.Finish(); }

  // Of both.
  void Restart() override { _line.Restart(); }

  void OnProgress(const parvane::Progress& progress) override {
    _line.Update({progress.folder, progress.done, progress.total, progress.messages});
  }
  void OnNotice(std::string_view text) override { Notice(text); }
  bool IsCancelled() const override { return StopRequested(); }

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
