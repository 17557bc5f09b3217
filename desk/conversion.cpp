#include "desk/conversion.h"

#include <exception>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "desk/folder_copy.h"
#include "desk/format.h"
#include "desk/logs.h"
#include "desk/mapi_run.h"
#include "desk/outputs.h"
#include "desk/parts.h"
#include "desk/progress.h"
#include "desk/report.h"
#include "desk/selection.h"
#include "desk/source_names.h"
#include "desk/source_opening.h"
#include "desk/source_plan.h"
#include "desk/space_check.h"
#include "desk/witness.h"
#include "factory/source_factory.h"
#include "moves/year_filter.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/stage_times.h"
#include "platform/system.h"

namespace parvane::desk {
namespace {

using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;

class Conversion {
 public:
  Conversion(const ConvertOptions& options, RunObserver& observer)
      : _options(options),
        _observer(observer),
        _outputs(options, _logs),
        _witness(_record, _logs, observer),
        _progress(observer, _record),
        _sources(options, _record, _witness, _progress) {}

  ConversionRecord Run() {
    _record.BeginFor(_options, false);
    const std::uint64_t start = platform::MonotonicMilliseconds();
    if (_options.timings) _times.Start();
    _record.began = PrepareAndCopy();
    _parts.TakeName();
    _record.milliseconds = platform::MonotonicMilliseconds() - start;
    _record.peakMemory = platform::PeakResidentBytes();
    if (_options.timings) TakeTimes();
    _outputs.Tell(_record);
    return std::move(_record);
  }

 private:
  void TakeTimes() {
    _times.Stop();
    for (std::size_t i = 0; i < platform::kStages; ++i) {
      const auto stage = static_cast<platform::Stage>(i);
      const platform::StageTimes::Total total = _times.Of(stage);
      _record.timings.push_back({platform::StageName(stage),
                                 static_cast<std::uint64_t>(total.seconds * 1000 + 0.5),
                                 total.bytes});
    }
  }

  // Whatever happens on the way, there will be an account of it.
  bool PrepareAndCopy() {
    try {
      return Prepare() && Copy();
    } catch (const std::exception& error) {
      Fail(RunProblem::kBrokeOff, InWords(error));
      return _parts.BreakOff(InWords(error));
    }
  }

  // Everything that can be found wrong before anything is written.
  bool Prepare() {
    if (Status begun = _outputs.Begin(); !begun.ok()) return Fail(begun);
    auto sources = RecogniseSources(_options);
    if (!sources.ok()) return Fail(sources.status());
    if (_options.mapi == MapiChoice::kOutlook) {
      auto turn = OutlookTurn::Take();
      if (!turn.ok()) return Fail(turn.status());
      _turn.emplace(std::move(turn).value());
    }
    if (Status taken = _parts.Take(NameForSource(_options.sources.front())); !taken.ok())
      return Fail(taken);
    const std::u16string& destination = _parts.destination().path;
    _record.destination = destination;
    if (Status opened = _outputs.Open(destination, _parts.path()); !opened.ok())
      return Fail(opened);
    _logs.Both(fmt::format("parvane {}: {} -> {}", PARVANE_VERSION, ListOfSources(_options.sources),
                           PathForDisplay(destination)));
    if (!_sources.Open(*sources)) return false;
    _outputs.ForgetOwnFiles(_record, _parts.path());
    return CheckSpace();
  }

  bool CheckSpace() {
    SpaceNeeded needed;
    needed.mailBytes = _sources.plan().TotalBytes();
    needed.sizeLimit = _options.split ? UINT64_MAX : _options.sizeLimit;
    needed.freeBytes = platform::FreeSpace(platform::ParentOfPath(_parts.path()));
    if (_record.appended || _parts.resumes())
      needed.thereAlready = FileSystem::Default().Inspect(_parts.path()).size;
    needed.isPartOfIt = _options.skipExisting || _parts.resumes();
    // What is replaced at once makes room.
    if (needed.freeBytes) *needed.freeBytes += _parts.leftover().value_or(0);
    std::string warning;
    if (Status fits = desk::CheckSpace(needed, &warning); !fits.ok())
      return Fail(Status(fits.code(), PathForDisplay(_record.destination) + ": " + fits.message()));
    if (!warning.empty()) Notice(warning);
    return true;
  }

