// The PST in the MAPI that was chosen, open for mail from its making to its close.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "desk/conversion_record.h"
#include "desk/destination.h"
#include "desk/destination_claim.h"
#include "desk/folder_plan.h"
#include "desk/folders_there.h"
#include "desk/keep_steps.h"
#include "desk/mapi_run.h"
#include "desk/options.h"
#include "desk/progress.h"
#include "desk/pst_account.h"
#include "desk/witness.h"
#include "engine/stores.h"

namespace parvane::desk {

class PstWriting {
 public:
  // All of it must outlive this; the claim has begun when the PST is opened.
  PstWriting(const ConvertOptions& options, const Destination& destination,
             const DestinationClaim& claim, FolderPlan& plan, ConversionRecord& record,
             Witness& witness, Progress& progress)
      : _options(options),
        _destination(destination),
        _claim(claim),
        _plan(plan),
        _record(record),
        _witness(witness),
        _progress(progress) {}
  ~PstWriting() { Release(); }
  PstWriting(const PstWriting&) = delete;
  PstWriting& operator=(const PstWriting&) = delete;

  // The PST's top folder; null when there is none, and the record says why.
  QuelmarMIMEEngineCommon::IAssetFolderMutable* Open();
  // What it had when it was opened; nothing, when it is new.
  const FoldersThere& there() const { return _there; }
  // Of the PST, once it began.
  const PstAccount& account() const { return *_account; }
  // Whether it has come to opening it, so that there is an account to settle.
  bool began() const { return _account != nullptr; }
  // When all mail has been copied: closes the PST and settles what has become of it.
  void Close();
  // Lets go of the PST and the MAPI, in this order. Nothing has it open then.
  void Release();

 private:
  void SetOptions() const;
  bool LookAtFolders();
  void Watch();
  void FailToOpen();
  void Fail(RunProblem problem, std::string_view otherwise);

  const ConvertOptions& _options;
  const Destination& _destination;
  const DestinationClaim& _claim;
  FolderPlan& _plan;
  ConversionRecord& _record;
  Witness& _witness;
  Progress& _progress;
  KeepSteps _steps{_options.keep, _witness};
  FoldersThere _there;
  std::optional<MapiRun> _mapi;
  std::unique_ptr<PstAccount> _account;
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStoreMutable> _store;
};

}  // namespace parvane::desk
