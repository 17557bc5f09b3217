// Where a conversion is told: the logs, the report, the summary. Opened before the work, so that a
// bad path is not found out after it.
#pragma once

#include <memory>
#include <string_view>

#include "cli/conversion_record.h"
#include "cli/logs.h"
#include "cli/options.h"
#include "cli/text_file.h"
#include "platform/status.h"

namespace parvane::cli {

class Outputs {
 public:
  // Logs, where they are asked for, go to `logs`.
  Outputs(const ConvertOptions& options, Logs& logs) : _options(options), _logs(logs) {}

  // Refuses a log or report that would replace mail (the sources, the PST, any mailbox or PST) or
  // another of them.
  platform::Status CheckApart(std::u16string_view destination) const;
  platform::Status Open();
  // Tells the account in all the ways asked for; what could not be told becomes the record's error.
  // `began`: messages may have been copied.
  void Tell(ConversionRecord& record, bool began);

 private:
  bool ReportsToOutput() const { return _options.report == u"-"; }
  platform::Status OpenReport();

  const ConvertOptions& _options;
  Logs& _logs;
  std::unique_ptr<TextFile> _report;
};

}  // namespace parvane::cli
