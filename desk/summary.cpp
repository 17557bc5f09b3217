#include <algorithm>
#include <map>
#include <string>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/report.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;

// What the summary names one by one of each kind; the rest is counted, and stands in the log and
// the report.
constexpr std::size_t kMostNamed = 5;
constexpr std::size_t kMostKinds = 20;
constexpr unsigned kWidestFolder = 48;  // columns
// From here on Outlook grows slow with a PST.
constexpr std::uint64_t kLargePst = 20'000'000'000;

class SummaryWriter {
 public:
  explicit SummaryWriter(const ConversionRecord& record) : _record(record) {}

  std::string Run() {
    Folders();
    _record.forecast ? Forecast() : Totals();
    State();
    Unfinished();
    Lists();
    Dates();
    const bool isLarge = _record.parts.empty()
                             ? _record.pstSize > kLargePst
                             : std::ranges::any_of(_record.parts, [](const PartAccount& part) {
                                 return part.bytes > kLargePst;
                               });
    if (isLarge) Line("The PST is larger than 20 GB; Outlook is slow with files of that size");
    Timings();
    return std::move(_text);
  }

  // For people who asked for quiet, when there is something that they must know all the same.
  std::string RunInOneLine() const {
    std::string line =
        _record.forecast
            ? fmt::format("{} read, {} unreadable", Counted(_record.Read(), "message"),
                          WithThousands(_record.Failed()))
            : fmt::format("{}: {} read, {} written, {} failed", PathForDisplay(_record.destination),
                          Counted(_record.Read(), "message"), WithThousands(_record.Written()),
                          WithThousands(_record.Failed()));
    const auto more = [&](std::uint64_t count, std::string_view noun, std::string_view what) {
      if (count > 0) line += fmt::format(", {} {}", Counted(count, noun), what);
    };
    more(_record.leftBehind.total, "piece", "of mail left behind");
    more(_record.RemarksOf(engine::RemarkKind::kRefused).total, "part",
         "of messages refused by the PST");
    more(_record.folderRefusals.total, "property", "of folders refused by the PST");
    more(_record.readFailures.total, "mailbox", "not read as it is");
    return line;
  }

  // Nothing was converted; what there is to say is why.
  std::string RunWithoutTotals() {
    PathLists();
    return std::move(_text);
  }

