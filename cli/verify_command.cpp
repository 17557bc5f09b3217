#include "cli/verify_command.h"

#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <unordered_set>
#include <utility>

#include "cli/console.h"
#include "cli/results.h"
#include "cli/terminal_run.h"
#include "desk/expected_mail.h"
#include "desk/format.h"
#include "desk/mapi_run.h"
#include "desk/pst_mail.h"
#include "desk/reasons.h"
#include "desk/text_file.h"
#include "desk/verification.h"
#include "mapi/options.h"
#include "moves/content_reader.h"
#include "moves/manifest.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text.h"
#include "pstfile/ndb/file_kind.h"

namespace parvane::cli {
namespace {

using desk::ExitCode;
using desk::ExpectedMail;
using desk::FolderPath;
using desk::InWords;
using desk::kMostBytesListed;
using desk::kMostEntriesListed;
using desk::MapiChoice;
using desk::MapiRun;
using desk::Outcome;
using desk::PstMailVisitor;
using desk::RunProblem;
using desk::TextFile;
using desk::Verification;
using desk::VerificationAsJson;
using desk::VerificationInWords;
using desk::VisitMail;
using moves::Finding;
using moves::FindingKind;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::Status;
using platform::StatusCode;
using Path = std::vector<std::u16string>;

bool MayBecomeManifest(const std::u16string& path) {
  auto& files = FileSystem::Default();
  const auto there = files.Inspect(path);
  return there.kind == platform::FileKind::kNone ||
         (there.kind == platform::FileKind::kFile &&
          (there.size == 0 || moves::IsManifest(files, path)));
}

// A manifest being written: beside the one that it may replace, until it is whole.
class ManifestFile {
 public:
  ManifestFile() = default;
  ~ManifestFile() {
    if (!_file) return;
    _file.reset();
    (void)FileSystem::Default().Remove(_partial).ok();
  }
  ManifestFile(const ManifestFile&) = delete;
  ManifestFile& operator=(const ManifestFile&) = delete;

  Status Begin(const std::u16string& path) {
    if (path.empty()) return {};
    _path = path;
    _partial = path + u".partial";
    for (const std::u16string& written : {_path, _partial}) {
      if (MayBecomeManifest(written)) continue;
      return {StatusCode::kExists,
              PathForDisplay(written) + ": is there already and no manifest; it is left as it is"};
    }
    auto file = TextFile::Create(_partial);
    if (!file.ok()) return file.status();
    _file = std::move(file).value();
    _file->Write(moves::ManifestBeginning());
    return {};
  }
  void Add(const Path& folder, const moves::MessageContent& content) {
    if (!_file) return;
    ++_messages;
    _file->Write(moves::ManifestLine(folder, content));
  }
  Status Finish() {
    if (!_file) return {};
    _file->Write(moves::ManifestEnd(_messages));
    if (Status written = _file->Flush(); !written.ok()) return written;
    _file.reset();
    return FileSystem::Default().Rename(_partial, _path, true);
  }

 private:
  std::u16string _path, _partial;
  std::unique_ptr<TextFile> _file;
  std::uint64_t _messages = 0;
};

class Verifying {
 public:
  explicit Verifying(const VerifyCommandOptions& options)
      : _options(options),
        _results(StyleForResults(options.progress)),
        _terminal(StyleForResults(options.progress), true) {}

  ExitCode Run() {
    const std::uint64_t start = platform::MonotonicMilliseconds();
    try {
      Work();
    } catch (const std::exception& error) {
      _v.record.Fail(RunProblem::kBrokeOff, InWords(error));
    }
    if (_wrongUsage) return ExitCode::kUsage;
    mapi::SetBuiltinOptions({});
    _v.record.milliseconds = platform::MonotonicMilliseconds() - start;
    return Tell();
  }

 private:
  class ThereVisitor;
  class ExtraVisitor;

