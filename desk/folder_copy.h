// Copies the mail of a folder plan into an open PST, folder by folder, and keeps the record of it.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "desk/conversion_record.h"
#include "desk/folder_plan.h"
#include "desk/logs.h"
#include "desk/made_folders.h"
#include "desk/parts.h"
#include "desk/progress.h"
#include "desk/run_observer.h"
#include "desk/selection.h"
#include "desk/source_witness.h"
#include "engine/folders.h"
#include "engine/turns.h"
#include "moves/selected_folder.h"

namespace parvane::desk {

class FolderCopy : private moves::SelectionObserver {
 public:
  FolderCopy(const FolderPlan& plan, Selection& selection, ConversionRecord& record,
             SourceWitness& witness, Logs& logs, Progress& progress, const RunObserver& observer)
      : _plan(plan),
        _selection(selection),
        _record(record),
        _witness(witness),
        _logs(logs),
        _progress(progress),
        _observer(observer) {}

  // The mail goes to one PST after the other, as they fill up; the first one is open. Each gets
  // only the folders that hold mail of it.
  void SplitInto(Parts& parts) { _parts = &parts; }
  // Below `top`. Stops early when it is interrupted or a folder cannot be copied, which the record
  // then tells, along with the folders it did not come to.
  void Run(QuelmarMIMEEngineCommon::IAssetFolderMutable& top);
  // The same by years, which the selection asks: a pass that copies nothing and notes which there
  // are, then one for each. False when there is no going on.
  bool LearnYears(moves::YearFilter& years);
  bool RunYear(unsigned year, QuelmarMIMEEngineCommon::IAssetFolderMutable& top);

 private:
  // Over all folders that have something for it. False when the conversion has to stop here.
  bool Pass();
  bool IsLearning() const { return _years && _years->IsLearning(); }
  // What a pass over these folders reads.
  std::uint64_t BytesOf(unsigned year) const;
  // False when the conversion has to stop here.
  bool CopyFolder(std::size_t folder);
  // The same for the folders of a source that is read from front to back, which take turns.
  bool CopyTurns(engine::TurnTaker& source);
  // Null for folders that are read by themselves.
  static engine::TurnTaker* TakerOf(const PlannedFolder& planned);
  bool IsLastOf(const engine::TurnTaker& taker, std::size_t folder) const;
  // In the record, a new one in the first pass.
  std::size_t BeginAccount(const PlannedFolder& planned);
  // Each false when the copy has to stop, which is noted.
  bool CopyInto(std::size_t folder, std::size_t account);
  bool CopyIntoParts(std::size_t folder, std::size_t account);
  bool BeginSelection(const PlannedFolder& planned, std::size_t account,
                      QuelmarMIMEEngineCommon::IAssetFolderMutable* target);
  bool CopyFrom(moves::SelectedFolder& source, const PlannedFolder& planned,
                QuelmarMIMEEngineCommon::IAssetFolderMutable* target);
  bool GoOnInNextPart(std::size_t account);
  bool FailSelection();
  // After a query or copy that ended without a problem.
  bool GoesOn(bool canceled);
  // The turn of a folder that was not chosen: its messages are counted.
  bool PassOverTurn(const PlannedFolder& leftOut);
  bool ItemPassedOver(const moves::Judgement& why, std::int64_t units) override;
  bool Fail(RunProblem problem, const platform::Status& why);
  void LogFolders(std::size_t first);
  // From this folder of the plan on.
  bool NoteNotBegun(std::size_t first);

  struct Turn {
    std::size_t folder;  // of the plan
    std::size_t account;
  };

  const FolderPlan& _plan;
  Selection& _selection;
  ConversionRecord& _record;
  SourceWitness& _witness;
  Logs& _logs;
  Progress& _progress;
  const RunObserver& _observer;
  MadeFolders _made{_plan};
  Parts* _parts = nullptr;  // null: one PST
  moves::YearFilter* _years = nullptr;
  unsigned _year = 0;
  std::uint64_t _bytesBefore = 0;  // of the folders before
  bool _enough = false;            // ItemPassedOver said so
  std::size_t _firstTurn = 0;      // of the accounts of these
  std::unordered_map<const QuelmarMIMEEngineCommon::IAssetFolder*, Turn> _turns;
  // Those of folders that were not chosen too.
  std::unordered_map<const PlannedFolder*, std::size_t> _accounts;
};

}  // namespace parvane::desk
