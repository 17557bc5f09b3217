#include <algorithm>

#include <fmt/format.h>

#include "cli/format.h"
#include "cli/report.h"
#include "platform/file.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

using platform::PathForDisplay;

// What the summary names one by one; the rest is counted, and stands in the log and the report.
constexpr std::size_t kMostNamed = 10;
constexpr unsigned kWidestFolder = 48;  // columns
// From here on Outlook grows slow with a PST.
constexpr std::uint64_t kLargePst = 20'000'000'000;

class SummaryWriter {
 public:
  explicit SummaryWriter(const ConversionRecord& record) : _record(record) {}

  std::string Run() {
    Folders();
    Totals();
    Unfinished();
    LeftOut();
    Dates();
    List(_record.failures.size(), "Failed messages", [&](std::size_t i) {
      const FailedMessage& failure = _record.failures[i];
      return fmt::format("{}, message {}: {}", FolderPath(_record.folders[failure.folder].path),
                         failure.position, failure.reason);
    });
    List(_record.readFailures.size(), "Files that could not be read to their end",
         [&](std::size_t i) {
           const ReadFailure& failure = _record.readFailures[i];
           return fmt::format("{}: {}", PathForDisplay(failure.path), failure.reason);
         });
    Skipped();
    if (_record.separators.total > 0) {
      Line(fmt::format("Separator lines that may have cut a message in two: {} (see the logs)",
                       WithThousands(_record.separators.total)));
    }
    List(_record.renamed.size(), "Renamed folders", [&](std::size_t i) {
      const RenamedFolder& renamed = _record.renamed[i];
      return fmt::format("\"{}\" is now {}", platform::Utf16ToUtf8(renamed.wanted),
                         FolderPath(renamed.path));
    });
    if (_record.pstSize > kLargePst)
      Line("The PST is larger than 20 GB; Outlook is slow with files of that size");
    return std::move(_text);
  }

 private:
  void Line(std::string_view line) {
    _text += line;
    _text += '\n';
  }

  // Spaces are counted in terminal columns, which names in other scripts do not fill one a byte.
  static std::string Padded(std::string text, unsigned columns) {
    const unsigned used = Columns(text);
    if (used < columns) text.append(columns - used, ' ');
    return text;
  }

  void Folders() {
    unsigned width = 0;
    for (const FolderAccount& folder : _record.folders)
      width = std::max(width, std::min(Columns(FolderPath(folder.path)), kWidestFolder));
    for (const FolderAccount& folder : _record.folders) {
      std::string line =
          fmt::format("{}  {:>9} read  {:>9} written", Padded(FolderPath(folder.path), width),
                      WithThousands(folder.read), WithThousands(folder.written));
      if (folder.failed > 0) line += fmt::format("  {:>6} failed", WithThousands(folder.failed));
      Line(line);
    }
  }

  void Totals() {
    Line(fmt::format("{} read, {} written, {} failed: {} ({}), {}",
                     Counted(_record.Read(), "message"), WithThousands(_record.Written()),
                     WithThousands(_record.Failed()), PathForDisplay(_record.destination),
                     Size(_record.pstSize), Duration(_record.milliseconds)));
  }

  void Unfinished() {
    if (_record.error.empty() && !_record.interrupted) return;
    Line("Not finished: mail that comes after the last message read is not in the PST");
  }

  void LeftOut() {
    if (_record.leftOutParts.total == 0) return;
    Line(fmt::format("Attachments and other parts left out of their messages: {} (see the report)",
                     WithThousands(_record.leftOutParts.total)));
  }

  void Dates() {
    if (_record.withoutDate > 0)
      Line(fmt::format("Messages without a date: {}", WithThousands(_record.withoutDate)));
    if (_record.unreadableDate > 0)
      Line(fmt::format("Messages whose date could not be read: {}",
                       WithThousands(_record.unreadableDate)));
    if (_record.repairedDate > 0)
      Line(
          fmt::format("Messages whose date was repaired: {}", WithThousands(_record.repairedDate)));
  }

  void Skipped() {
    // Mail left behind first, each with what to do about it; the rest only as a number.
    std::vector<const SkippedPath*> leftBehind;
    for (const SkippedPath& path : _record.skipped.entries) {
      if (path.leftBehind) leftBehind.push_back(&path);
    }
    List(leftBehind.size(), "Mail left behind", [&](std::size_t i) {
      const SkippedPath& path = *leftBehind[i];
      return fmt::format("{}: {} ({})", PathForDisplay(path.path), Describe(path.reason),
                         Advice(path.reason));
    });
    const std::uint64_t others = _record.skipped.total - leftBehind.size();
    if (others > 0) Line(fmt::format("Passed over, no mail in them: {}", Counted(others, "file")));
  }

  template <typename Describe>
  void List(std::size_t count, std::string_view heading, Describe describe) {
    if (count == 0) return;
    Line(fmt::format("{}: {}", heading, WithThousands(count)));
    for (std::size_t i = 0; i < std::min(count, kMostNamed); ++i) Line("  " + describe(i));
    if (count > kMostNamed) Line(fmt::format("  and {} more", WithThousands(count - kMostNamed)));
  }

  const ConversionRecord& _record;
  std::string _text;
};

}  // namespace

std::string Summary(const ConversionRecord& record) { return SummaryWriter(record).Run(); }

}  // namespace parvane::cli
