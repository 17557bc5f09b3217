#include "desk/scan.h"

#include <exception>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "desk/destination.h"
#include "desk/folder_copy.h"
#include "desk/folders_there.h"
#include "desk/format.h"
#include "desk/logs.h"
#include "desk/mail_in_parts.h"
#include "desk/mapi_run.h"
#include "desk/outputs.h"
#include "desk/part_names.h"
#include "desk/progress.h"
#include "desk/report.h"
#include "desk/scan_folder.h"
#include "desk/scan_witness.h"
#include "desk/selection.h"
#include "desk/source_names.h"
#include "desk/source_opening.h"
#include "desk/source_plan.h"
#include "desk/space_check.h"
#include "factory/source_factory.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;
using platform::Status;

class Scanning {
 public:
  Scanning(const ConvertOptions& options, RunObserver& observer)
      : _options(options),
        _observer(observer),
        _outputs(options, _logs),
        _witness(_record, _logs, observer, options.keep),
        _progress(observer, _record),
        _sources(options, _record, _witness, _progress) {}

  ConversionRecord Run() {
    const std::uint64_t start = platform::MonotonicMilliseconds();
    _record.BeginFor(_options, true);
    factory::KeepErrorDump(false);
    _record.began = PrepareAndRead();
    _record.milliseconds = platform::MonotonicMilliseconds() - start;
    _record.peakMemory = platform::PeakResidentBytes();
    _record.forecast->SetReading(_record.milliseconds);
    if (_record.began) CheckRoom();
    _outputs.Tell(_record);
    return std::move(_record);
  }

 private:
  bool PrepareAndRead() {
    try {
      if (!Prepare()) return false;
      Read();
      return true;
    } catch (const std::exception& error) {
      _record.Fail(RunProblem::kBrokeOff, InWords(error));
      return _began;
    }
  }

  bool Prepare() {
    if (Status begun = _outputs.Begin(); !begun.ok()) return Fail(begun);
    auto sources = RecogniseSources(_options);
    if (!sources.ok()) return Fail(sources.status());
    if (!_options.destination.empty()) {
      auto destination = CheckDestination(_options, NameForSource(_options.sources.front()));
      if (!destination.ok()) return Fail(destination.status());
      _destination = *std::move(destination);
      _record.destination = _destination.path;
      _record.appended = _destination.existed && !_destination.replaced;
    }
    if (Status opened = _outputs.Open(_destination.path, {}); !opened.ok()) return Fail(opened);
    _logs.Both(
        fmt::format("parvane {}: scan of {}", PARVANE_VERSION, ListOfSources(_options.sources)));
    if (!_sources.Open(*sources)) return false;
    _outputs.ForgetOwnFiles(_record, {});
    const Status looked = LookAtDestination();
    return looked.ok() || Fail(looked);
  }

  // At a PST that mail would be added to, and its further parts: what it has decides about names,
  // and about what is not written again.
  Status LookAtDestination() {
    const std::vector<std::u16string> psts = PstsToAddTo();
    if (psts.empty()) return {};
    _mapi.emplace(_options.mapi);
    if (!_mapi->status().ok()) return _mapi->status();
    auto folders = FoldersThere::In(psts.front());
    if (!folders.ok()) return folders.status();
    _sources.plan().Avoid(*folders);
    _record.renamed = _sources.plan().renamed();
    for (const std::u16string& pst : psts) {
      if (!_options.skipExisting) return {};
      if (Status added = _there.Add(pst); !added.ok()) return added;
    }
    return {};
  }

  std::vector<std::u16string> PstsToAddTo() const {
    if (_options.split.byYear && _options.append) return YearsThere(_destination.path);
    if (!_record.appended) return {};
    std::vector<std::u16string> psts = {_destination.file};
    const std::size_t parts = _options.split.bySize ? PartsThere(_destination.path) : 1;
    for (std::size_t i = 2; i <= parts; ++i) psts.push_back(PartPath(_destination.path, i));
    return psts;
  }

  void Read() {
    _began = true;
    _witness.BeginReading();
    ScanFolder top(_witness, QuelmarMIMEEngineCommon::kAssetFolderTypeAssets);
    Selection selection(_options);
    selection.LookInto(_there, false);
    FolderCopy(_sources.plan(), selection, _record, _witness, _logs, _progress, _observer).Run(top);
    if (_record.undatedTaken) _record.undatedTaken = selection.undatedTaken();
    _record.forecast->AddFolders(_sources.plan().folders().size());
  }

  // With what is known now, and not only of the mail that may be large.
  void CheckRoom() {
    if (_options.destination.empty() || !_record.error.empty() || _record.interrupted) return;
    ScanEstimate& forecast = *_record.forecast;
    const std::uint64_t size = forecast.PstBytes();
    const std::uint64_t there =
        _record.appended ? platform::FileSystem::Default().Inspect(_destination.file).size : 0;
    if (_options.resume) {
      forecast.warnings.emplace_back(
          "what an unfinished run has left was not looked into: its mail is counted again");
    }
    const auto free = platform::FreeSpace(platform::ParentOfPath(_destination.file));
    if (free && size > *free) {
      forecast.warnings.push_back(
          fmt::format("only {} are free where the PST would be made", Size(*free)));
    }
    if (size + there > _options.sizeLimit && !_options.split) {
      forecast.warnings.push_back(fmt::format("the PST would reach its limit of {}; {}",
                                              Size(_options.sizeLimit), kSplitAdvice));
    }
  }

  bool Fail(const Status& status) {
    _record.Fail(status);
    return false;
  }

  const ConvertOptions& _options;
  RunObserver& _observer;
  Destination _destination;
  ConversionRecord _record;
  Logs _logs;
  Outputs _outputs;
  ScanWitness _witness;
  Progress _progress;
  SourceOpening _sources;
  std::optional<MapiRun> _mapi;
  MailInParts _there;
  bool _began = false;
};

}  // namespace

ConversionRecord Scan(const ConvertOptions& options, RunObserver& observer) {
  return Scanning(options, observer).Run();
}

}  // namespace parvane::desk
