#include "desk/report.h"

#include <string>

#include "desk/format.h"
#include "desk/json_writer.h"
#include "desk/report_lists.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;

// A word for what the exit code says as a number; failed messages and mail left behind share a
// code.
std::string_view OutcomeName(const ConversionRecord& record) {
  switch (Outcome(record)) {
    case ExitCode::kDone:
      return "complete";
    case ExitCode::kMailLeftBehind:
      return record.Failed() > 0 ? "complete with failures" : "complete, mail left behind";
    case ExitCode::kInterrupted:
      return "interrupted";
    default:
      return "could not finish";
  }
}

// Each list is written with all its fields, empty or not, so that a query never meets a missing
// key. Codes never change their meaning; the words beside them may.
//
// Text is handed on while it is made: of lists of 100,000 entries the record in memory is enough.
class ReportWriter {
 public:
  ReportWriter(const ConversionRecord& record, const TakeText& take)
      : _record(record), _take(take), _scan(record.forecast.has_value()) {}

  void Run() {
    const ExitCode outcome = Outcome(_record);
    _json.BeginObject();
    _json.Key("format").String(_scan ? kScanFormat : kReportFormat);
    _json.Key("version").Number(_scan ? kScanVersion : kReportVersion);
    _json.Key("program").String("parvane " PARVANE_VERSION);
    _json.Key("outcome").String(OutcomeName(_record));
    _json.Key("exitCode").Number(static_cast<std::uint64_t>(outcome));
    Optional("error", _record.error);
    Optional("errorCode", _record.errorCode);
    Circumstances();
    if (_scan) Forecast();
    Totals();
    Folders();
    WriteReportLists(_record, _json, _take);
    Timings();
    _json.EndObject();
    _take(_json.Take());
  }

 private:
  void Optional(std::string_view key, std::string_view text) {
    _json.Key(key);
    text.empty() ? _json.Null() : _json.String(text);
  }

  void Circumstances() {
    _json.Key("sources").BeginArray();
    for (const std::u16string& source : _record.sources) _json.String(PathForDisplay(source));
    _json.EndArray();
    Optional("destination", PathForDisplay(_record.destination));
    if (!_scan) Optional("partialFile", PathForDisplay(_record.partial));
    if (!_scan) Parts();
    _json.Key("appended").Bool(_record.appended);
    _json.Key("resumed").Bool(_record.resumed);
    _json.Key("started").String(IsoTime(_record.started));
    _json.Key("seconds").Seconds(_record.milliseconds);
    if (!_scan) Writing();
    _json.Key("peakMemoryBytes").Number(_record.peakMemory);
  }

  void Writing() {
    const bool builtin = _record.mapi == MapiChoice::kBuiltin;
    _json.Key("mapi").String(builtin ? "builtin" : "outlook");
    _json.Key("writtenMeans").String(builtin ? "committed to the file" : "accepted by Outlook");
    _json.Key("pstBytes").Number(_record.pstSize);
  }

  // null: not all mail was read, or none.
  void Forecast() {
    const bool known = _record.error.empty() && !_record.interrupted;
    const ScanEstimate& forecast = *_record.forecast;
    _json.Key("estimate").BeginObject();
    Optional("pstBytes", known ? std::optional(forecast.PstBytes()) : std::nullopt);
    _json.Key("seconds");
    known ? _json.Seconds(forecast.Milliseconds()) : _json.Null();
    _json.Key("warnings").BeginArray();
    for (const std::string& warning : forecast.warnings) _json.String(warning);
    _json.EndArray();
    _json.EndObject();
  }

  void Dates(const DateRange& dates) {
    Optional("firstDate", IsoTime(dates.first));
    Optional("lastDate", IsoTime(dates.last));
    _json.Key("undated").Number(dates.undated);
  }

  void Years(const YearCounts& years) {
    _json.Key("years").BeginObject();
    for (const auto& [year, messages] : years) _json.Key(std::to_string(year)).Number(messages);
    _json.EndObject();
  }

  void Parts() {
    _json.Key("parts").BeginArray();
    for (const PartAccount& part : _record.parts) {
      _json.BeginObject();
      _json.Key("path").String(PathForDisplay(part.path));
      _json.Key("written").Number(part.written);
      _json.Key("pstBytes").Number(part.bytes);
      _json.EndObject();
    }
    _json.EndArray();
    _json.Key("oldParts").BeginArray();
    for (const std::u16string& path : _record.oldParts) _json.String(PathForDisplay(path));
    _json.EndArray();
  }

