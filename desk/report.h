// The account of a conversion for people (the closing summary) and for programs (JSON).
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "desk/conversion_record.h"
#include "desk/exit_code.h"

namespace parvane::desk {

// The exit code that says what the record says.
ExitCode Outcome(const ConversionRecord& record);

// A line for each folder, the totals, and a line for whatever the owner of the mail should know.
std::string Summary(const ConversionRecord& record);
// The totals, and how many things there are to look at.
std::string SummaryInOneLine(const ConversionRecord& record);
// When the conversion did not begin: only what was found on the way to that.
std::string SummaryOfNothing(const ConversionRecord& record);

// The JSON report; docs/manual.md describes its fields. Fields are added without notice, the
// version changes when one changes its meaning or goes.
inline constexpr unsigned kReportVersion = 2;
inline constexpr std::string_view kReportFormat = "parvane conversion report";
// That of a scan: what a conversion would count, of what reading tells.
inline constexpr unsigned kScanVersion = 1;
inline constexpr std::string_view kScanFormat = "parvane scan";
bool BeginsLikeReport(std::string_view text);
// Piece by piece, since the lists may be long.
using TakeText = std::function<void(std::string_view)>;
void Report(const ConversionRecord& record, const TakeText& take);

}  // namespace parvane::desk
