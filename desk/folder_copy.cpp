#include "desk/folder_copy.h"

#include <algorithm>
#include <exception>

#include <fmt/format.h>

#include "desk/format.h"
#include "platform/path.h"

namespace parvane::desk {

using platform::PathForDisplay;
using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;
using QuelmarMIMEEngineCommon::OperationResultCode;

void FolderCopy::Run(IAssetFolderMutable& top) {
  _progress.OverallTotal(static_cast<std::int64_t>(_plan.TotalBytes()));
  _made.BeginBelow(top);
  Pass();
}

bool FolderCopy::LearnYears(moves::YearFilter& years) {
  _years = &years;
  _progress.OverallTotal(static_cast<std::int64_t>(_plan.TotalBytes()));
  if (!Pass()) return false;
  std::uint64_t total = _plan.TotalBytes();
  for (const unsigned year : years.Years()) total += BytesOf(year);
  _progress.OverallTotal(static_cast<std::int64_t>(total));
  return true;
}

bool FolderCopy::RunYear(unsigned year, IAssetFolderMutable& top) {
  _years->Take(year);
  _year = year;
  _made.BeginBelow(top);
  return Pass();
}

std::uint64_t FolderCopy::BytesOf(unsigned year) const {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < _plan.folders().size(); ++i)
    bytes += _years->Has(i, year) ? _plan.folders()[i].bytes : 0;
  return bytes;
}

bool FolderCopy::Pass() {
  const std::vector<PlannedFolder>& folders = _plan.folders();
  for (std::size_t i = 0; i < folders.size(); ++i) {
    const PlannedFolder& planned = folders[i];
    // Folders without items would never ask.
    _record.interrupted = _observer.StopRequested();
    if (_record.interrupted) return NoteNotBegun(i);
    if (!_parts && !_selection.MayMake(planned.path)) {
      Fail(RunProblem::kOtherSources, _selection.problem());
      return NoteNotBegun(i);
    }
    if (!_parts) _made.Make(i);
    if (!planned.TakesMail()) continue;
    engine::TurnTaker* taker = TakerOf(planned);
    // Whose folders take turns is read whole.
    if (!taker && _years && !IsLearning() && !_years->Has(i, _year)) continue;
    if (!taker || _turns.empty()) _progress.BeginFolder(FolderPath(planned.path), _bytesBefore);
    _bytesBefore += planned.bytes;
    if (taker) {
      if (_turns.empty()) _firstTurn = _record.folders.size();
      _turns.emplace(planned.source, Turn{i, BeginAccount(planned)});
      if (IsLastOf(*taker, i) && !CopyTurns(*taker)) return NoteNotBegun(i + 1);
    } else if (!CopyFolder(i)) {
      return NoteNotBegun(i + 1);
    }
  }
  return true;
}

engine::TurnTaker* FolderCopy::TakerOf(const PlannedFolder& planned) {
  return planned.source->OwnerStore() ? engine::TurnTakerOf(*planned.source->OwnerStore())
                                      : nullptr;
}

bool FolderCopy::IsLastOf(const engine::TurnTaker& taker, std::size_t folder) const {
  const auto& folders = _plan.folders();
  const auto next = std::find_if(folders.begin() + static_cast<std::ptrdiff_t>(folder) + 1,
                                 folders.end(), [](const auto& one) { return one.TakesMail(); });
  return next == folders.end() || TakerOf(*next) != &taker;
}

std::size_t FolderCopy::BeginAccount(const PlannedFolder& planned) {
  const auto [account, begins] = _accounts.try_emplace(&planned, _record.folders.size());
  if (begins)
    _record.folders.push_back({planned.path, planned.source->FolderDiskPath().value_or(u"")});
  _witness.BeginFolder(account->second);
  return account->second;
}

bool FolderCopy::CopyFolder(std::size_t folder) {
  const PlannedFolder& planned = _plan.folders()[folder];
  const std::size_t first = BeginAccount(planned);
  const bool goesOn = CopyInto(folder, first);
  _selection.EndFolder(first);
  planned.source->ResetQuery();  // closes its file
  if (_record.error.empty()) LogFolders(first);
  return goesOn;
}

bool FolderCopy::CopyTurns(engine::TurnTaker& source) {
  const std::size_t first = _firstTurn;
  bool goesOn = true;
  source.BeginTurns();
  while (goesOn) {
    const IAssetFolder* next = source.NextTurn();
    const auto turn = _turns.find(next);
    if (turn == _turns.end()) {
      const PlannedFolder* leftOut = next ? _plan.LeftOutOf(*next) : nullptr;
      if (!leftOut) break;
      goesOn = PassOverTurn(*leftOut);
      continue;
    }
    const auto& [planned, account] = turn->second;
    _progress.GoOnWith(_plan.folders()[planned].path);
    _witness.BeginFolder(account);
    goesOn = CopyInto(planned, account);
  }
  source.EndTurns();
  for (const auto& [folder, turn] : _turns) {
    _selection.EndFolder(turn.account);
    if (!goesOn && !_years && _record.folders[turn.account].read == 0) {
      _record.notBegun.push_back(
          {_plan.folders()[turn.folder].path, folder->FolderDiskPath().value_or(u"")});
    }
  }
  _turns.clear();
  if (_record.error.empty()) LogFolders(first);
  return goesOn;
}

bool FolderCopy::PassOverTurn(const PlannedFolder& leftOut) {
  BeginAccount(leftOut);
  leftOut.source->ResetQuery();
  while (const auto item = leftOut.source->QueryAsset()) {
    if (!ItemPassedOver({moves::Verdict::kNotChosen}, item->AssetUnitSize())) break;
  }
  _witness.EndFolder({});
  return GoesOn(/*canceled=*/false);
}

