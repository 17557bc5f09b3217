#include "cli/check_command.h"

#include <map>

#include <fmt/format.h>

#include "cli/console.h"
#include "cli/results.h"
#include "desk/format.h"
#include "desk/json_writer.h"
#include "mapi/tag_names.h"
#include "platform/file.h"
#include "platform/path.h"
#include "pstfile/check/integrity_checker.h"
#include "pstfile/check/node_dump.h"

namespace parvane::cli {
namespace {

using desk::AppendPrintable;
using desk::Counted;
using desk::ExitCode;
using desk::JsonWriter;
using desk::Size;
using desk::WithThousands;
using pstfile::CheckSummary;
using pstfile::Finding;
using pstfile::Severity;

// These words are codes of the JSON, too.
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

// Findings are written as they come: a check of 50 GB takes minutes, and the first fault may be all
// that its reader wants to know.
class FindingsWithProgress : public pstfile::FindingSink {
 public:
  FindingsWithProgress(std::string file, Results& results)
      : _file(std::move(file)), _results(results) {}

  // Told of every block; a look at the clock for each would be felt.
  void OnProgress(std::uint64_t done, std::uint64_t size) override {
    if (done - _shownDone < kBytesAtATime && done < size) return;
    _shownDone = done;
    _results.Progress({_file, done, size, 0});
  }

 protected:
  void Write(const std::string& text) { _results.Write(text); }

 private:
  static constexpr std::uint64_t kBytesAtATime = std::uint64_t{1} << 20;

  std::string _file;
  Results& _results;
  std::uint64_t _shownDone = 0;
};

class TextFindings : public FindingsWithProgress {
 public:
  using FindingsWithProgress::FindingsWithProgress;

  void OnFinding(const Finding& finding) override {
    ++_shown[std::string(finding.code)];
    Write(fmt::format("{}: {} [{}]\n", NameOf(finding.severity), finding.message, finding.code));
  }

  void Finish(std::string_view path, const CheckSummary& summary) {
    std::string file;
    AppendPrintable(file, path);
    // The checker tells a hundred of a kind and counts the rest: one damaged page may spoil a
    // million messages, each in the same way.
    for (const auto& [code, count] : summary.counts) {
      const std::uint64_t shown = _shown[code];
      if (count > shown) {
        Write(fmt::format("and {} more of the kind [{}]\n", WithThousands(count - shown), code));
      }
    }
    const std::string verdict = summary.clean() ? "no fault found"
                                                : Counted(summary.errors, "error") + " and " +
                                                      Counted(summary.warnings, "warning");
    Write(fmt::format("{}: {} in {} ({}, {}, {}, {} and {})\n", file, verdict,
                      Size(summary.fileSize), Counted(summary.folders, "folder"),
                      Counted(summary.messages, "message"),
                      Counted(summary.attachments, "attachment"), Counted(summary.nodes, "node"),
                      Counted(summary.blocks, "block")));
  }

 private:
  std::map<std::string, std::uint64_t> _shown;
};

// {"file": ..., "findings": [{"severity", "code", "message"}], "clean": ..., "examined": {...}}
class JsonFindings : public FindingsWithProgress {
 public:
  JsonFindings(const std::string& file, Results& results) : FindingsWithProgress(file, results) {
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
    Write(_json.Take());
  }

  // `summary` null: the file could not be examined to its end.
  void Finish(const CheckSummary* summary) {
    _json.EndArray();
    _json.Key("complete").Bool(summary != nullptr);
    if (summary != nullptr) Summarise(*summary);
    _json.EndObject();
    Write(_json.Take());
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

class DumpedLines : public pstfile::DumpSink {
 public:
  explicit DumpedLines(Results& results) : _results(results) {}

  // Beside the dump and not in it: what is dumped is what the file holds.
  void OnFinding(const Finding& finding) override {
    _results.Complain(fmt::format("{} [{}]", finding.message, finding.code));
  }
  void OnLine(const std::string& line) override {
    std::string printable;
    AppendPrintable(printable, line);
    _results.Write(printable + "\n");
  }
  std::string_view NameOfTag(std::uint32_t tag) const override { return mapi::TagName(tag); }

 private:
  Results& _results;
};

// Most reasons name the file already.
ExitCode FailWith(const std::string& file, const std::string& why) {
  WriteError(why.find(file) == std::string::npos ? file + ": " + why : why);
  return ExitCode::kCouldNotFinish;
}

ExitCode RunDump(const CheckCommandOptions& options) {
  Results results(ProgressStyle::kNone);
  DumpedLines lines(results);
  const auto dumped =
      pstfile::DumpNode(platform::FileSystem::Default(), options.file, *options.dump, lines);
  if (!results.Finish()) return ExitCode::kCouldNotFinish;
  if (!dumped.ok()) return FailWith(platform::PathForDisplay(options.file), dumped.message());
  return results.complaints() == 0 ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

}  // namespace

ExitCode RunCheck(const CheckCommandOptions& options) {
  if (options.dump) return RunDump(options);
  const std::string file = platform::PathForDisplay(options.file);
  pstfile::CheckOptions check;
  check.notes = options.notes;
  Results results(StyleForResults(options.progress));
  auto& files = platform::FileSystem::Default();
  platform::Result<CheckSummary> result{CheckSummary()};
  if (options.json) {
    JsonFindings findings(file, results);
    result = pstfile::CheckFile(files, options.file, check, findings);
    findings.Finish(result.ok() ? &*result : nullptr);
  } else {
    TextFindings findings(file, results);
    result = pstfile::CheckFile(files, options.file, check, findings);
    if (result.ok()) findings.Finish(file, *result);
  }
  if (!results.Finish()) return ExitCode::kCouldNotFinish;
  if (!result.ok()) return FailWith(file, result.status().message());
  return result->clean() ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

}  // namespace parvane::cli
