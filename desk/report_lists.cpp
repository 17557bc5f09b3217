#include "desk/report_lists.h"

#include "desk/format.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;

class ListWriter {
 public:
  ListWriter(const ConversionRecord& record, JsonWriter& json, const TakeText& take)
      : _record(record), _json(json), _take(take) {}

  void Run() {
    Failures();
    Remarks();
    Duplicates();
    if (!_record.forecast) LeftOutParts();
    Separators();
    Skipped();
    ReadFailures();
    UnusedIndexes();
    ProfilesInUse();
    Renamed();
    if (!_record.forecast) {
      FolderRefusals();
      Continued();
    }
    Folders("foldersNotBegun", _record.notBegun);
    Folders("foldersNotChosen", _record.foldersNotChosen.entries);
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

  // Where a message stands: its folder in the PST, and its place in the source file. A Message-ID
  // alone would not do: it may be missing, or there twice.
  void Place(std::size_t folder) {
    WritePath(_json, "folder", _record.folders[folder].path);
    _json.Key("source").String(PathForDisplay(_record.folders[folder].sourcePath));
  }

  template <typename Entry>
  void Message(const Entry& entry) {
    WritePath(_json, "folder", _record.folders[entry.folder].path);
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

  void Duplicates() {
    _json.Key("duplicates").BeginArray();
    for (const DuplicateMessage& entry : _record.duplicates.entries) {
      _json.BeginObject();
      Message(entry);
      WritePath(_json, "copyIn", _record.folders[entry.copyIn].path);
      EndEntry();
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
      WritePath(_json, "path", entry.path);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void FolderRefusals() {
    _json.Key("folderRefusals").BeginArray();
    for (const FolderRefusal& entry : _record.folderRefusals.entries) {
      _json.BeginObject();
      WritePath(_json, "path", entry.path);
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
      WritePath(_json, "path", folder.path);
      WritePath(_json, "next", folder.next);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Folders(std::string_view key, const std::vector<UnreadFolder>& folders) {
    _json.Key(key).BeginArray();
    for (const UnreadFolder& entry : folders) {
      _json.BeginObject();
      WritePath(_json, "path", entry.path);
      _json.Key("source").String(PathForDisplay(entry.sourcePath));
      _json.EndObject();
    }
    _json.EndArray();
  }

  const ConversionRecord& _record;
  JsonWriter& _json;
  const TakeText& _take;
  std::uint64_t _entries = 0;
};

}  // namespace

void WritePath(JsonWriter& json, std::string_view key, const std::vector<std::u16string>& path) {
  json.Key(key).BeginArray();
  for (const std::u16string& name : path) json.String(name);
  json.EndArray();
}

void WriteReportLists(const ConversionRecord& record, JsonWriter& json, const TakeText& take) {
  ListWriter(record, json, take).Run();
}

}  // namespace parvane::desk
