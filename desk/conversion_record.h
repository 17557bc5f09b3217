// The account of one conversion: what was read, what the PST holds of it, and what was not carried
// over and why. The closing summary, the logs and the report all tell this one account.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "carry/item_in_hand.h"
#include "carry/state_step.h"
#include "desk/date_range.h"
#include "desk/options.h"
#include "desk/reasons.h"
#include "desk/scan_estimate.h"
#include "engine/source_observer.h"
#include "moves/item_filter.h"
#include "platform/time.h"

namespace parvane::desk {

// Lists that one entry a message could fill are cut here, so that memory stays bounded; their
// totals stay right.
inline constexpr std::size_t kMostEntriesListed = 100'000;
inline constexpr std::size_t kMostBytesListed = 32 << 20;

template <typename Entry>
struct Listing {
  std::vector<Entry> entries;
  std::uint64_t total = 0;
  std::size_t bytes = 0;  // of memory

  // `text`: the bytes of its texts.
  void Add(Entry entry, std::size_t text = 0) {
    ++total;
    bytes += sizeof(Entry) + text;
    if (entries.size() < kMostEntriesListed && bytes <= kMostBytesListed) {
      entries.push_back(std::move(entry));
    }
  }
  template <typename Which>
  void Remove(Which which) {
    total -= std::erase_if(entries, which);
  }
  bool empty() const { return total == 0; }
};

// Messages by the year of their delivery; without those that nothing tells the date of.
using YearCounts = std::map<unsigned, std::uint64_t>;

// One folder of the PST that took mail. read = written + failed once the PST is closed.
struct FolderAccount {
  std::vector<std::u16string> path;  // from the PST's top folder
  std::u16string sourcePath;
  std::uint64_t read = 0;
  // Whole, and committed to the file; with the system's MAPI: accepted by it, which is all it
  // tells.
  std::uint64_t written = 0;
  std::uint64_t failed = 0;
  std::uint64_t bytes = 0;  // of messages read
  // Messages that the source has and nobody wanted read, by why (moves/item_filter.h).
  std::array<std::uint64_t, moves::kPassedOverReasons> passedOver{};
  DateRange dates = {};                 // of a scan
  YearCounts years = {};                // of messages written, of a scan those that would be
  std::vector<std::size_t> parts = {};  // of the record, in which it has mail; if it is split
};

// One of several PSTs that the mail was split into.
struct PartAccount {
  std::u16string path;
  std::uint64_t bytes = 0;
  std::uint64_t written = 0;  // messages
};

// Where a message comes from.
struct MessagePlace {
  std::size_t folder = 0;
  std::uint64_t position = 0;  // in its folder, from 1
  std::uint64_t offset = 0;    // in the source file, of its first header line
  std::u16string path;         // of its own file; empty where a file holds many
  std::string messageId;       // empty when it has none
};

struct FailedMessage : MessagePlace {
  FailureKind kind{};
  std::string detail;   // what is known beyond the kind
  std::string details;  // sender, date and subject, as far as they could be read
};

// A message that was left out, for there is a copy of it.
struct DuplicateMessage : MessagePlace {
  std::size_t copyIn = 0;  // the folder
};

struct LeftOutPart {
  std::size_t folder = 0;
  std::uint64_t position = 0;
  engine::UnconvertedPart part;
};

// Of a message that was written: what its owner should know about it.
struct MessageRemark : MessagePlace {
  engine::Remark remark;
};

struct SuspectedSeparator {
  std::size_t folder = 0;
  std::uint64_t offset = 0;
  engine::SuspiciousSeparatorReason reason{};
  std::string line;
  bool textByStrictRule = false;
};

struct SkippedPath {
  std::u16string path;
  engine::SkipReason reason{};
  std::string detail;
};

// The marks of a folder's messages are not those of its index.
struct UnusedIndex {
  std::u16string path;
  engine::IndexFault fault{};
  std::string detail;
};

struct ReadFailure {
  std::u16string path;
  std::uint64_t offset = 0;
  platform::StatusCode code{};
  std::string reason;
};

struct RenamedFolder {
  std::u16string wanted;
  std::vector<std::u16string> path;
};

// A property that a folder was made without.
struct FolderRefusal {
  std::vector<std::u16string> path;
  std::string place;  // the property
  std::string text;   // what was answered
};

// A folder that took no more messages, and the sibling in which its mail goes on.
struct ContinuedFolder {
  std::vector<std::u16string> path;
  std::vector<std::u16string> next;
};

// The conversion ended before it came to this folder, or nobody wanted it.
struct UnreadFolder {
  std::vector<std::u16string> path;
  std::u16string sourcePath;
};

// What one stage of the work took (platform/stage_times.h).
struct StageTiming {
  std::string_view stage;
  std::uint64_t milliseconds = 0;
  std::uint64_t bytes = 0;
};

struct WinmailTotals {
  std::uint64_t opened = 0;
  std::uint64_t attachments = 0;
  std::uint64_t kept = 0;
};

struct ConversionRecord {
  std::vector<std::u16string> sources;
  std::u16string destination;
  // The run ended before its time, and what it has written is here; empty: nothing is, or the
  // destination itself was added to.
  std::u16string partial;
  bool began = false;  // messages may have been copied
  bool appended = false;
  bool resumed = false;  // the run goes on with what one has left that did not finish
  bool split = false;    // into parts
  // Those with mail in them, in the order in which they were written; all but the last one are
  // finished, and that is `partial` if that is not empty.
  std::vector<PartAccount> parts;
  // What is there under the names of further ones is not of this run.
  std::vector<std::u16string> oldParts;
  MapiChoice mapi = MapiChoice::kBuiltin;
  platform::FileTime started;
  std::uint64_t milliseconds = 0;

