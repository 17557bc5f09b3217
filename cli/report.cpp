#include "cli/report.h"

#include "cli/format.h"
#include "cli/json_writer.h"
#include "platform/file.h"

namespace parvane::cli {
namespace {

using platform::PathForDisplay;

std::string_view OutcomeName(ExitCode code) {
  switch (code) {
    case ExitCode::kDone:
      return "complete";
    case ExitCode::kMailLeftBehind:
      return "complete with failures";
    case ExitCode::kInterrupted:
      return "interrupted";
    default:
      return "could not finish";
  }
}

void Path(JsonWriter& json, std::string_view key, const std::vector<std::u16string>& path) {
  json.Key(key).BeginArray();
  for (const std::u16string& name : path) json.String(name);
  json.EndArray();
}

class ReportWriter {
 public:
  explicit ReportWriter(const ConversionRecord& record) : _record(record) {}

  std::string Run() {
    const ExitCode outcome = Outcome(_record);
    _json.BeginObject();
    _json.Key("format").String("parvane conversion report");
    _json.Key("version").Number(kReportVersion);
    _json.Key("program").String("parvane " PARVANE_VERSION);
    _json.Key("outcome").String(OutcomeName(outcome));
    _json.Key("exitCode").Number(static_cast<std::uint64_t>(outcome));
    _json.Key("error");
    if (_record.error.empty()) {
      _json.Null();
    } else {
      _json.String(_record.error);
    }
    Circumstances();
    Totals();
    Folders();
    Failures();
    LeftOutParts();
    Separators();
    Skipped();
    ReadFailures();
    Renamed();
    Continued();
    NotBegun();
    Timings();
    _json.EndObject();
    return _json.Take();
  }

 private:
  void Circumstances() {
    _json.Key("sources").BeginArray();
    for (const std::u16string& source : _record.sources) _json.String(PathForDisplay(source));
    _json.EndArray();
    _json.Key("destination").String(PathForDisplay(_record.destination));
    _json.Key("appended").Bool(_record.appended);
    _json.Key("started").String(IsoTime(_record.started));
    _json.Key("seconds").Seconds(_record.milliseconds);
    const bool builtin = _record.mapi == MapiChoice::kBuiltin;
    _json.Key("mapi").String(builtin ? "builtin" : "outlook");
    _json.Key("writtenMeans").String(builtin ? "committed to the file" : "accepted by Outlook");
    _json.Key("pstBytes").Number(_record.pstSize);
    _json.Key("peakMemoryBytes").Number(_record.peakMemory);
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
    _json.Key("written").Number(_record.Written());
    _json.Key("failed").Number(_record.Failed());
    _json.Key("bytes").Number(_record.Bytes());
    _json.Key("partsLeftOut").Number(_record.leftOutParts.total);
    _json.Key("suspectedSeparators").Number(_record.separators.total);
    _json.Key("pathsPassedOver")
        .Number(_record.leftBehind.total + _record.passedOver.total + _record.otherFiles.total);
    _json.Key("pathsLeftBehind").Number(_record.leftBehind.total);
    _json.Key("readFailures").Number(_record.readFailures.size());
    _json.Key("withoutDate").Number(_record.withoutDate);
    _json.Key("unreadableDate").Number(_record.unreadableDate);
    _json.Key("repairedDate").Number(_record.repairedDate);
    _json.EndObject();
  }

  void Folders() {
    _json.Key("folders").BeginArray();
    for (const FolderAccount& folder : _record.folders) {
      _json.BeginObject();
      Path(_json, "path", folder.path);
      _json.Key("source").String(PathForDisplay(folder.sourcePath));
      _json.Key("read").Number(folder.read);
      _json.Key("written").Number(folder.written);
      _json.Key("failed").Number(folder.failed);
      _json.Key("bytes").Number(folder.bytes);
      _json.EndObject();
    }
    _json.EndArray();
  }

