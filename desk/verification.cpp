#include "desk/verification.h"

#include <algorithm>
#include <array>
#include <map>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/json_writer.h"
#include "desk/reasons.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using moves::Finding;
using moves::FindingKind;
using moves::FolderTally;
using platform::PathForDisplay;

// What the text names of each kind in a folder; the JSON has them all, as far as they are listed
// anywhere.
constexpr std::size_t kMostNamed = 20;
constexpr unsigned kWidestFolder = 48;  // columns
constexpr unsigned kWidestSubject = 80;

struct KindWords {
  FindingKind kind;
  std::string_view code;
  std::string_view count;  // "2 missing"
  std::string_view heading;
};
constexpr std::array<KindWords, moves::kFindingKinds> kKinds = {
    {{FindingKind::kMissing, "missing", "missing", "Missing"},
     {FindingKind::kDifferent, "different", "different", "Different"},
     {FindingKind::kElsewhere, "elsewhere", "in another folder", "In another folder"},
     {FindingKind::kExtra, "extra", "extra", "Extra, beside what was expected"}}};

constexpr std::array<std::string_view, moves::kContentFields> kFieldNames = {
    "subject", "originator", "recipients", "dates", "text", "html", "attachments"};

std::vector<std::string_view> FieldsOf(const Finding& finding) {
  std::vector<std::string_view> names;
  for (std::size_t i = 0; i < moves::kContentFields; ++i) {
    if (finding.different & moves::SetOf(static_cast<moves::ContentField>(i)))
      names.push_back(kFieldNames[i]);
  }
  return names;
}

class TextWriter {
 public:
  explicit TextWriter(const Verification& verification) : _v(verification) {}

  std::string Run() {
    if (_v.compared) {
      Folders();
      Totals();
      for (const KindWords& kind : kKinds) Findings(kind);
    }
    List("Mail left behind", _v.record.leftBehind);
    List("Files that were not read as they are", _v.record.readFailures);
    List("Messages of the sources that could not be read", _v.record.failures);
    List("Refused when a message is made", _v.record.RemarksOf(engine::RemarkKind::kRefused));
    return std::move(_text);
  }

 private:
  void Line(std::string_view line) {
    AppendPrintable(_text, line);
    _text += '\n';
  }
  std::string PathOf(std::uint32_t folder) const {
    return FolderPath(_v.comparison.folders().PathOf(folder));
  }

  void Folders() {
    const auto& tallies = _v.comparison.tallies();
    unsigned width = 0;
    for (std::uint32_t i = 0; i < tallies.size(); ++i)
      width = std::max(width, std::min(Columns(PathOf(i)), kWidestFolder));
    for (std::uint32_t i = 0; i < tallies.size(); ++i) {
      const FolderTally& tally = tallies[i];
      if (tally.expected == 0 && tally.Of(FindingKind::kExtra) == 0) continue;
      std::string line = PathOf(i);
      if (const unsigned used = Columns(line); used < width) line.append(width - used, ' ');
      line += fmt::format("  {:>9} expected  {:>9} there", WithThousands(tally.expected),
                          WithThousands(tally.same));
      Line(line + CountsOf(tally, "  {:>6} {}"));
    }
  }

  template <typename Format>
  static std::string CountsOf(const FolderTally& tally, const Format& format) {
    std::string text;
    for (const KindWords& kind : kKinds) {
      if (const std::uint64_t count = tally.Of(kind.kind); count > 0)
        text += fmt::format(fmt::runtime(format), WithThousands(count), kind.count);
    }
    return text;
  }

  void Totals() {
    const FolderTally total = _v.comparison.Total();
    std::string psts;
    for (const std::u16string& pst : _v.psts)
      psts.append(psts.empty() ? "" : ", ").append(PathForDisplay(pst));
    Line(fmt::format("{} expected, {} there{}: {}, {}", Counted(total.expected, "message"),
                     WithThousands(total.same), CountsOf(total, ", {} {}"), psts,
                     Duration(_v.record.milliseconds)));
    for (const PassedOverWords& words : kPassedOverWords) {
      if (const std::uint64_t count = _v.record.PassedOver(words.why); count > 0)
        Line(fmt::format("{}: {}", words.text, WithThousands(count)));
    }
  }

