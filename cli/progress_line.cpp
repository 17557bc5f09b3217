#include "cli/progress_line.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include <fmt/format.h>

#include "cli/console.h"
#include "desk/format.h"
#include "platform/process.h"
#include "platform/time.h"

namespace parvane::cli {
namespace {

using desk::Columns;
using desk::Counted;
using desk::Duration;
using desk::FitColumns;
using desk::RunFigures;
using desk::Size;
using platform::StandardStream;

constexpr std::uint64_t kLiveInterval = 200;     // milliseconds
constexpr std::uint64_t kPlainInterval = 5'000;  // milliseconds
// Before this the rate says nothing about the time left.
constexpr std::uint64_t kWarmUp = 2'000;  // milliseconds
// A name is cut to no less while there are other figures to leave out.
constexpr unsigned kTellingName = 16;  // columns

struct Part {
  std::string text;
  bool indispensable;
};

unsigned Width(const std::vector<Part>& parts) {
  unsigned columns = 0;
  for (const Part& part : parts) columns += 2 + Columns(part.text);
  return columns;
}

std::vector<Part> PartsOf(const RunFigures& figures, std::uint64_t milliseconds) {
  std::vector<Part> parts;
  const std::uint64_t done = std::min(figures.done, figures.total);
  const std::uint64_t elapsed = std::max<std::uint64_t>(milliseconds, 1);
  const std::uint64_t rate = done * 1000 / elapsed;
  if (figures.total > 0) {
    parts.push_back({fmt::format("{} of {}", Size(done), Size(figures.total)), false});
    parts.push_back({fmt::format("{}%", done * 100 / figures.total), true});
  }
  if (figures.messages > 0) parts.push_back({Counted(figures.messages, "message"), false});
  if (figures.total > 0) parts.push_back({Size(rate) + "/s", true});
  if (figures.total > 0 && elapsed >= kWarmUp && rate > 0)
    parts.push_back({Duration((figures.total - done) * 1000 / rate) + " left", true});
  return parts;
}

}  // namespace

ProgressStyle StyleForWork(ProgressChoice choice) {
  if (choice == ProgressChoice::kNever) return ProgressStyle::kNone;
  return choice == ProgressChoice::kAuto && platform::IsInteractive(StandardStream::kError)
             ? ProgressStyle::kLiveLine
             : ProgressStyle::kPlainLines;
}

ProgressStyle StyleForResults(ProgressChoice choice) {
  if (choice == ProgressChoice::kLines) return ProgressStyle::kPlainLines;
  return choice == ProgressChoice::kAuto && platform::IsInteractive(StandardStream::kError) &&
                 !platform::IsPipe(StandardStream::kOutput)
             ? ProgressStyle::kLiveLine
             : ProgressStyle::kNone;
}

std::string ProgressText(const RunFigures& figures, std::uint64_t milliseconds, unsigned columns) {
  std::vector<Part> parts = PartsOf(figures, milliseconds);
  const unsigned name = std::min(Columns(figures.name), kTellingName);
  while (name + Width(parts) > columns) {
    const auto part = std::ranges::find(parts, false, &Part::indispensable);
    if (part == parts.end()) break;
    parts.erase(part);
  }
  const unsigned width = Width(parts);
  std::string text = FitColumns(figures.name, columns > width ? columns - width : 0);
  for (const Part& part : parts) text += (text.empty() ? "" : "  ") + part.text;
  return FitColumns(text, columns);
}

ProgressLine::ProgressLine(ProgressStyle style)
    : _style(style),
      _interval(style == ProgressStyle::kLiveLine ? kLiveInterval : kPlainInterval),
      _start(platform::MonotonicMilliseconds()),
      _lastShown(_start) {}

void ProgressLine::Restart() { _start = platform::MonotonicMilliseconds(); }

void ProgressLine::Update(const RunFigures& figures) {
  if (_style == ProgressStyle::kNone) return;
  const std::uint64_t now = platform::MonotonicMilliseconds();
  if (now - _lastShown < _interval) return;
  _lastShown = now;
  if (_style == ProgressStyle::kPlainLines) {
    constexpr unsigned kAll = std::numeric_limits<unsigned>::max();
    return WriteMessage(ProgressText(figures, now - _start, kAll) + "\n");
  }
  // Rewritten in place; the rest of the old line is erased.
  const unsigned columns = platform::TerminalColumns() - 1;
  WriteMessage("\r" + ProgressText(figures, now - _start, columns) + "\x1b[K");
  _onScreen = true;
}

void ProgressLine::Finish() {
  if (_onScreen) WriteMessage("\r\x1b[K");
  _onScreen = false;
}

}  // namespace parvane::cli
