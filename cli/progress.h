// Progress on standard error: one live line on a terminal, a plain line every few seconds
// elsewhere.
//
//   Inbox  12.3 of 45.6 MB  27%  3,210 messages  41.0 MB/s  0:02 left
#pragma once

#include <cstdint>
#include <string>

#include "engine/callbacks.h"

namespace parvane::cli {

enum class ProgressStyle { kNone, kLiveLine, kPlainLines };

class Progress : public QuelmarMIMEEngineCommon::IProgressPresenter {
 public:
  explicit Progress(ProgressStyle style);
  ~Progress() override { Finish(); }

  // Before each folder: its name, and the bytes of all folders before it.
  void BeginFolder(std::string name, std::uint64_t bytesBefore);
  // Takes the live line off the screen, so that other text can be written.
  void Finish();

  void CurrentTotal(std::int64_t) override {}
  void OverallTotal(std::int64_t units) override;
  void IncrementCurrentBy(std::int64_t units) override;
  void CurrentProgressLabel(std::u16string_view label) override;
  void OverAllFoldersLabel(std::u16string_view) override {}
  void ProgressMessage(std::u16string_view) override {}
  void SourceStorePath(std::u16string_view) override {}

 private:
  void ShowIfDue();
  std::string Line(std::uint64_t now) const;

  ProgressStyle _style;
  std::uint64_t _interval;  // milliseconds
  std::uint64_t _start;
  std::uint64_t _lastShown;
  std::string _folder;
  std::uint64_t _done = 0;  // bytes, of all folders
  std::uint64_t _total = 0;
  std::uint64_t _messages = 0;
  bool _lineOnScreen = false;
};

}  // namespace parvane::cli
