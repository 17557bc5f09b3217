// What the application gives the engine: progress display, cancellation and the two logs.
//
// All are called on the thread that drives the conversion. Wherever the engine takes one of these
// it also takes null and then does without.
#pragma once

#include <cstdint>
#include <string_view>

namespace QuelmarMIMEEngineCommon {

// Write-only properties.
class IProgressPresenter {
 public:
  virtual ~IProgressPresenter() = default;

  virtual void CurrentTotal(std::int64_t units) = 0;  // of the folder now being copied
  virtual void OverallTotal(std::int64_t units) = 0;
  virtual void IncrementCurrentBy(std::int64_t units) = 0;  // advance the folder's bar
  virtual void CurrentProgressLabel(std::u16string_view label) = 0;
  virtual void OverAllFoldersLabel(std::u16string_view label) = 0;
  virtual void ProgressMessage(std::u16string_view message) = 0;
  virtual void SourceStorePath(std::u16string_view path) = 0;
};

class ICancelable {
 public:
  virtual ~ICancelable() = default;
  // Polled between directory entries and after each item; true when the user asked to stop.
  virtual bool Cancel() = 0;
};

class ILogger {
 public:
  virtual ~ILogger() = default;
  // The flags say to which of the two logs the line goes.
  virtual void WriteLog(std::u16string_view logString, bool briefLog, bool detailLog) = 0;
};

}  // namespace QuelmarMIMEEngineCommon
