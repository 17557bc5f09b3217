#include "cli/check_command.h"

#include <map>

#include <fmt/format.h>

#include "cli/console.h"
#include "cli/format.h"
#include "cli/json_writer.h"
#include "platform/file.h"
#include "pstfile/check/integrity_checker.h"

namespace parvane::cli {
namespace {

using pstfile::CheckSummary;
using pstfile::Finding;
using pstfile::Severity;

std::string_view NameOf(Severity severity) {
  switch (severity) {
    case Severity::kNote:
      return "note";
    case Severity::kWarning:
      return "warning";
    case Severity::kError:
      break;
  }
  return "error";
}

class TextFindings : public pstfile::FindingSink {
 public:
  void OnFinding(const Finding& finding) override {
    ++_shown[std::string(finding.code)];
    WriteOutput(
        fmt::format("{}: {} [{}]\n", NameOf(finding.severity), finding.message, finding.code));
  }

  void Finish(const std::string& file, const CheckSummary& summary) {
    for (const auto& [code, count] : summary.counts) {
      const std::uint64_t shown = _shown[code];
      if (count > shown) {
        WriteOutput(
            fmt::format("and {} more of the kind [{}]\n", WithThousands(count - shown), code));
      }
    }
    const std::string verdict = summary.clean() ? "no fault found"
                                                : Counted(summary.errors, "error") + " and " +
                                                      Counted(summary.warnings, "warning");
    WriteOutput(fmt::format("{}: {} in {} ({}, {}, {}, {} and {})\n", file, verdict,
                            Size(summary.fileSize), Counted(summary.folders, "folder"),
                            Counted(summary.messages, "message"),
                            Counted(summary.attachments, "attachment"),
                            Counted(summary.nodes, "node"), Counted(summary.blocks, "block")));
  }

 private:
  std::map<std::string, std::uint64_t> _shown;
};

// {"file": ..., "findings": [{"severity", "code", "message"}], "clean": ..., "examined": {...}}
class JsonFindings : public pstfile::FindingSink {
 public:
  explicit JsonFindings(const std::string& file) {
    _json.BeginObject();
    _json.Key("format").String("parvane check");
    _json.Key("version").Number(1);
    _json.Key("file").String(file);
    _json.Key("findings").BeginArray();
  }

  void OnFinding(const Finding& finding) override {
    _json.BeginObject();
    _json.Key("severity").String(NameOf(finding.severity));
    _json.Key("code").String(finding.code);
    _json.Key("message").String(finding.message);
    _json.EndObject();
    WriteOutput(_json.Take());
  }

  // `summary` null: the file could not be examined to its end.
  void Finish(const CheckSummary* summary) {
    _json.EndArray();
    _json.Key("complete").Bool(summary != nullptr);
    if (summary != nullptr) Summarise(*summary);
    _json.EndObject();
    WriteOutput(_json.Take());
  }

 private:
  void Summarise(const CheckSummary& summary) {
    _json.Key("clean").Bool(summary.clean());
    _json.Key("errors").Number(summary.errors);
    _json.Key("warnings").Number(summary.warnings);
    _json.Key("counts").BeginObject();
    for (const auto& [code, count] : summary.counts) _json.Key(code).Number(count);
    _json.EndObject();
    _json.Key("examined").BeginObject();
    _json.Key("bytes").Number(summary.fileSize);
    _json.Key("pages").Number(summary.pages);
    _json.Key("blocks").Number(summary.blocks);
    _json.Key("nodes").Number(summary.nodes);
    _json.Key("folders").Number(summary.folders);
    _json.Key("messages").Number(summary.messages);
    _json.Key("hiddenMessages").Number(summary.hiddenMessages);
    _json.Key("embeddedMessages").Number(summary.embeddedMessages);
    _json.Key("attachments").Number(summary.attachments);
    _json.Key("recipients").Number(summary.recipients);
    _json.EndObject();
  }

  JsonWriter _json;
};

}  // namespace

ExitCode RunCheck(const CheckCommandOptions& options) {
  const std::string file = platform::PathForDisplay(options.file);
  pstfile::CheckOptions check;
  check.notes = options.notes;
  auto& files = platform::FileSystem::Default();
  platform::Result<CheckSummary> result = CheckSummary();
  if (options.json) {
    JsonFindings findings(file);
    result = pstfile::CheckFile(files, options.file, check, findings);
    findings.Finish(result.ok() ? &*result : nullptr);
  } else {
    TextFindings findings;
    result = pstfile::CheckFile(files, options.file, check, findings);
    if (result.ok()) findings.Finish(file, *result);
  }
  if (!FlushOutput()) return OutputFailed();
  if (!result.ok()) {
    const std::string& why = result.status().message();
    WriteError(why.find(file) == std::string::npos ? file + ": " + why : why);
    return ExitCode::kCouldNotFinish;
  }
  return result->clean() ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

}  // namespace parvane::cli