bool FolderCopy::CopyInto(std::size_t folder, std::size_t account) {
  if (_years) _years->BeginFolder(folder);
  if (IsLearning()) {
    moves::SelectedFolder source(*_plan.folders()[folder].source, _selection, *this);
    source.ResetQuery();
    source.QueryAsset();  // of which there is none that the selection takes
    return GoesOn(/*canceled=*/false);
  }
  if (_parts) return CopyIntoParts(folder, account);
  const PlannedFolder& planned = _plan.folders()[folder];
  IAssetFolderMutable* target = _made.Make(folder);
  if (!BeginSelection(planned, account, target)) return false;
  moves::SelectedFolder source(*planned.source, _selection, *this);
  return CopyFrom(source, planned, target);
}

bool FolderCopy::CopyIntoParts(std::size_t folder, std::size_t account) {
  const PlannedFolder& planned = _plan.folders()[folder];
  // One that is in the PST already may have mail of it.
  IAssetFolderMutable* there = _parts->Has(planned.path) ? _made.Make(folder) : nullptr;
  if (!BeginSelection(planned, account, there)) return false;
  moves::PartFilter& part = _parts->filter();
  moves::FilterChain filters;
  filters.Add(_selection);
  filters.Add(part);
  moves::SelectedFolder source(*planned.source, filters, *this);
  part.BeginFolder(_made.Has(folder));
  if (!_made.Has(folder)) {
    // The filter takes nothing yet: whether there is anything is all that this tells.
    source.ResetQuery();
    source.QueryAsset();
    if (!_selection.problem().ok()) return FailSelection();
    if (!source.HoldsItem()) return GoesOn(/*canceled=*/false);
  }
  do {
    if (source.HoldsItem() && part.IsFull() && !GoOnInNextPart(account)) return false;
    IAssetFolderMutable* target = _made.Make(folder);
    part.BeginFolder(true);
    if (!CopyFrom(source, planned, target)) return false;
  } while (source.HoldsItem());
  return true;
}

bool FolderCopy::GoOnInNextPart(std::size_t account) {
  IAssetFolderMutable* top = _parts->GoOn();
  if (!top) {
    _witness.EndFolder(_record.error);
    return false;
  }
  _made.BeginBelow(*top);
  // Where the folder before filled up, the item in hand was to go to another beside it.
  _witness.GoOnIn(account);
  return true;
}

bool FolderCopy::BeginSelection(const PlannedFolder& planned, std::size_t account,
                                IAssetFolderMutable* target) {
  const platform::Status begun = _selection.BeginFolder(account, planned.path, target);
  return begun.ok() || Fail(RunProblem::kPstNotRead, begun.WithContext(FolderPath(planned.path)));
}

bool FolderCopy::FailSelection() {
  _witness.PutBack();
  return Fail(RunProblem::kOtherSources, _selection.problem());
}

bool FolderCopy::CopyFrom(moves::SelectedFolder& source, const PlannedFolder& planned,
                          IAssetFolderMutable* target) {
  std::string problem;
  OperationResultCode code = OperationResultCode::Failed;
  if (!target) {
    problem = _witness.Reason("the folder " + FolderPath(planned.path) + " could not be made");
    _witness.EndFolder(problem);
    _record.Fail(RunProblem::kFolderNotMade, problem);
    return false;
  }
  try {
    code = target->CopyAssets(&source, &_progress, &_witness, &_witness).Code;
    if (code == OperationResultCode::Failed) problem = "the folder does not take these items";
  } catch (const std::exception& error) {
    problem = InWords(error);
  }
  if (!_selection.problem().ok()) return FailSelection();
  // One that is held back is not done with.
  if (!problem.empty() || !source.HoldsItem()) _witness.EndFolder(problem);
  if (problem.empty()) return GoesOn(code == OperationResultCode::Canceled);
  _record.Fail(RunProblem::kBrokeOff, FolderPath(planned.path) + ": " + problem);
  return false;
}

bool FolderCopy::GoesOn(bool canceled) {
  if (!canceled && !_enough) return true;
  _record.interrupted = _observer.StopRequested();
  return false;
}

bool FolderCopy::ItemPassedOver(const moves::Judgement& why, std::int64_t units) {
  _witness.PassOver(why);
  _progress.IncrementCurrentBy(units);
  _enough = _witness.Cancel();
  return !_enough;
}

bool FolderCopy::Fail(RunProblem problem, const platform::Status& why) {
  _record.Fail(problem, why.message());
  return false;
}

// A folder that filled up was continued in others.
void FolderCopy::LogFolders(std::size_t first) {
  if (_years) return;
  for (std::size_t i = first; i < _record.folders.size(); ++i) {
    const FolderAccount& account = _record.folders[i];
    _logs.Both(fmt::format("{}: {} from {}", FolderPath(account.path),
                           Counted(account.read, "message"), PathForDisplay(account.sourcePath)));
  }
}

bool FolderCopy::NoteNotBegun(std::size_t first) {
  // Of a folder some years may be there, and others not.
  if (_years) return false;
  for (std::size_t i = first; i < _plan.folders().size(); ++i) {
    const PlannedFolder& planned = _plan.folders()[i];
    if (planned.TakesMail())
      _record.notBegun.push_back({planned.path, planned.source->FolderDiskPath().value_or(u"")});
  }
  return false;
}

}  // namespace parvane::desk
