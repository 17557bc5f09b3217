// The progress of a conversion, as the engine tells it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/progress_line.h"
#include "engine/callbacks.h"

namespace parvane::cli {

class Progress : public QuelmarMIMEEngineCommon::IProgressPresenter {
 public:
  explicit Progress(ProgressStyle style) : _line(style) {}

  // Before each folder: its name, and the bytes of all folders before it.
  void BeginFolder(std::string name, std::uint64_t bytesBefore);
  // The folder of the items that follow, where folders take turns.
  void GoOnWith(const std::vector<std::u16string>& path);
  void Finish() { _line.Finish(); }

  void CurrentTotal(std::int64_t) override {}
  void OverallTotal(std::int64_t units) override;
  void IncrementCurrentBy(std::int64_t units) override;
  void CurrentProgressLabel(std::u16string_view label) override;
  void OverAllFoldersLabel(std::u16string_view) override {}
  void ProgressMessage(std::u16string_view) override {}
  void SourceStorePath(std::u16string_view) override {}

 private:
  void Update() { _line.Update({_folder, _done, _total, _messages}); }

  ProgressLine _line;
  std::string _folder;
  std::uint64_t _done = 0;  // bytes, of all folders
  std::uint64_t _total = 0;
  std::uint64_t _messages = 0;
};

}  // namespace parvane::cli
