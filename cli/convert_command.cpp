#include "cli/convert_command.h"

#include <exception>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "cli/destination.h"
#include "cli/folder_copy.h"
#include "cli/logs.h"
#include "cli/mapi_run.h"
#include "cli/outputs.h"
#include "cli/progress.h"
#include "cli/pst_account.h"
#include "cli/report.h"
#include "cli/source_opening.h"
#include "cli/source_plan.h"
#include "cli/witness.h"
#include "engine/factory/store_factory.h"
#include "mapi/options.h"
#include "mapi/system_entry_points.h"
#include "platform/file.h"
#include "platform/process.h"
#include "platform/stage_times.h"
#include "platform/system.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

using CWLEngine::StoreFactory;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;
using QuelmarMIMEEngineCommon::IAssetStoreMutable;
using QuelmarMIMEEngineCommon::OperationResultCode;

class Conversion {
 public:
  explicit Conversion(const ConvertOptions& options)
      : _options(options),
        _outputs(options, _logs),
        _witness(_record, _logs, _interrupt),
        _progress(options.quiet ? ProgressStyle::kNone : StyleForWork(options.progress)),
        _sources(options, _record, _witness, _progress) {}

  ExitCode Run() {
    _record.started = platform::CurrentFileTime();
    const std::uint64_t start = platform::MonotonicMilliseconds();
    if (_options.timings) _times.Start();
    _record.sources = _options.sources;
    _record.mapi = _options.mapi;
    const bool began = PrepareAndConvert();
    _progress.Finish();
    _record.milliseconds = platform::MonotonicMilliseconds() - start;
    _record.peakMemory = platform::PeakResidentBytes();
    if (_options.timings) TakeTimes();
    _outputs.Tell(_record, began);
    return Outcome(_record);
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
  bool PrepareAndConvert() {
    try {
      return Prepare() && Convert();
    } catch (const std::exception& error) {
      Fail(RunProblem::kBrokeOff, InWords(error));
      if (!_pst) return false;
      _witness.EndFolder(InWords(error));
      _witness.Settle();
      return true;
    }
  }

  // Everything that can be found wrong before anything is written.
  bool Prepare() {
    if (Status begun = _outputs.Begin(); !begun.ok()) return Fail(begun);
    auto sources = RecogniseSources(_options);
    if (!sources.ok()) return Fail(sources.status());
    auto destination = CheckDestination(_options, NameForSource(_options.sources.front()));
    if (!destination.ok()) return Fail(destination.status());
    _destination = *std::move(destination);
    if (_options.mapi == MapiChoice::kOutlook) {
      auto turn = OutlookTurn::Take();
      if (!turn.ok()) return Fail(turn.status());
      _turn.emplace(std::move(turn).value());
      // Another program's library need not see this one's current folder.
      _destination.path = platform::CanonicalPath(_destination.path);
    }
    _record.destination = _destination.path;
    _record.appended = _destination.existed && !_destination.replaced;
    if (Status opened = _outputs.Open(_destination.path); !opened.ok()) return Fail(opened);
    _logs.Both(fmt::format("parvane {}: {} -> {}", PARVANE_VERSION, SourcesText(),
                           PathForDisplay(_destination.path)));
    return _sources.Open(*sources);
  }

  bool Convert() {
    mapi::BuiltinOptions builtin = mapi::CurrentBuiltinOptions();
    builtin.sizeLimit = _options.sizeLimit;
    mapi::SetBuiltinOptions(builtin);
    // A MAPI that does not start is told by the engine, when it finds no session.
    const MapiRun mapiRun(_options.mapi);
    if (_record.appended && mapiRun.status().ok() && !AvoidForeignFolders()) return false;
    if (_destination.replaced && mapiRun.status().ok() && !PutOldAside()) return false;
    std::unique_ptr<IAssetStoreMutable> pst = StoreFactory::CreateStoreMutable(
        CWLEngine::kOrphanPSTMAPIStore, _destination.path, std::nullopt);
    MakeAccount(*pst);
    const OperationResultCode opened = pst->OpenStore(&_progress, &_witness, true, &_witness);
    IAssetFolderMutable* top = pst->GetStoreRootFolderMutable();
    if (opened != OperationResultCode::Completed || !top || !_pst->IsOpen()) {
      pst->Release();
      FailToOpen(mapiRun.status());
      if (mapiRun.status().ok()) RemoveStillborn();
      return false;
    }
    if (!_oldPst.empty()) (void)FileSystem::Default().Remove(_oldPst);
    _witness.BeginCopying();
    FolderCopy(_sources.plan(), _record, _witness, _logs, _progress, _interrupt).Run(*top);
    pst->Release();
    _witness.Settle();
    if (_witness.DestinationFailed())
      FailWithReason(RunProblem::kPstNotWritten, "could not be written");
    return true;
  }

  // Mail put into a calendar would make it a mail folder.
  bool AvoidForeignFolders() {
    auto foreign = ForeignFolders::In(_destination.path);
    if (!foreign.ok()) return Fail(RunProblem::kPstNotOpened, foreign.status().message());
    _sources.plan().Avoid(*foreign);
    _record.renamed = _sources.plan().renamed();
    return true;
  }

  void MakeAccount(IAssetStoreMutable& pst) {
    const bool builtin = _options.mapi == MapiChoice::kBuiltin;
    _pst = builtin ? BuiltinAccount(_destination.path) : SystemAccount(_destination.path);
    _witness.Watch(*_pst);
    engine::ObserveDestination(pst, &_witness);
  }

  // With the system's MAPI the engine says in its own words that it found none; what is known about
  // the reason, and what can be done about it, comes after.
  void FailToOpen(const Status& mapiStatus) {
    const std::string message = _witness.EngineMessage();
    if (message.empty()) return FailWithReason(RunProblem::kPstNotOpened, "could not be opened");
    const std::string reason =
        mapiStatus.ok() ? _pst->Reason() + ". " + mapi::SystemMapiAdvice() : mapiStatus.message();
    Fail(RunProblem::kPstNotOpened, message + " " + reason);
  }

  void FailWithReason(RunProblem problem, std::string_view otherwise) {
    Fail(problem,
         _witness.Reason(PathForDisplay(_destination.path) + ": " + std::string(otherwise)));
  }

  // An empty shell that was made a moment ago and could not be opened is not left to puzzle people.
  void RemoveStillborn() {
    if (_destination.existed && !_destination.replaced) return;
    (void)FileSystem::Default().Remove(_destination.path);
    if (!_oldPst.empty())
      (void)FileSystem::Default().Rename(_oldPst, _destination.path, /*replace=*/false);
  }

  // The PST that is to be replaced goes once there is another.
  bool PutOldAside() {
    const std::u16string aside =
        _destination.path +
        platform::Utf8ToUtf16(fmt::format(".{}.replaced", platform::ProcessIdentifier()));
    Status moved = FileSystem::Default().Rename(_destination.path, aside, /*replace=*/false);
    if (!moved.ok()) return Fail(moved);
    _oldPst = aside;
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

  std::string SourcesText() const {
    std::string text;
    for (const std::u16string& source : _options.sources)
      text += (text.empty() ? "" : ", ") + PathForDisplay(source);
    return text;
  }

  const ConvertOptions& _options;
  platform::InterruptWatch _interrupt;
  Destination _destination;
  ConversionRecord _record;
  platform::StageTimes _times;
  std::u16string _oldPst;  // where it waits; empty: nowhere
  std::optional<OutlookTurn> _turn;
  std::unique_ptr<PstAccount> _pst;
  Logs _logs;
  Outputs _outputs;
  Witness _witness;
  Progress _progress;
  // After the witness, which its stores tell.
  SourceOpening _sources;
};

}  // namespace

ExitCode RunConvert(const ConvertOptions& options) { return Conversion(options).Run(); }

}  // namespace parvane::cli
