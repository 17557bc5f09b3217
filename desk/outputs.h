// The files in which a conversion is told: the logs, the report. Opened before the work, so that a
// bad path is not found out after it; the report before everything else, so that there is one
// however the conversion ends.
#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>

#include "desk/conversion_record.h"
#include "desk/logs.h"
#include "desk/options.h"
#include "desk/report_file.h"
#include "platform/status.h"

namespace parvane::desk {

class Outputs {
 public:
  // Logs, where they are asked for, go to `logs`.
  Outputs(const ConvertOptions& options, Logs& logs) : _options(options), _logs(logs) {}

  // Begins the report; refuses a log or report that would replace mail (the sources, the PST, any
  // mailbox or PST), another of them, or anything else that no run has written.
  platform::Status Begin();
  // The same with the path of the PST as it is settled now; opens the logs.
  platform::Status Open(std::u16string_view destination, std::u16string_view partial);
  // What this run makes may lie among the mail, and was met there: it is none of the other files
  // beside it.
  void ForgetOwnFiles(ConversionRecord& record, std::u16string_view partial) const;
  // Writes the account; what could not be written becomes the record's error.
  void Tell(ConversionRecord& record);

 private:
  bool ReportsToOutput() const { return _options.report == u"-"; }
  platform::Status CheckApart(std::initializer_list<const std::u16string*> outputs,
                              std::u16string_view destination, std::u16string_view partial) const;

  const ConvertOptions& _options;
  Logs& _logs;
  std::optional<ReportFile> _report;
};

}  // namespace parvane::desk