  void Timings() {
    if (_record.timings.empty()) return;
    _json.Key("timings").BeginArray();
    for (const StageTiming& timing : _record.timings) {
      _json.BeginObject();
      _json.Key("stage").String(timing.stage);
      _json.Key("seconds").Seconds(timing.milliseconds);
      _json.Key("bytes").Number(timing.bytes);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Totals() {
    _json.Key("totals").BeginObject();
    _json.Key("folders").Number(_record.folders.size());
    _json.Key("read").Number(_record.Read());
    if (!_scan) _json.Key("written").Number(_record.Written());
    _json.Key("failed").Number(_record.Failed());
    _json.Key("bytes").Number(_record.Bytes());
    if (_scan) Dates(_record.Dates());
    Years(_record.Years());
    if (!_scan) _json.Key("partsLeftOut").Number(_record.leftOutParts.total);
    _json.Key("suspectedSeparators").Number(_record.separators.total);
    _json.Key("pathsPassedOver")
        .Number(_record.leftBehind.total + _record.passedOver.total + _record.otherFiles.total);
    _json.Key("pathsLeftBehind").Number(_record.leftBehind.total);
    _json.Key("readFailures").Number(_record.readFailures.total);
    _json.Key("indexesNotUsed").Number(_record.unusedIndexes.total);
    if (!_scan) _json.Key("folderRefusals").Number(_record.folderRefusals.total);
    _json.Key("withoutDate").Number(_record.withoutDate);
    _json.Key("unreadableDate").Number(_record.unreadableDate);
    _json.Key("repairedDate").Number(_record.RemarksOf(engine::RemarkKind::kDateChanged).total);
    _json.Key("deletedSkipped").Number(_record.deletedSkipped);
    _json.Key("copiesSkipped").Number(_record.copiesSkipped);
    _json.Key("foldersNotChosen").Number(_record.foldersNotChosen.total);
    Optional("undatedTaken", _record.undatedTaken);
    _json.Key("folderDataSkipped").Number(_record.folderDataSkipped);
    for (const PassedOverWords& words : kPassedOverWords)
      _json.Key(words.code).Number(_record.PassedOver(words.why));
    Kept();
    _json.Key("failures").BeginObject();
    for (std::size_t i = 0; i < kFailureKinds; ++i) {
      _json.Key(ReasonOf(static_cast<FailureKind>(i)).code).Number(_record.failuresOf[i]);
    }
    _json.EndObject();
    _json.Key("remarks").BeginObject();
    for (std::size_t i = 0; i < engine::kRemarkKinds; ++i) {
      const auto kind = static_cast<engine::RemarkKind>(i);
      if (!_scan || IsForetold(kind))
        _json.Key(WordsOf(kind).code).Number(_record.remarks[i].total);
    }
    _json.EndObject();
    _json.EndObject();
  }

  // null: nobody asked for it, which is not the same as none.
  template <typename Count>
  void Optional(std::string_view key, const std::optional<Count>& count) {
    _json.Key(key);
    count ? _json.Number(*count) : _json.Null();
  }

  void Kept() {
    _json.Key("stateKept");
    if (const auto& kept = _record.stateKept) {
      _json.BeginObject();
      for (std::size_t i = 0; i < carry::kStateKinds; ++i)
        _json.Key(WordsOf(static_cast<carry::StateKind>(i)).code).Number((*kept)[i]);
      _json.EndObject();
    } else {
      _json.Null();
    }
    _json.Key("winmail");
    if (const auto& winmail = _record.winmail) {
      _json.BeginObject();
      _json.Key("opened").Number(winmail->opened);
      _json.Key("attachments").Number(winmail->attachments);
      _json.Key("kept").Number(winmail->kept);
      _json.EndObject();
    } else {
      _json.Null();
    }
    Optional("addressesKept", _record.addressesKept);
    _json.Key("kept").BeginObject();
    for (std::size_t i = 0; i < carry::kMailCounts; ++i)
      Optional(WordsOf(static_cast<carry::MailCount>(i)).code, _record.mailKept[i]);
    _json.EndObject();
  }

  void Folders() {
    _json.Key("folders").BeginArray();
    for (const FolderAccount& folder : _record.folders) {
      _json.BeginObject();
      WritePath(_json, "path", folder.path);
      _json.Key("source").String(PathForDisplay(folder.sourcePath));
      _json.Key("read").Number(folder.read);
      if (!_scan) _json.Key("written").Number(folder.written);
      _json.Key("failed").Number(folder.failed);
      _json.Key("bytes").Number(folder.bytes);
      for (const PassedOverWords& words : kPassedOverWords)
        _json.Key(words.code).Number(folder.passedOver[ReasonIndex(words.why)]);
      if (_scan) Dates(folder.dates);
      Years(folder.years);
      _json.Key("parts").BeginArray();
      for (const std::size_t part : folder.parts) _json.Number(part + 1);
      _json.EndArray();
      _json.EndObject();
    }
    _json.EndArray();
  }

  const ConversionRecord& _record;
  const TakeText& _take;
  const bool _scan;
  JsonWriter _json;
};

}  // namespace

// The worst that happened decides. Remarks that tell of a change to a message, and parts left out
// of it, are no failure: the message is there. What the PST refused is one.
ExitCode Outcome(const ConversionRecord& record) {
  if (!record.error.empty()) return ExitCode::kCouldNotFinish;
  if (record.interrupted) return ExitCode::kInterrupted;
  if (record.Failed() > 0 || !record.leftBehind.empty() || !record.readFailures.empty() ||
      !record.folderRefusals.empty() || !record.RemarksOf(engine::RemarkKind::kRefused).empty()) {
    return ExitCode::kMailLeftBehind;
  }
  return ExitCode::kDone;
}

bool BeginsLikeReport(std::string_view text) {
  return text.find(kReportFormat) != text.npos || text.find(kScanFormat) != text.npos;
}

void Report(const ConversionRecord& record, const TakeText& take) {
  ReportWriter(record, take).Run();
}

}  // namespace parvane::desk
