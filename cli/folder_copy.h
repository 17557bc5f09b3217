// Copies the mail of a folder plan into an open PST, folder by folder, and keeps the record of it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/conversion_record.h"
#include "cli/folder_plan.h"
#include "cli/logs.h"
#include "cli/progress.h"
#include "cli/witness.h"
#include "engine/folders.h"
#include "platform/process.h"

namespace parvane::cli {

class FolderCopy {
 public:
  FolderCopy(const FolderPlan& plan, ConversionRecord& record, Witness& witness, Logs& logs,
             Progress& progress, const platform::InterruptWatch& interrupt)
      : _plan(plan),
        _record(record),
        _witness(witness),
        _logs(logs),
        _progress(progress),
        _interrupt(interrupt) {}

  // Below `top`. Stops early when it is interrupted or a folder cannot be copied, which the record
  // then tells, along with the folders it did not come to.
  void Run(QuelmarMIMEEngineCommon::IAssetFolderMutable& top);

 private:
  // False when the conversion has to stop here.
  bool CopyFolder(const PlannedFolder& planned,
                  QuelmarMIMEEngineCommon::IAssetFolderMutable* target);
  void LogFolders(std::size_t first);
  // From this folder of the plan on.
  void NoteNotBegun(std::size_t first);

  const FolderPlan& _plan;
  ConversionRecord& _record;
  Witness& _witness;
  Logs& _logs;
  Progress& _progress;
  const platform::InterruptWatch& _interrupt;
};

}  // namespace parvane::cli
