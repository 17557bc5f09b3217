#include "cli/report.h"

#include "cli/format.h"
#include "cli/json_writer.h"
#include "platform/path.h"

namespace parvane::cli {
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

void Path(JsonWriter& json, std::string_view key, const std::vector<std::u16string>& path) {
  json.Key(key).BeginArray();
  for (const std::u16string& name : path) json.String(name);
  json.EndArray();
}

// Each list is written with all its fields, empty or not, so that a query never meets a missing
// key. Codes never change their meaning; the words beside them may.
//
// Text is handed on while it is made: of lists of 100,000 entries the record in memory is enough.
class ReportWriter {
 public:
  ReportWriter(const ConversionRecord& record, const TakeText& take)
      : _record(record), _take(take) {}

  void Run() {
    const ExitCode outcome = Outcome(_record);
    _json.BeginObject();
    _json.Key("format").String(kReportFormat);
    _json.Key("version").Number(kReportVersion);
    _json.Key("program").String("parvane " PARVANE_VERSION);
    _json.Key("outcome").String(OutcomeName(_record));
    _json.Key("exitCode").Number(static_cast<std::uint64_t>(outcome));
    Optional("error", _record.error);
    Optional("errorCode", _record.errorCode);
    Circumstances();
    Totals();
    Folders();
    Failures();
    Remarks();
    LeftOutParts();
    Separators();
    Skipped();
    ReadFailures();
    UnusedIndexes();
    ProfilesInUse();
    Renamed();
    FolderRefusals();
    Continued();
    NotBegun();
    Timings();
    _json.EndObject();
    _take(_json.Take());
  }

 private:
  // Ends an entry of a list that may be long: some 100 KB are handed on at a time.
  void EndEntry() {
    constexpr std::size_t kPiece = 500;
    _json.EndObject();
    if (++_entries % kPiece == 0) _take(_json.Take());
  }

  void Optional(std::string_view key, std::string_view text) {
    _json.Key(key);
    text.empty() ? _json.Null() : _json.String(text);
  }

  void Code(std::string_view code, std::string_view reason) {
    _json.Key("code").String(code);
    _json.Key("reason").String(reason);
  }

