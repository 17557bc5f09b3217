#include "cli/progress.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/console.h"
#include "cli/format.h"
#include "platform/file.h"
#include "platform/process.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::cli {
namespace {

constexpr std::uint64_t kLiveInterval = 200;     // milliseconds
constexpr std::uint64_t kPlainInterval = 5'000;  // milliseconds
// Before this the rate says nothing about the time left.
constexpr std::uint64_t kWarmUp = 2'000;  // milliseconds

}  // namespace

Progress::Progress(ProgressStyle style)
    : _style(style),
      _interval(style == ProgressStyle::kLiveLine ? kLiveInterval : kPlainInterval),
      _start(platform::MonotonicMilliseconds()),
      _lastShown(_start) {}

void Progress::BeginFolder(std::string name, std::uint64_t bytesBefore) {
  _folder = std::move(name);
  // A message weighs what it measures with its line ends normalised, so a folder's items do not
  // add up to the size of its file: set straight at every folder.
  _done = bytesBefore;
  ShowIfDue();
}

void Progress::OverallTotal(std::int64_t units) {
  _start = platform::MonotonicMilliseconds();  // what went before was only looking
  _total = static_cast<std::uint64_t>(std::max<std::int64_t>(units, 0));
}

void Progress::IncrementCurrentBy(std::int64_t units) {
  _done += static_cast<std::uint64_t>(std::max<std::int64_t>(units, 0));
  ++_messages;
  ShowIfDue();
}

void Progress::CurrentProgressLabel(std::u16string_view label) {
  if (_total == 0) {  // still walking the sources
    _folder = "Looking at " + platform::PathForDisplay(label);
    ShowIfDue();
  }
}

void Progress::ShowIfDue() {
  if (_style == ProgressStyle::kNone) return;
  const std::uint64_t now = platform::MonotonicMilliseconds();
  if (now - _lastShown < _interval) return;
  _lastShown = now;
  if (_style == ProgressStyle::kPlainLines) {
    WriteMessage(Line(now) + "\n");
    return;
  }
  // Rewritten in place; the rest of the old line is erased.
  WriteMessage("\r" + FitColumns(Line(now), platform::TerminalColumns() - 1) + "\x1b[K");
  _lineOnScreen = true;
}

std::string Progress::Line(std::uint64_t now) const {
  if (_total == 0) return _folder;
  const std::uint64_t done = std::min(_done, _total);
  const std::uint64_t elapsed = std::max<std::uint64_t>(now - _start, 1);
  const std::uint64_t rate = done * 1000 / elapsed;
  std::string line = fmt::format("{}  {} of {}  {}%  {}  {}/s", _folder, Size(done), Size(_total),
                                 done * 100 / _total, Counted(_messages, "message"), Size(rate));
  if (elapsed >= kWarmUp && rate > 0)
    line += fmt::format("  {} left", Duration((_total - done) * 1000 / rate));
  return line;
}

void Progress::Finish() {
  if (_lineOnScreen) WriteMessage("\r\x1b[K");
  _lineOnScreen = false;
}

}  // namespace parvane::cli