  // "  mail / Inbox, message 3: Boat on Saturday? <1@x>: recipients, attachments"
  void Findings(const KindWords& kind) {
    if (_v.comparison.Total().Of(kind.kind) == 0) return;
    Line(fmt::format("{}: {}", kind.heading, WithThousands(_v.comparison.Total().Of(kind.kind))));
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint64_t> named;
    for (const Finding& finding : _v.findings) {
      if (finding.kind != kind.kind) continue;
      std::uint64_t& count = named[{finding.folder, finding.foundIn}];
      if (++count <= kMostNamed) Line("  " + Describe(finding));
    }
    for (const auto& [folders, count] : named) {
      if (count <= kMostNamed) continue;
      Line(fmt::format("  and {} more of {}{}", WithThousands(count - kMostNamed),
                       PathOf(folders.first), WhereInstead(folders.first, folders.second)));
    }
  }

  std::string WhereInstead(std::uint32_t folder, std::uint32_t foundIn) const {
    return foundIn == moves::kNone || foundIn == folder ? "" : ", in " + PathOf(foundIn);
  }

  std::string Describe(const Finding& finding) const {
    std::string line = PathOf(finding.folder);
    if (finding.position > 0) line += ", message " + WithThousands(finding.position);
    if (const moves::MessageName* name = _v.NameOf(finding)) {
      line +=
          ": " + FitColumns(name->subject.empty() ? "(no subject)" : name->subject, kWidestSubject);
      if (!name->messageId.empty()) line += "  " + FitColumns(name->messageId, kWidestSubject);
    }
    std::string fields;
    for (const std::string_view field : FieldsOf(finding))
      fields.append(fields.empty() ? ": " : ", ").append(field);
    line += fields;
    if (finding.kind == FindingKind::kMissing && finding.foundIn != moves::kNone)
      return line + " (a copy stands for another message, in " + PathOf(finding.foundIn) + ")";
    return line + WhereInstead(finding.folder, finding.foundIn);
  }

  template <typename Entry>
  void List(std::string_view heading, const Listing<Entry>& listing) {
    if (listing.empty()) return;
    Line(fmt::format("{}: {}", heading, WithThousands(listing.total)));
    const std::size_t shown = std::min(listing.entries.size(), kMostNamed);
    for (std::size_t i = 0; i < shown; ++i)
      Line("  " + desk::Describe(_v.record, listing.entries[i]));
    if (listing.total > shown)
      Line(fmt::format("  and {} more", WithThousands(listing.total - shown)));
  }

  const Verification& _v;
  std::string _text;
};

class JsonText {
 public:
  JsonText(const Verification& verification, const std::function<void(std::string_view)>& take)
      : _v(verification), _take(take) {}

  void Run() {
    _json.BeginObject();
    _json.Key("format").String("parvane verification");
    _json.Key("version").Number(1);
    Strings("sources", _v.record.sources);
    Strings("manifests", _v.manifests);
    Strings("psts", _v.psts);
    _json.Key("finished").Bool(_v.compared);
    _json.Key("allThere").Bool(Outcome(_v) == ExitCode::kDone);
    if (!_v.record.error.empty()) _json.Key("error").String(_v.record.error);
    _json.Key("seconds").Seconds(_v.record.milliseconds);
    _json.Key("totals").BeginObject();
    Tally(_v.comparison.Total());
    _json.Key("unreadable").Number(_v.record.Failed() + _v.unreadableTotal);
    _json.Key("leftBehind").Number(_v.record.leftBehind.total);
    for (const PassedOverWords& words : kPassedOverWords) {
      // A verification looks for what is there already in another way.
      if (words.why != moves::Verdict::kAlreadyThere)
        _json.Key(words.code).Number(_v.record.PassedOver(words.why));
    }
    _json.EndObject();
    Folders();
    Findings();
    Descriptions("failed", _v.record.failures);
    Descriptions("leftBehind", _v.record.leftBehind);
    Descriptions("readFailures", _v.record.readFailures);
    Descriptions("refused", _v.record.RemarksOf(engine::RemarkKind::kRefused));
    _json.Key("unreadable").BeginArray();
    for (const std::string& what : _v.unreadable) _json.String(what);
    _json.EndArray();
    _json.EndObject();
    _take(_json.Take());
  }