  bool Fail(const Status& status) {
    if (!status.ok()) _v.record.Fail(status);
    return status.ok();
  }
  bool Interrupted() {
    _v.record.interrupted = _v.record.interrupted || _terminal.StopRequested();
    return _v.record.interrupted;
  }

  void Work() {
    if (!SortPaths() || !Fail(_manifest.Begin(_options.manifest))) return;
    const MapiRun mapiRun(MapiChoice::kBuiltin);
    if (!Fail(mapiRun.status())) return;
    if (!ReadPsts()) return;
    const bool hasSources = !_sources.sources.empty() || !_v.manifests.empty();
    if (hasSources && !ReadExpected()) return;
    if (!Fail(_manifest.Finish()) || !hasSources) return;
    _v.findings = _v.comparison.Finish();
    NameExtras();
    _v.compared = true;
  }

  // What the paths are, by what the files hold.
  bool SortPaths() {
    auto& files = FileSystem::Default();
    _sources = _options;
    for (const std::u16string& path : _options.paths) {
      // What may be missing of the sources is told as by a conversion.
      if (files.Inspect(path).kind == platform::FileKind::kNone &&
          platform::EqualsIgnoreCase(platform::ExtensionOfPath(path), u".pst")) {
        return Fail({StatusCode::kNotFound, PathForDisplay(path) + ": no such file"});
      }
      if (moves::IsManifest(files, path)) {
        _v.manifests.push_back(path);
        continue;
      }
      const auto kind = pstfile::KindOfFile(files, path);
      const bool isFile = files.FileExists(path);
      if (isFile && kind.ok() && kind->family != pstfile::FileFamily::kOther) {
        if (!kind->status.ok()) {
          return Fail(
              Status(kind->status.code(), PathForDisplay(path) + " " + kind->status.message()));
        }
        _v.psts.push_back(path);
      } else {
        _sources.sources.push_back(path);
      }
    }
    _v.record.sources = _sources.sources;
    if (_v.psts.empty()) return WrongUsage("none of these is a PST");
    if (_sources.sources.empty() && _v.manifests.empty() && _options.manifest.empty())
      return WrongUsage("there is nothing to compare with: name the sources, or a manifest");
    return true;
  }
  bool WrongUsage(std::string_view why) {
    WriteError(why);
    _wrongUsage = true;
    return false;
  }

  bool ReadPsts();
  bool ReadExpected() {
    _v.comparison.BeginExpecting();
    const auto expect = [this](const Path& folder, std::uint64_t position,
                               const moves::MessageContent& content) {
      _manifest.Add(folder, content);
      _v.comparison.Expect(_v.comparison.folders().Of(folder), position, moves::Summarise(content),
                           {content.messageId, content.subject});
    };
    for (const std::u16string& manifest : _v.manifests) {
      if (!ReadManifest(manifest, expect)) return false;
    }
    if (_sources.sources.empty()) return true;
    _mail.emplace(_sources, _v.psts, _v.record, _terminal);
    _mail->Read(expect);
    _terminal.Finish();
    return _v.record.error.empty() && !Interrupted();
  }

  bool ReadManifest(const std::u16string& path, const ExpectedMail::Take& expect) {
    auto reader = moves::ManifestReader::Open(FileSystem::Default(), path);
    if (!reader.ok()) return Fail(reader.status());
    std::map<Path, std::uint64_t> positions;
    const std::string name = PathForDisplay(path);
    Path folder;
    moves::MessageContent content;
    for (;;) {
      auto read = reader->Next(folder, content);
      if (!read.ok()) return Fail(read.status());
      if (!*read) return true;
      expect(folder, ++positions[folder], content);
      _results.Progress({name, reader->position(), reader->size(), 0});
      if (Interrupted()) return false;
    }
  }

  void NameExtras();

  ExitCode Tell() {
    const auto write = [this](std::string_view text) { _results.Write(text); };
    if (_options.json) {
      VerificationAsJson(_v, write);
    } else {
      write(VerificationInWords(_v));
    }
    if (!_results.Finish()) return ExitCode::kCouldNotFinish;
    if (!_v.record.error.empty()) WriteError(_v.record.error);
    if (_v.record.interrupted) WriteError("interrupted");
    return Outcome(_v);
  }