  // Where a message stands: its folder in the PST, and its place in the source file.
  void Place(std::size_t folder) {
    Path(_json, "folder", _record.folders[folder].path);
    _json.Key("source").String(PathForDisplay(_record.folders[folder].sourcePath));
  }

  void Failures() {
    _json.Key("failures").BeginArray();
    for (const FailedMessage& failure : _record.failures) {
      _json.BeginObject();
      Place(failure.folder);
      _json.Key("position").Number(failure.position);
      _json.Key("offset").Number(failure.offset);
      _json.Key("messageId");
      failure.messageId.empty() ? _json.Null() : _json.String(failure.messageId);
      _json.Key("reason").String(failure.reason);
      _json.Key("details").String(failure.details);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void LeftOutParts() {
    _json.Key("partsLeftOut").BeginArray();
    for (const LeftOutPart& entry : _record.leftOutParts.entries) {
      _json.BeginObject();
      Place(entry.folder);
      _json.Key("position").Number(entry.position);
      _json.Key("contentType").String(entry.part.contentType);
      _json.Key("name").String(entry.part.name);
      _json.Key("bytes").Number(entry.part.size);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Separators() {
    _json.Key("suspectedSeparators").BeginArray();
    for (const SuspectedSeparator& entry : _record.separators.entries) {
      _json.BeginObject();
      Place(entry.folder);
      _json.Key("offset").Number(entry.offset);
      _json.Key("reason").String(Describe(entry.reason));
      _json.Key("line").String(entry.line);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Skipped() {
    _json.Key("passedOver").BeginArray();
    for (const SkippedPath& entry : _record.leftBehind.entries) Skipped(entry, true);
    for (const SkippedPath& entry : _record.passedOver.entries) Skipped(entry, false);
    for (const SkippedPath& entry : _record.otherFiles.entries) Skipped(entry, false);
    _json.EndArray();
  }

  void Skipped(const SkippedPath& entry, bool leftBehind) {
    _json.BeginObject();
    _json.Key("path").String(PathForDisplay(entry.path));
    _json.Key("reason").String(Describe(entry.reason));
    _json.Key("detail").String(entry.detail);
    _json.Key("leftBehind").Bool(leftBehind);
    _json.Key("advice").String(Advice(entry.reason));
    _json.EndObject();
  }

  void ReadFailures() {
    _json.Key("readFailures").BeginArray();
    for (const ReadFailure& entry : _record.readFailures) {
      _json.BeginObject();
      _json.Key("path").String(PathForDisplay(entry.path));
      _json.Key("offset").Number(entry.offset);
      _json.Key("reason").String(entry.reason);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Renamed() {
    _json.Key("renamedFolders").BeginArray();
    for (const RenamedFolder& entry : _record.renamed) {
      _json.BeginObject();
      _json.Key("wanted").String(entry.wanted);
      Path(_json, "path", entry.path);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Continued() {
    _json.Key("continuedFolders").BeginArray();
    for (const ContinuedFolder& folder : _record.continued) {
      _json.BeginObject();
      Path(_json, "path", folder.path);
      Path(_json, "next", folder.next);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void NotBegun() {
    _json.Key("foldersNotBegun").BeginArray();
    for (const UnreadFolder& entry : _record.notBegun) {
      _json.BeginObject();
      Path(_json, "path", entry.path);
      _json.Key("source").String(PathForDisplay(entry.sourcePath));
      _json.EndObject();
    }
    _json.EndArray();
  }

  const ConversionRecord& _record;
  JsonWriter _json;
};

}  // namespace

ExitCode Outcome(const ConversionRecord& record) {
  if (!record.error.empty()) return ExitCode::kCouldNotFinish;
  if (record.interrupted) return ExitCode::kInterrupted;
  if (record.Failed() > 0 || !record.leftBehind.empty() || !record.readFailures.empty())
    return ExitCode::kMailLeftBehind;
  return ExitCode::kDone;
}

std::string Report(const ConversionRecord& record) { return ReportWriter(record).Run(); }

}  // namespace parvane::cli
