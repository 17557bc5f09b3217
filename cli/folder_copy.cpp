#include "cli/folder_copy.h"

#include <exception>

#include <fmt/format.h>

#include "cli/format.h"
#include "platform/path.h"

namespace parvane::cli {

using platform::PathForDisplay;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;
using QuelmarMIMEEngineCommon::OperationResultCode;

void FolderCopy::Run(IAssetFolderMutable& top) {
  _progress.OverallTotal(static_cast<std::int64_t>(_plan.TotalBytes()));
  std::uint64_t bytesBefore = 0;
  std::vector<IAssetFolderMutable*> made;
  const std::vector<PlannedFolder>& folders = _plan.folders();
  for (std::size_t i = 0; i < folders.size(); ++i) {
    const PlannedFolder& planned = folders[i];
    // Folders without items would never ask.
    _record.interrupted = _interrupt.Requested();
    if (_record.interrupted) return NoteNotBegun(i);
    IAssetFolderMutable* parent = planned.parent == kTopFolder ? &top : made[planned.parent];
    made.push_back(parent ? parent->CreateAssetFolder(planned.name, planned.type) : nullptr);
    if (!planned.TakesMail()) continue;
    _progress.BeginFolder(FolderPath(planned.path), bytesBefore);
    bytesBefore += planned.bytes;
    if (!CopyFolder(planned, made.back())) return NoteNotBegun(i + 1);
  }
}

bool FolderCopy::CopyFolder(const PlannedFolder& planned, IAssetFolderMutable* target) {
  const std::size_t first = _record.folders.size();
  _record.folders.push_back(
      {planned.path, planned.source->FolderDiskPath().value_or(u""), 0, 0, 0, 0});
  _witness.BeginFolder(first);
  if (!target) {
    _record.Fail(RunProblem::kFolderNotMade,
                 _witness.Reason("the folder " + FolderPath(planned.path) + " could not be made"));
    return false;
  }
  std::string problem;
  OperationResultCode code = OperationResultCode::Failed;
  try {
    code = target->CopyAssets(planned.source, &_progress, &_witness, &_witness).Code;
    if (code == OperationResultCode::Failed) problem = "the folder does not take these items";
  } catch (const std::exception& error) {
    problem = InWords(error);
  }
  _witness.EndFolder(problem);
  planned.source->ResetQuery();  // closes its file
  if (!problem.empty()) {
    _record.Fail(RunProblem::kBrokeOff, FolderPath(planned.path) + ": " + problem);
    return false;
  }
  LogFolders(first);
  if (code != OperationResultCode::Canceled) return true;
  _record.interrupted = _interrupt.Requested();
  return false;
}

// A folder that filled up was continued in others.
void FolderCopy::LogFolders(std::size_t first) {
  for (std::size_t i = first; i < _record.folders.size(); ++i) {
    const FolderAccount& account = _record.folders[i];
    _logs.Both(fmt::format("{}: {} from {}", FolderPath(account.path),
                           Counted(account.read, "message"), PathForDisplay(account.sourcePath)));
  }
}

void FolderCopy::NoteNotBegun(std::size_t first) {
  for (std::size_t i = first; i < _plan.folders().size(); ++i) {
    const PlannedFolder& planned = _plan.folders()[i];
    if (planned.TakesMail())
      _record.notBegun.push_back({planned.path, planned.source->FolderDiskPath().value_or(u"")});
  }
}

}  // namespace parvane::cli