  // Something to know before the work, which goes on.
  void Notice(const std::string& text) {
    _logs.Both(text);
    _observer.Notice(text);
  }

  bool Copy() {
    if (_options.split.byYear) return CopyYears();
    if (_parts.leftover()) {
      Notice(fmt::format("{}, {} that an earlier run which did not finish has left, is replaced",
                         PathForDisplay(_parts.path()), Size(*_parts.leftover())));
    }
    IAssetFolderMutable* top = _parts.Begin();
    if (!top) return false;
    Selection selection(_options);
    _record.resumed = _parts.resumes();
    selection.LookInto(_parts.finished(), _record.resumed);
    if (_record.resumed) {
      selection.Resume(_parts.there());
      Notice(fmt::format(
          "going on with {}: an earlier run has left {} in it", PathForDisplay(_parts.path()),
          Counted(_parts.there().messages() + _parts.finished().messages(), "message")));
    }
    FolderCopy copy(_sources.plan(), selection, _record, _witness, _logs, _progress, _observer);
    if (_options.split) copy.SplitInto(_parts);
    copy.Run(*top);
    if (_record.undatedTaken) _record.undatedTaken = selection.undatedTaken();
    _parts.End();
    return true;
  }

  // A pass over the sources for each year, after one that learns which there are. False while there
  // is nothing to settle.
  bool CopyYears() {
    Selection selection(_options);
    moves::YearFilter years;
    selection.AskYears(&years);
    FolderCopy copy(_sources.plan(), selection, _record, _witness, _logs, _progress, _observer);
    copy.SplitInto(_parts);
    _witness.BeginReading();
    // What cannot be parsed has no date, and is kept in the pass that takes it.
    factory::KeepErrorDump(false);
    if (!copy.LearnYears(years)) return false;
    if (_record.undatedTaken) _record.undatedTaken = selection.undatedTaken();
    const std::vector<unsigned> all = years.Years();
    if (all.empty())
      return Fail(RunProblem::kNoMailFound, "there is no message to be split by year");
    if (Status free = _parts.CheckYears(all); !free.ok()) return Fail(free);
    _witness.ReadAgain();
    bool began = false;
    for (const unsigned year : all) {
      IAssetFolderMutable* top = _parts.BeginYear(year);
      if (!top) return began;
      began = true;
      if (_parts.goesOn()) selection.Resume(_parts.there());
      _record.resumed = _record.resumed || _parts.goesOn();
      factory::KeepErrorDump(year == moves::kNoYear);
      if (!copy.RunYear(year, *top)) break;
    }
    _parts.End();
    if (_record.error.empty() && !_record.interrupted && years.taken() != years.noted()) {
      Fail(RunProblem::kSourcesChanged,
           fmt::format("the sources changed while they were read: {} at first, {} in all years",
                       Counted(years.noted(), "message"), WithThousands(years.taken())));
    }
    return true;
  }

  bool Fail(const Status& status) {
    _record.Fail(status);
    return false;
  }
  bool Fail(RunProblem problem, std::string reason) {
    _record.Fail(problem, std::move(reason));
    return false;
  }

  const ConvertOptions& _options;
  RunObserver& _observer;
  ConversionRecord _record;
  platform::StageTimes _times;
  std::optional<OutlookTurn> _turn;
  Logs _logs;
  Outputs _outputs;
  Witness _witness;
  Progress _progress;
  // After the witness, which its stores tell.
  SourceOpening _sources;
  Parts _parts{_options, _sources.plan(), _record, _witness, _logs, _progress};
};

}  // namespace

ConversionRecord Convert(const ConvertOptions& options, RunObserver& observer) {
  return Conversion(options, observer).Run();
}

}  // namespace parvane::desk