 private:
  void Strings(std::string_view key, const std::vector<std::u16string>& paths) {
    _json.Key(key).BeginArray();
    for (const std::u16string& path : paths) _json.String(PathForDisplay(path));
    _json.EndArray();
  }
  void Path(std::string_view key, std::uint32_t folder) {
    _json.Key(key).BeginArray();
    for (const std::u16string& name : _v.comparison.folders().PathOf(folder)) _json.String(name);
    _json.EndArray();
  }
  void Tally(const FolderTally& tally) {
    _json.Key("expected").Number(tally.expected);
    _json.Key("there").Number(tally.same);
    for (const KindWords& kind : kKinds) _json.Key(kind.code).Number(tally.Of(kind.kind));
  }

  void Folders() {
    _json.Key("folders").BeginArray();
    const auto& tallies = _v.comparison.tallies();
    for (std::uint32_t i = 0; i < tallies.size(); ++i) {
      if (tallies[i].expected == 0 && tallies[i].Of(FindingKind::kExtra) == 0) continue;
      _json.BeginObject();
      Path("path", i);
      Tally(tallies[i]);
      _json.EndObject();
    }
    _json.EndArray();
  }

  void Findings() {
    _json.Key("findings").BeginArray();
    for (const Finding& finding : _v.findings) {
      const moves::MessageName* name = _v.NameOf(finding);
      // The totals count those that there were too many of.
      if (!name) continue;
      _json.BeginObject();
      _json.Key("kind").String(kKinds[static_cast<std::size_t>(finding.kind)].code);
      Path("folder", finding.folder);
      if (finding.position > 0) _json.Key("position").Number(finding.position);
      _json.Key("messageId").String(name->messageId);
      _json.Key("subject").String(name->subject);
      _json.Key("different").BeginArray();
      for (const std::string_view field : FieldsOf(finding)) _json.String(field);
      _json.EndArray();
      const bool copy = finding.kind == FindingKind::kMissing;
      if (finding.foundIn != moves::kNone && (copy || finding.foundIn != finding.folder))
        Path(copy ? "copyIn" : "foundIn", finding.foundIn);
      _json.EndObject();
      _take(_json.Take());
    }
    _json.EndArray();
  }

  template <typename Entry>
  void Descriptions(std::string_view key, const Listing<Entry>& listing) {
    _json.Key(key).BeginArray();
    for (const Entry& entry : listing.entries) _json.String(Describe(_v.record, entry));
    _json.EndArray();
  }

  const Verification& _v;
  const std::function<void(std::string_view)>& _take;
  JsonWriter _json;
};

}  // namespace

ExitCode Outcome(const Verification& verification) {
  const ConversionRecord& record = verification.record;
  if (!record.error.empty()) return ExitCode::kCouldNotFinish;
  if (record.interrupted) return ExitCode::kInterrupted;
  const FolderTally total = verification.comparison.Total();
  const bool allThere = total.same == total.expected && record.Failed() == 0 &&
                        record.leftBehind.empty() && record.readFailures.empty() &&
                        record.RemarksOf(engine::RemarkKind::kRefused).empty() &&
                        verification.unreadableTotal == 0;
  return allThere ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

std::string VerificationInWords(const Verification& verification) {
  return TextWriter(verification).Run();
}

void VerificationAsJson(const Verification& verification,
                        const std::function<void(std::string_view)>& take) {
  JsonText(verification, take).Run();
}

}  // namespace parvane::desk