  std::vector<FolderAccount> folders;
  Listing<FailedMessage> failures;                        // to be added to by Add
  std::array<std::uint64_t, kFailureKinds> failuresOf{};  // of each kind
  Listing<LeftOutPart> leftOutParts;
  Listing<DuplicateMessage> duplicates;
  std::array<Listing<MessageRemark>, engine::kRemarkKinds> remarks;  // a list for each kind
  Listing<SuspectedSeparator> separators;
  std::uint64_t separatorsTextByStrictRule = 0;  // of those
  bool strictSeparators = false;                 // is the rule
  // Mailboxes with a byte order mark or blank lines before their first separator.
  std::uint64_t beginningsPassedOver = 0;
  Listing<SkippedPath> leftBehind;  // there is, or may be, mail in them
  Listing<SkippedPath> passedOver;  // one would expect some, and there is none, or none but copies
  Listing<SkippedPath> otherFiles;  // nobody would expect any
  Listing<ReadFailure> readFailures;
  Listing<UnusedIndex> unusedIndexes;
  std::vector<std::u16string> profilesInUse;  // Thunderbird was at work on them
  std::vector<RenamedFolder> renamed;
  Listing<FolderRefusal> folderRefusals;
  std::vector<UnreadFolder> notBegun;
  Listing<UnreadFolder> foldersNotChosen;
  // Messages taken although nothing tells when they came; only where dates were to choose by.
  std::optional<std::uint64_t> undatedTaken;
  std::vector<ContinuedFolder> continued;
  // Written messages by what was kept of their state; none of them are counted when none was asked
  // for.
  std::optional<std::array<std::uint64_t, carry::kStateKinds>> stateKept;
  // Files winmail.dat of written messages, and such messages with correspondents that repair would
  // have lost; likewise.
  std::optional<WinmailTotals> winmail;
  std::optional<std::uint64_t> addressesKept;
  // How much came along of the groups that have no counts of their own; likewise.
  std::array<std::optional<std::uint64_t>, carry::kMailCounts> mailKept;
  std::uint64_t deletedSkipped = 0;     // messages, as was asked for
  std::uint64_t copiesSkipped = 0;      // messages that another mailbox of an export has
  std::uint64_t folderDataSkipped = 0;  // notes of mail programs about their folders, no messages
  std::uint64_t withoutDate = 0;
  std::uint64_t unreadableDate = 0;
  std::uint64_t pstSize = 0;  // of all parts
  std::uint64_t peakMemory = 0;
  std::vector<StageTiming> timings;  // if asked for

  // Of a scan, which has written nothing: what a conversion will come to.
  std::optional<ScanEstimate> forecast;

  bool interrupted = false;
  std::string error;           // why it could not finish; empty when it could
  std::string_view errorCode;  // the same, for programs

  // It is about a run that goes like this, or a scan of it: what nobody asked for is not counted.
  void BeginFor(const ConvertOptions& options, bool scan);
  // The first reason counts; later ones follow from it.
  void Fail(RunProblem problem, std::string reason) { Fail(CodeOf(problem), std::move(reason)); }
  void Fail(const platform::Status& status) { Fail(CodeOf(status.code()), status.message()); }