 private:
  void Line(std::string_view line) {
    AppendPrintable(_text, line);
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
      std::string line = Padded(FolderPath(folder.path), width);
      if (_record.forecast) {
        line += fmt::format("  {:>9}  {:>9}", WithThousands(folder.read), Size(folder.bytes));
        if (const std::string days = Days(folder.dates); !days.empty()) line += "  " + days;
      } else {
        line += fmt::format("  {:>9} read  {:>9} written", WithThousands(folder.read),
                            WithThousands(folder.written));
      }
      if (folder.failed > 0) line += fmt::format("  {:>6} failed", WithThousands(folder.failed));
      Line(line);
    }
  }

  void Totals() {
    const std::u16string& pst = _record.partial.empty() ? _record.destination : _record.partial;
    const std::string where =
        _record.parts.empty() ? PathForDisplay(pst) : Counted(_record.parts.size(), "PST");
    Line(fmt::format("{} read, {} written, {} failed: {} ({}), {}",
                     Counted(_record.Read(), "message"), WithThousands(_record.Written()),
                     WithThousands(_record.Failed()), where, Size(_record.pstSize),
                     Duration(_record.milliseconds)));
    Parts();
    if (_record.mapi == MapiChoice::kOutlook)
      Line("Written here means accepted by Outlook, which does not tell what has reached the file");
  }

  // "2003-01-02 to 2019-05-03"; empty where no message has a date.
  static std::string Days(const DateRange& dates) {
    constexpr std::size_t kDay = std::string_view("2003-01-02").size();
    const std::string first = IsoTime(dates.first).substr(0, kDay);
    return first.empty() ? first : first + " to " + IsoTime(dates.last).substr(0, kDay);
  }

  void Forecast() {
    const DateRange dates = _record.Dates();
    std::string line =
        fmt::format("{} in {}, {}", Counted(_record.Read(), "message"),
                    Counted(_record.folders.size(), "folder"), Size(_record.Bytes()));
    if (const std::string days = Days(dates); !days.empty()) line += ", " + days;
    if (_record.Failed() > 0)
      line += fmt::format("; {} cannot be read", WithThousands(_record.Failed()));
    Line(line);
    const ScanEstimate& forecast = *_record.forecast;
    if (_record.error.empty() && !_record.interrupted) {
      Line(fmt::format("A conversion would make a PST of about {}, in roughly {}",
                       Size(forecast.PstBytes()), Duration(forecast.Milliseconds())));
    }
    for (const std::string& warning : forecast.warnings) Line("Careful: " + warning);
    if (dates.undated > 0)
      Line(fmt::format("Messages whose date nothing tells: {}", WithThousands(dates.undated)));
  }

  // Each PST of several, under the name that it has now.
  void Parts() {
    for (const PartAccount& part : _record.parts) {
      const bool isLast = &part == &_record.parts.back();
      const std::u16string& path = isLast && !_record.partial.empty() ? _record.partial : part.path;
      Line(fmt::format("  {}: {} written ({})", PathForDisplay(path),
                       Counted(part.written, "message"), Size(part.bytes)));
    }
    if (_record.oldParts.empty()) return;
    Line("Of earlier runs, and no part of what was written now:");
    for (const std::u16string& path : _record.oldParts) Line("  " + PathForDisplay(path));
  }

  // "State kept: 12 read, 3 flagged", of messages that are marked at all.
  void State() {
    std::string kept;
    for (std::size_t kind = 0; _record.stateKept && kind < carry::kStateKinds; ++kind) {
      const std::uint64_t count = (*_record.stateKept)[kind];
      if (count > 0) {
        kept += fmt::format("{}{} {}", kept.empty() ? "" : ", ", WithThousands(count),
                            WordsOf(static_cast<carry::StateKind>(kind)).text);
      }
    }
    if (!kept.empty())
      Line((_record.forecast ? "State that comes along: " : "State kept: ") + kept);
    if (_record.winmail && _record.winmail->opened > 0) {
      Line(fmt::format("Files winmail.dat opened: {}, with {}",
                       WithThousands(_record.winmail->opened),
                       Counted(_record.winmail->attachments, "attachment")));
    }
    if (_record.addressesKept.value_or(0) > 0) {
      Line(fmt::format("Messages with names or addresses that repair would have lost: {}",
                       WithThousands(*_record.addressesKept)));
    }
    for (std::size_t kind = 0; kind < carry::kMailCounts; ++kind) {
      const std::uint64_t count = _record.mailKept[kind].value_or(0);
      const std::string_view text = WordsOf(static_cast<carry::MailCount>(kind)).text;
      if (count > 0 && !text.empty()) Line(fmt::format("{}: {}", text, WithThousands(count)));
    }
    List(_record.foldersNotChosen, "Folders that were not chosen");
    if (_record.undatedTaken.value_or(0) > 0) {
      Line(fmt::format("Messages taken because nothing tells when they came: {}",
                       WithThousands(*_record.undatedTaken)));
    }
    for (const PassedOverWords& words : kPassedOverWords) {
      if (const std::uint64_t count = _record.PassedOver(words.why); count > 0)
        Line(fmt::format("{}: {}", words.text, WithThousands(count)));
    }
    if (_record.deletedSkipped > 0) {
      Line(fmt::format("Messages marked as deleted and left out: {}",
                       WithThousands(_record.deletedSkipped)));
    }
    if (_record.copiesSkipped > 0) {
      Line(
          fmt::format("Copies of messages that are in several mailboxes of an export, left out: {}",
                      WithThousands(_record.copiesSkipped)));
    }
    if (_record.folderDataSkipped > 0) {
      Line(fmt::format("Notes of mail programs about their folders, no messages, left out: {}",
                       WithThousands(_record.folderDataSkipped)));
    }
  }

  void Unfinished() {
    if (_record.error.empty() && !_record.interrupted) return;
    if (_record.forecast) {
      Line("Not finished: mail that comes after the last message read is not counted");
    } else if (_record.errorCode != CodeOf(RunProblem::kNameNotTaken)) {
      Line("Not finished: mail that comes after the last message read is not in the PST");
    }
    List(_record.notBegun, "Folders not begun");
  }

  void Lists() {
    List(_record.failures, "Failed messages");
    PathLists();
    Separators();
    List(_record.leftOutParts, "Parts left out of their messages");
    for (std::size_t i = 0; i < engine::kRemarkKinds; ++i)
      List(_record.remarks[i], WordsOf(static_cast<engine::RemarkKind>(i)).heading);
    List(_record.unusedIndexes, "Folders whose index was not used for their messages' marks");
    List(_record.renamed, "Renamed folders");
    List(_record.folderRefusals, "Folders made without what the PST refused");
    List(_record.continued, "Folders that are full");
  }

  void Separators() {
    List(_record.separators, _record.strictSeparators
                                 ? "Lines much like separators that were taken for text"
                                 : "Separator lines that may have cut a message in two");
    if (!_record.strictSeparators && _record.separatorsTextByStrictRule > 0) {
      Line(fmt::format(
          "  --separators strict would take {} of them for text: so many messages fewer",
          WithThousands(_record.separatorsTextByStrictRule)));
    }
    if (_record.beginningsPassedOver > 0) {
      Line(fmt::format("Mailboxes read from behind a byte order mark or blank lines: {}",
                       WithThousands(_record.beginningsPassedOver)));
    }
  }

  // Mail left behind first, each with what to do about it.
  void PathLists() {
    for (const std::u16string& profile : _record.profilesInUse) Line(InUseText(profile));
    List(_record.readFailures, "Files that were not read as they are");
    List(_record.leftBehind, "Mail left behind");
    List(_record.passedOver, "Passed over");
    if (!_record.otherFiles.empty()) {
      Line(fmt::format("Other files beside the mail: {} (the report names them)",
                       WithThousands(_record.otherFiles.total)));
    }
  }

  void Timings() {
    for (const StageTiming& timing : _record.timings) {
      Line(fmt::format("  {:<16}{:>9.3f} s{}", timing.stage,
                       static_cast<double>(timing.milliseconds) / 1000,
                       timing.bytes == 0 ? "" : fmt::format("{:>12}", Size(timing.bytes))));
    }
  }

  void Dates() {
    if (_record.withoutDate > 0)
      Line(fmt::format("Messages without a date: {}", WithThousands(_record.withoutDate)));
    if (_record.unreadableDate > 0) {
      Line(fmt::format("Messages whose date could not be read: {}",
                       WithThousands(_record.unreadableDate)));
    }
  }

  // Kinds in the order in which they appear first; "and 3 more" behind those that are named.
  template <typename Entry>
  void List(const std::vector<Entry>& entries, std::uint64_t total, std::string_view heading) {
    if (total == 0) return;
    Line(fmt::format("{}: {}", heading, WithThousands(total)));
    std::vector<std::vector<const Entry*>> kinds;
    std::map<std::string_view, std::size_t> indexes;
    for (const Entry& entry : entries) {
      const auto [at, isNew] = indexes.try_emplace(KindOf(entry), kinds.size());
      if (isNew) kinds.emplace_back();
      kinds[at->second].push_back(&entry);
    }
    for (std::size_t i = 0; i < kinds.size() && i < kMostKinds; ++i) Kind(kinds[i]);
    std::uint64_t unnamed = total - entries.size();
    for (std::size_t i = kMostKinds; i < kinds.size(); ++i) unnamed += kinds[i].size();
    if (unnamed > 0) Line(fmt::format("  and {} more", WithThousands(unnamed)));
  }

  // A heading for several of one kind, which then goes without saying.
  template <typename Entry>
  void Kind(const std::vector<const Entry*>& entries) {
    const std::string kind = Words(_record, *entries[0]).kind;
    const bool heading = !kind.empty() && entries.size() > 1;
    if (heading) Line(fmt::format("  {}: {}", kind, WithThousands(entries.size())));
    const std::string_view indent = heading ? "    " : "  ";
    const std::size_t named = std::min(entries.size(), kMostNamed);
    for (std::size_t i = 0; i < named; ++i) {
      EntryWords words = Words(_record, *entries[i]);
      if (heading) words.kind.clear();
      Line(fmt::format("{}{}", indent, InOneLine(words)));
    }
    if (entries.size() > named)
      Line(fmt::format("{}and {} more", indent, WithThousands(entries.size() - named)));
  }

  template <typename Entry>
  void List(const std::vector<Entry>& entries, std::string_view heading) {
    List(entries, entries.size(), heading);
  }
  template <typename Entry>
  void List(const Listing<Entry>& listing, std::string_view heading) {
    List(listing.entries, listing.total, heading);
  }

  const ConversionRecord& _record;
  std::string _text;
};

}  // namespace

std::string Summary(const ConversionRecord& record) { return SummaryWriter(record).Run(); }

std::string SummaryInOneLine(const ConversionRecord& record) {
  return SummaryWriter(record).RunInOneLine();
}

std::string SummaryOfNothing(const ConversionRecord& record) {
  return SummaryWriter(record).RunWithoutTotals();
}

}  // namespace parvane::desk
