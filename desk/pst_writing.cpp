#include "desk/pst_writing.h"

#include <string>

#include "desk/folders_there.h"
#include "desk/space_check.h"
#include "engine/destination_observer.h"
#include "factory/store_factory.h"
#include "mapi/options.h"
#include "mapi/system_entry_points.h"
#include "platform/path.h"

namespace parvane::desk {

using CWLEngine::StoreFactory;
using platform::PathForDisplay;
using platform::Status;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;
using QuelmarMIMEEngineCommon::OperationResultCode;

IAssetFolderMutable* PstWriting::Open() {
  SetOptions();
  // A MAPI that does not start is told by the engine, when it finds no session.
  _mapi.emplace(_options.mapi);
  const bool isAddedTo = _destination.existed && !_destination.replaced;
  if ((isAddedTo || _claim.resumes()) && _mapi->status().ok() && !LookAtFolders()) {
    Release();
    return nullptr;
  }
  _store =
      StoreFactory::CreateStoreMutable(CWLEngine::kOrphanPSTMAPIStore, _claim.path(), std::nullopt);
  Watch();
  const OperationResultCode opened = _store->OpenStore(&_progress, &_witness, true, &_witness);
  IAssetFolderMutable* top = _store->GetStoreRootFolderMutable();
  if (opened == OperationResultCode::Completed && top && _account->IsOpen()) return top;
  _store->Release();
  FailToOpen();
  Release();
  return nullptr;
}

void PstWriting::SetOptions() const {
  mapi::BuiltinOptions builtin = mapi::CurrentBuiltinOptions();
  builtin.sizeLimit = _options.sizeLimit;
  builtin.files = _claim.files();
  builtin.newStoreUnfinished = true;
  builtin.newStoreName = platform::StemOfPath(_destination.path);
  mapi::SetBuiltinOptions(builtin);
}

// Mail put into a calendar would make it a mail folder.
bool PstWriting::LookAtFolders() {
  auto there = FoldersThere::In(_claim.path());
  if (!there.ok()) {
    _record.Fail(RunProblem::kPstNotOpened, there.status().message());
    return false;
  }
  _there = std::move(there).value();
  _plan.Avoid(_there);
  _record.renamed = _plan.renamed();
  return true;
}

void PstWriting::Watch() {
  const bool builtin = _options.mapi == MapiChoice::kBuiltin;
  _account = builtin ? BuiltinAccount(_claim.path()) : SystemAccount(_claim.path());
  _witness.Watch(*_account);
  engine::ObserveDestination(*_store, &_witness);
  _steps.InsertInto(*_store);
}

void PstWriting::Close() {
  _store->Release();
  _witness.Settle();
  if (_witness.DestinationFailed()) Fail(RunProblem::kPstNotWritten, "could not be written");
  Release();
}

void PstWriting::Release() {
  _store.reset();
  _mapi.reset();
}

// With the system's MAPI the engine says in its own words that it found none; what is known about
// the reason, and what can be done about it, comes after.
void PstWriting::FailToOpen() {
  const std::string message = _witness.EngineMessage();
  if (message.empty()) return Fail(RunProblem::kPstNotOpened, "could not be opened");
  const Status& started = _mapi->status();
  const std::string reason =
      started.ok() ? _account->Reason() + ". " + mapi::SystemMapiAdvice() : started.message();
  _record.Fail(RunProblem::kPstNotOpened, message + " " + reason);
}

void PstWriting::Fail(RunProblem problem, std::string_view otherwise) {
  std::string reason =
      _witness.Reason(PathForDisplay(_destination.path) + ": " + std::string(otherwise));
  if (_account->Full()) reason.append("; ").append(kSplitAdvice);
  _record.Fail(problem, std::move(reason));
}

}  // namespace parvane::desk