  const VerifyCommandOptions& _options;
  VerifyCommandOptions _sources;  // with what of the paths they are
  Results _results;
  TerminalRun _terminal;
  bool _wrongUsage = false;
  Verification _v;
  ManifestFile _manifest;
  std::optional<ExpectedMail> _mail;
};

// Takes in what is there.
class Verifying::ThereVisitor : public PstMailVisitor {
 public:
  ThereVisitor(Verifying& verifying, bool forManifest)
      : _verifying(verifying), _forManifest(forManifest) {}

  bool BeginFolder(const Path& path, std::uint64_t) override {
    _path = path;
    _folder = _verifying._v.comparison.folders().Of(path);
    _name = platform::Utf16ToUtf8(path.back());
    return !_verifying.Interrupted();
  }
  bool Wants(std::uint32_t) override { return true; }
  bool Message(std::uint32_t place, mapi::IMessage& message) override {
    const moves::MessageContent content = moves::ReadContent(message);
    if (content.unreadable != 0)
      Unreadable(FolderPath(_path) + ": " + content.subject + ": cannot be read whole");
    if (_forManifest) _verifying._manifest.Add(_path, content);
    _verifying._v.comparison.AddThere(_folder, place, moves::Summarise(content));
    _verifying._results.Progress({_name, 0, 0, ++_verifying._v.there});
    return !_verifying.Interrupted();
  }
  void Unreadable(const std::string& what) override {
    Verification& v = _verifying._v;
    _verifying._results.Complain(what);
    constexpr std::size_t kMostUnreadable = 1'000;
    if (++v.unreadableTotal <= kMostUnreadable) v.unreadable.push_back(what);
  }

 private:
  Verifying& _verifying;
  bool _forManifest;
  Path _path;
  std::uint32_t _folder = 0;
  std::string _name;
};

// Looks up the names of extra messages.
class Verifying::ExtraVisitor : public PstMailVisitor {
 public:
  explicit ExtraVisitor(Verifying& verifying) : _verifying(verifying) {
    for (const Finding& finding : verifying._v.findings) {
      if (finding.kind == FindingKind::kExtra && _wanted.size() < kMostEntriesListed)
        _wanted.insert(finding.place);
    }
  }
  bool empty() const { return _wanted.empty(); }

  bool BeginFolder(const Path&, std::uint64_t) override {
    return !_wanted.empty() && !_verifying.Interrupted();
  }
  bool Wants(std::uint32_t place) override { return _wanted.contains(place); }
  bool Message(std::uint32_t place, mapi::IMessage& message) override {
    _wanted.erase(place);
    moves::MessageName name = moves::ReadName(message);
    _bytes += name.messageId.size() + name.subject.size();
    _verifying._v.extras.emplace(place, std::move(name));
    return _bytes < kMostBytesListed && !_wanted.empty();
  }
  // Told when it was met first.
  void Unreadable(const std::string&) override {}

 private:
  Verifying& _verifying;
  std::unordered_set<std::uint32_t> _wanted;
  std::size_t _bytes = 0;
};

bool Verifying::ReadPsts() {
  mapi::BuiltinOptions readOnly;
  readOnly.readOnly = true;
  mapi::SetBuiltinOptions(readOnly);
  ThereVisitor visitor(*this, _sources.sources.empty() && _v.manifests.empty());
  return Fail(VisitMail(_v.psts, visitor)) && !Interrupted();
}

void Verifying::NameExtras() {
  mapi::BuiltinOptions readOnly;
  readOnly.readOnly = true;
  mapi::SetBuiltinOptions(readOnly);
  ExtraVisitor visitor(*this);
  if (!visitor.empty()) Fail(VisitMail(_v.psts, visitor));
}

}  // namespace

ExitCode RunVerify(const VerifyCommandOptions& options) { return Verifying(options).Run(); }

}  // namespace parvane::cli
