// The PST in the MAPI that was chosen, open for mail from its making to its close.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "carry/address_step.h"
#include "carry/date_step.h"
#include "carry/header_step.h"
#include "carry/inline_step.h"
#include "carry/key_step.h"
#include "carry/once_step.h"
#include "carry/parts_step.h"
#include "carry/state_step.h"
#include "carry/step_chain.h"
#include "carry/winmail_step.h"
#include "cli/conversion_record.h"
#include "cli/destination.h"
#include "cli/destination_claim.h"
#include "cli/folder_plan.h"
#include "cli/mapi_run.h"
#include "cli/options.h"
#include "cli/progress.h"
#include "cli/pst_account.h"
#include "cli/witness.h"
#include "engine/stores.h"

namespace parvane::cli {

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
  // Whether it has come to opening it, so that there is an account to settle.
  bool began() const { return _account != nullptr; }
  // When all mail has been copied: closes the PST and settles what has become of it.
  void Close();
  // Lets go of the PST and the MAPI, in this order. Nothing has it open then.
  void Release();

 private:
  void SetOptions() const;
  bool AvoidForeignFolders();
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
  carry::KeyStep _keyStep;
  carry::StateStep _stateStep{_witness};
  carry::WinmailStep _winmailStep{_witness};
  carry::AddressStep _addressStep{_witness};
  carry::ItemInHand _itemInHand{_witness};
  carry::HeaderStep _headerStep{_itemInHand};
  carry::DateStep _dateStep{_itemInHand};
  carry::OnceStep _onceStep;
  carry::PartsStep _partsStep{_itemInHand, _steps};
  carry::InlineStep _inlineStep{_itemInHand};
  carry::StepChain _steps;
  std::optional<MapiRun> _mapi;
  std::unique_ptr<PstAccount> _account;
  std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStoreMutable> _store;
};

}  // namespace parvane::cli