  void Circumstances() {
    _json.Key("sources").BeginArray();
    for (const std::u16string& source : _record.sources) _json.String(PathForDisplay(source));
    _json.EndArray();
    _json.Key("destination").String(PathForDisplay(_record.destination));
    Optional("partialFile", PathForDisplay(_record.partial));
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
    _json.Key("readFailures").Number(_record.readFailures.total);
    _json.Key("indexesNotUsed").Number(_record.unusedIndexes.total);
    _json.Key("folderRefusals").Number(_record.folderRefusals.total);
    _json.Key("withoutDate").Number(_record.withoutDate);
    _json.Key("unreadableDate").Number(_record.unreadableDate);
    _json.Key("repairedDate").Number(_record.RemarksOf(engine::RemarkKind::kDateChanged).total);
    _json.Key("deletedSkipped").Number(_record.deletedSkipped);
    _json.Key("copiesSkipped").Number(_record.copiesSkipped);
    _json.Key("folderDataSkipped").Number(_record.folderDataSkipped);
    Kept();
    _json.Key("failures").BeginObject();
    for (std::size_t i = 0; i < kFailureKinds; ++i) {
      _json.Key(ReasonOf(static_cast<FailureKind>(i)).code).Number(_record.failuresOf[i]);
    }
    _json.EndObject();
    _json.Key("remarks").BeginObject();
    for (std::size_t i = 0; i < engine::kRemarkKinds; ++i)
      _json.Key(WordsOf(static_cast<engine::RemarkKind>(i)).code).Number(_record.remarks[i].total);
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

  // Where a message stands: its folder in the PST, and its place in the source file. A Message-ID
  // alone would not do: it may be missing, or there twice.
  void Place(std::size_t folder) {
    Path(_json, "folder", _record.folders[folder].path);
    _json.Key("source").String(PathForDisplay(_record.folders[folder].sourcePath));
  }

  template <typename Entry>
  void Message(const Entry& entry) {
    Path(_json, "folder", _record.folders[entry.folder].path);
    _json.Key("source").String(
        PathForDisplay(entry.path.empty() ? _record.folders[entry.folder].sourcePath : entry.path));
    _json.Key("position").Number(entry.position);
    _json.Key("offset").Number(entry.offset);
    Optional("messageId", entry.messageId);
  }

  void Failures() {
    _json.Key("failures").BeginArray();
    for (const FailedMessage& failure : _record.failures.entries) {
      _json.BeginObject();
      Message(failure);
      Code(ReasonOf(failure.kind).code, ReasonText(failure));
      _json.Key("details").String(failure.details);
      EndEntry();
    }
    _json.EndArray();
  }

  void Remarks() {
    _json.Key("remarks").BeginArray();
    for (std::size_t i = 0; i < engine::kRemarkKinds; ++i) {
      const RemarkWords words = WordsOf(static_cast<engine::RemarkKind>(i));
      for (const MessageRemark& entry : _record.remarks[i].entries) {
        _json.BeginObject();
        Message(entry);
        Code(words.code, words.heading);
        _json.Key("place").String(entry.remark.place);
        _json.Key("text").String(entry.remark.text);
        EndEntry();
      }
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
      EndEntry();
    }
    _json.EndArray();
  }

  void Separators() {
    _json.Key("suspectedSeparators").BeginArray();
    for (const SuspectedSeparator& entry : _record.separators.entries) {
      _json.BeginObject();
      Place(entry.folder);
      _json.Key("offset").Number(entry.offset);
      Code(ReasonOf(entry.reason).code, ReasonOf(entry.reason).text);
      _json.Key("line").String(entry.line);
      _json.Key("textByStrictRule").Bool(entry.textByStrictRule);
      EndEntry();
    }
    _json.EndArray();
  }

  // One list, mail left behind first: who reads no further than its cap reads what matters.
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
    const Reason reason = ReasonOf(entry.reason);
    Code(reason.code, reason.text);
    _json.Key("detail").String(entry.detail);
    _json.Key("leftBehind").Bool(leftBehind);
    _json.Key("advice").String(reason.advice);
    EndEntry();
  }

  void ReadFailures() {
    _json.Key("readFailures").BeginArray();
    for (const ReadFailure& entry : _record.readFailures.entries) {
      _json.BeginObject();
      _json.Key("path").String(PathForDisplay(entry.path));
      _json.Key("offset").Number(entry.offset);
      Code(CodeOf(entry.code), entry.reason);
      EndEntry();
    }
    _json.EndArray();
  }

  void UnusedIndexes() {
    _json.Key("indexesNotUsed").BeginArray();
    for (const UnusedIndex& entry : _record.unusedIndexes.entries) {
      _json.BeginObject();
      _json.Key("path").String(PathForDisplay(entry.path));
      const Reason reason = ReasonOf(entry.fault);
      Code(reason.code, reason.text);
      _json.Key("detail").String(entry.detail);
      EndEntry();
    }
    _json.EndArray();
  }

  void ProfilesInUse() {
    _json.Key("profilesInUse").BeginArray();
    for (const std::u16string& profile : _record.profilesInUse)
      _json.String(PathForDisplay(profile));
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

  void FolderRefusals() {
    _json.Key("folderRefusals").BeginArray();
    for (const FolderRefusal& entry : _record.folderRefusals.entries) {
      _json.BeginObject();
      Path(_json, "path", entry.path);
      _json.Key("place").String(entry.place);
      _json.Key("text").String(entry.text);
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
  const TakeText& _take;
  JsonWriter _json;
  std::uint64_t _entries = 0;
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

void Report(const ConversionRecord& record, const TakeText& take) {
  ReportWriter(record, take).Run();
}

}  // namespace parvane::cli
