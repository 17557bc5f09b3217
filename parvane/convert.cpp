#include "parvane/convert.h"

#include <exception>
#include <utility>

#include "desk/conversion.h"
#include "desk/format.h"
#include "desk/report.h"
#include "desk/scan.h"
#include "parvane/mapi_choice.h"
#include "parvane/option_words.h"
#include "platform/path.h"

namespace parvane {

struct Account::Record {
  desk::ConversionRecord run;
  bool wrongUsage = false;
};

namespace {

class Watching : public desk::RunObserver {
 public:
  explicit Watching(Observer& observer) : _observer(observer) {}

  void Restart() override { _observer.Restart(); }
  void Progress(const desk::RunFigures& figures, const desk::ConversionRecord&) override {
    _observer.OnProgress({figures.name, figures.done, figures.total, figures.messages});
  }
  void Notice(std::string_view text) override { _observer.OnNotice(text); }
  bool StopRequested() const override { return _observer.IsCancelled(); }

 private:
  Observer& _observer;
};

using Work = desk::ConversionRecord (*)(const desk::ConvertOptions&, desk::RunObserver&);

Account Run(Work work, const std::vector<std::string>& sources, const std::string& destination,
            const ConvertOptions& words, Observer* observer) {
  auto record = std::make_shared<Account::Record>();
  desk::ConvertOptions options;
  std::string fault = Understand(words, options);
  if (fault.empty() && sources.empty()) fault = "there is no source";
  if (fault.empty()) {
    if (platform::Status chosen = ChooseMapi(options.mapi); !chosen.ok()) fault = chosen.message();
  }
  if (!fault.empty()) {
    record->wrongUsage = true;
    record->run.error = std::move(fault);
    return Account(std::move(record));
  }
  for (const std::string& source : sources)
    options.sources.push_back(platform::PathFromNative(source));
  options.destination = platform::PathFromNative(destination);
  Observer nobody;
  Watching watching(observer ? *observer : nobody);
  record->run = work(options, watching);
  return Account(std::move(record));
}

// Where the mail is that a run has written which did not finish.
std::string HowToGoOn(const desk::ConversionRecord& record) {
  const std::string where = record.parts.size() > 1 ? "the PSTs that it names; the last is " : "";
  return "what the summary counts as written is in " + where +
         platform::PathForDisplay(record.partial) +
         ", a PST like any other; run again with --resume to go on, with --overwrite to start "
         "afresh and replace it, or give it another name to keep it";
}

}  // namespace

Account Convert(const std::vector<std::string>& sources, const std::string& destination,
                const ConvertOptions& options, Observer* observer) {
  return Run(desk::Convert, sources, destination, options, observer);
}

Account Scan(const std::vector<std::string>& sources, const std::string& destination,
             const ConvertOptions& options, Observer* observer) {
  return Run(desk::Scan, sources, destination, options, observer);
}

Outcome Account::outcome() const {
  if (_record->wrongUsage) return Outcome::kWrongUsage;
  return static_cast<Outcome>(desk::Outcome(_record->run));
}
const std::string& Account::error() const { return _record->run.error; }
std::uint64_t Account::read() const { return _record->run.Read(); }
std::uint64_t Account::written() const { return _record->run.Written(); }
std::uint64_t Account::failed() const { return _record->run.Failed(); }
std::uint64_t Account::pstBytes() const { return _record->run.pstSize; }

std::vector<FolderTotals> Account::folders() const {
  std::vector<FolderTotals> folders;
  for (const desk::FolderAccount& folder : _record->run.folders) {
    folders.push_back({desk::FolderPath(folder.path), platform::PathForDisplay(folder.sourcePath),
                       folder.read, folder.written, folder.failed});
  }
  return folders;
}

std::string Account::Summary() const {
  return _record->run.began ? desk::Summary(_record->run) : desk::SummaryOfNothing(_record->run);
}

std::string Account::SummaryInOneLine() const { return desk::SummaryInOneLine(_record->run); }

std::vector<std::string> Account::Complaints() const {
  const desk::ConversionRecord& run = _record->run;
  std::vector<std::string> complaints;
  if (!run.error.empty()) complaints.push_back(run.error);
  if (run.interrupted) {
    complaints.emplace_back(run.began && run.appended
                                ? "interrupted; what the summary counts as written is in the PST"
                                : "interrupted");
  }
  if (!run.partial.empty()) complaints.push_back(HowToGoOn(run));
  return complaints;
}

void Account::WriteReport(const std::function<void(std::string_view)>& take) const {
  desk::Report(_record->run, take);
}

}  // namespace parvane
