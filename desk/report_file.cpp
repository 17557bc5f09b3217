#include "desk/report_file.h"

#include <array>

#include <fmt/format.h>

#include "desk/report.h"
#include "desk/report_page.h"
#include "desk/same_file.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::FileKind;
using platform::FileSystem;
using platform::Result;
using platform::Status;
using platform::StatusCode;

FileSystem& Files() { return FileSystem::Default(); }

// Beside the report, so that a rename suffices; a name that nobody else takes.
std::u16string TemporaryPath(std::u16string_view path) {
  std::array<std::byte, 8> random{};
  platform::FillRandom(random);
  std::string name = ".parvane-report-";
  for (const std::byte b : random) name += fmt::format("{:02x}", static_cast<unsigned>(b));
  return platform::JoinPath(platform::ParentOfPath(path), platform::Utf8ToUtf16(name));
}

bool IsReport(std::u16string_view path) {
  std::array<char, 100> start{};
  auto file = Files().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return false;
  const auto count = file.value()->ReadAt(0, std::as_writable_bytes(std::span(start)));
  return count.ok() && BeginsLikeReport({start.data(), *count});
}

// Null: nothing.
Status WriteNew(std::u16string_view path, const ConversionRecord* record, bool page) {
  auto file = Files().Open(path, FileSystem::OpenMode::kCreateNew);
  if (!file.ok()) return file.status();
  if (record == nullptr) return {};
  Status written;
  std::uint64_t size = 0;
  const auto take = [&](std::string_view text) {
    if (written.ok()) written = file.value()->WriteAt(size, std::as_bytes(std::span(text)));
    size += text.size();
  };
  page ? ReportPage(*record, take) : Report(*record, take);
  return written.ok() ? file.value()->Flush() : written;
}

}  // namespace

Result<ReportFile> ReportFile::Begin(std::u16string_view path) {
  ReportFile report(platform::CanonicalPath(path));
  const FileKind kind = Files().Inspect(report._path).kind;
  if (kind != FileKind::kNone && kind != FileKind::kFile) {
    return Status(StatusCode::kUnsupported,
                  "report: " + platform::PathForDisplay(path) + ": not a regular file");
  }
  // Whether a file can be made there is best learned by making one.
  const std::u16string trial = TemporaryPath(report._path);
  Status possible = WriteNew(trial, nullptr, false);
  if (possible.ok()) possible = Files().Remove(trial);
  if (possible.ok() && kind == FileKind::kFile && IsReport(report._path))
    possible = Files().Remove(report._path);
  if (!possible.ok()) {
    std::string reason = possible.message();
    const std::string shown = platform::PathForDisplay(trial);
    // A name that nobody has given says nothing.
    if (const std::size_t at = reason.find(shown); at != reason.npos)
      reason.replace(at, shown.size(), "a file beside it");
    return Status(possible.code(), "report " + platform::PathForDisplay(path) + ": " + reason);
  }
  report._replaced = Files().Inspect(report._path);
  return report;
}

// Nothing that has come since the run began: it may be the PST itself.
bool ReportFile::MayReplace() const {
  const platform::FileInformation now = Files().Inspect(_path);
  return now.kind == FileKind::kNone || IsSameFile(now, _replaced) || IsReport(_path);
}

Status ReportFile::Write(const ConversionRecord& record) const {
  if (!MayReplace()) {
    return Status(StatusCode::kExists, "report " + platform::PathForDisplay(_path) +
                                           ": what is there now is no report; it is left");
  }
  const std::u16string temporary = TemporaryPath(_path);
  Status written = WriteNew(temporary, &record, IsNamedLikePage(_path));
  if (written.ok()) written = Files().Rename(temporary, _path, /*replace=*/true);
  if (!written.ok()) {
    (void)Files().Remove(temporary);
    return written.WithContext("report " + platform::PathForDisplay(_path));
  }
  (void)Files().FlushFolder(platform::ParentOfPath(_path));
  return {};
}

}  // namespace parvane::desk
