// A scan or a conversion: begun by one request, followed by others, on the worker's thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/attention.h"
#include "app/json.h"
#include "desk/conversion_record.h"
#include "desk/options.h"
#include "desk/run_observer.h"

namespace parvane::app {

enum class RunKind { kScan, kConvert };

class Run final : private desk::RunObserver {
 public:
  // `interrupted`: whether the program is to end.
  Run(RunKind kind, desk::ConvertOptions options, std::function<bool()> interrupted);

  // On the thread that runs it.
  void Do();

  // On any thread. `attentionFrom`: the number of things that the asker knows already.
  std::string Describe(std::size_t attentionFrom) const;
  void Stop() { _stop = true; }
  bool IsOver() const;
  RunKind kind() const { return _kind; }
  // Empty until it is over: the report, as JSON and as a page, and what was written.
  std::string Report() const;
  std::string ReportPage() const;
  std::vector<std::u16string> Written() const;

 private:
  struct Folder {
    Json path;
    std::uint64_t read = 0, written = 0, failed = 0;
  };

  void Restart() override;
  void Progress(const desk::RunFigures& figures, const desk::ConversionRecord& record) override;
  void Notice(std::string_view text) override;
  bool StopRequested() const override { return _stop || _interrupted(); }

  void Take(const desk::ConversionRecord& record);
  void Finish(desk::ConversionRecord record);
  Json Figures() const;
  Json Folders() const;

  const RunKind _kind;
  const desk::ConvertOptions _options;
  const std::function<bool()> _interrupted;
  std::atomic<bool> _stop{false};

  mutable std::mutex _mutex;
  std::string _state = "running";
  std::string _name;  // of what is worked at
  std::uint64_t _done = 0, _total = 0, _messages = 0;
  std::uint64_t _began, _told = 0, _ended = 0;  // platform::MonotonicMilliseconds
  std::vector<Folder> _folders;
  Attention _attention;
  Json _notices = Json::array();
  std::string _report, _summary;
  std::optional<desk::ConversionRecord> _record;
  std::vector<std::u16string> _written;
};

}  // namespace parvane::app
