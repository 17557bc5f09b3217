// The progress of a conversion, as the engine tells it to the observer of the run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "desk/run_observer.h"
#include "engine/callbacks.h"

namespace parvane::desk {

class Progress : public QuelmarMIMEEngineCommon::IProgressPresenter {
 public:
  // Both must outlive it.
  Progress(RunObserver& observer, const ConversionRecord& record)
      : _observer(observer), _record(record) {}

  // Before each folder: its name, and the bytes of all folders before it.
  void BeginFolder(std::string name, std::uint64_t bytesBefore);
  // The folder of the items that follow, where folders take turns.
  void GoOnWith(const std::vector<std::u16string>& path);

  void CurrentTotal(std::int64_t) override {}
  void OverallTotal(std::int64_t units) override;
  void IncrementCurrentBy(std::int64_t units) override;
  void CurrentProgressLabel(std::u16string_view label) override;
  void OverAllFoldersLabel(std::u16string_view) override {}
  void ProgressMessage(std::u16string_view) override {}
  void SourceStorePath(std::u16string_view) override {}

 private:
  void Update() { _observer.Progress({_folder, _done, _total, _messages}, _record); }

  RunObserver& _observer;
  const ConversionRecord& _record;
  std::string _folder;
  std::uint64_t _done = 0;  // bytes, of all folders
  std::uint64_t _total = 0;
  std::uint64_t _messages = 0;
};

}  // namespace parvane::desk