  std::uint64_t Read() const { return Sum(&FolderAccount::read); }
  std::uint64_t Written() const { return Sum(&FolderAccount::written); }
  std::uint64_t Failed() const { return Sum(&FolderAccount::failed); }
  std::uint64_t Bytes() const { return Sum(&FolderAccount::bytes); }
  DateRange Dates() const;
  YearCounts Years() const;

  std::uint64_t PassedOver(moves::Verdict why) const {
    std::uint64_t sum = 0;
    for (const FolderAccount& folder : folders) sum += folder.passedOver[ReasonIndex(why)];
    return sum;
  }

  void AddKept(const carry::MailCounts& counts) {
    for (std::size_t i = 0; i < carry::kMailCounts; ++i) {
      if (mailKept[i]) *mailKept[i] += counts[i];
    }
  }
  const Listing<MessageRemark>& RemarksOf(engine::RemarkKind kind) const {
    return remarks[static_cast<std::size_t>(kind)];
  }
  void Add(MessageRemark remark) {
    const std::size_t text =
        remark.messageId.size() + remark.remark.place.size() + remark.remark.text.size();
    remarks[static_cast<std::size_t>(remark.remark.kind)].Add(std::move(remark), text);
  }
  void Add(FailedMessage failure) {
    ++failuresOf[static_cast<std::size_t>(failure.kind)];
    const std::size_t text =
        failure.messageId.size() + failure.detail.size() + failure.details.size();
    failures.Add(std::move(failure), text);
  }

 private:
  void Fail(std::string_view code, std::string reason) {
    if (!error.empty()) return;
    errorCode = code;
    error = std::move(reason);
  }

  std::uint64_t Sum(std::uint64_t FolderAccount::*count) const {
    std::uint64_t sum = 0;
    for (const FolderAccount& folder : folders) sum += folder.*count;
    return sum;
  }
};

// What many entries of a list have in common; empty where they have nothing.
inline std::string_view KindOf(const FailedMessage& entry) { return ReasonOf(entry.kind).text; }
inline std::string_view KindOf(const SuspectedSeparator& entry) {
  return ReasonOf(entry.reason).text;
}
inline std::string_view KindOf(const UnusedIndex& entry) { return ReasonOf(entry.fault).text; }
inline std::string_view KindOf(const SkippedPath& entry) { return ReasonOf(entry.reason).text; }
inline std::string_view KindOf(const LeftOutPart& entry) {
  if (entry.part.contentType.empty()) return "a part without a type";
  return entry.part.contentType;
}
template <typename Entry>
std::string_view KindOf(const Entry&) {
  return {};
}

// One entry in words; logs, summary and report say the same. Any of them may be empty.
struct EntryWords {
  std::string place;   // what it is about
  std::string kind;    // as above, and what to do about it
  std::string detail;  // what only this one has
};
EntryWords Words(const ConversionRecord& record, const FailedMessage& failure);
EntryWords Words(const ConversionRecord& record, const SuspectedSeparator& separator);
EntryWords Words(const ConversionRecord& record, const LeftOutPart& part);
EntryWords Words(const ConversionRecord& record, const MessageRemark& remark);
EntryWords Words(const ConversionRecord& record, const DuplicateMessage& duplicate);
EntryWords Words(const ConversionRecord& record, const SkippedPath& path);
EntryWords Words(const ConversionRecord& record, const ReadFailure& failure);
EntryWords Words(const ConversionRecord& record, const UnusedIndex& index);
EntryWords Words(const ConversionRecord& record, const RenamedFolder& renamed);
EntryWords Words(const ConversionRecord& record, const FolderRefusal& refusal);
EntryWords Words(const ConversionRecord& record, const ContinuedFolder& folder);
EntryWords Words(const ConversionRecord& record, const UnreadFolder& folder);

// "place: kind: detail"
std::string InOneLine(const EntryWords& words);
template <typename Entry>
std::string Describe(const ConversionRecord& record, const Entry& entry) {
  return InOneLine(Words(record, entry));
}
// A failure's kind and detail; the sentence about the message.
std::string ReasonText(const FailedMessage& failure);
std::string InUseText(const std::u16string& profile);

}  // namespace parvane::desk
