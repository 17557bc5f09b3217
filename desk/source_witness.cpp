#include "desk/source_witness.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/property_names.h"
#include "desk/pst_account.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;
using QuelmarMIMEEngineCommon::IAssetFolder;

// What the mail library takes at most.
constexpr std::uint64_t kLargestMessage = std::uint64_t{1} << 36;

// What of it can be shown on a line.
std::string Printable(std::string_view messageId) {
  // Longer ones are no names, but damage.
  constexpr std::size_t kLongest = 512;
  std::string out(messageId.substr(0, kLongest));
  std::erase_if(out, [](char c) { return c <= 0x20 || c >= 0x7F; });
  return out;
}

std::u16string DiskPath(const IAssetFolder& folder) {
  return folder.FolderDiskPath().value_or(u"");
}

}  // namespace

void SourceWitness::WriteLog(std::u16string_view logString, bool briefLog, bool detailLog) {
  _logs.OfEngine(logString, briefLog, detailLog);
}

void SourceWitness::MessageRead(const engine::MessageLocation& message) {
  if (!_reading) return;
  _item = {};
  _item.folder = _folder;
  _item.position = static_cast<std::uint64_t>(message.index) + 1;
  _item.offset = message.offset;
  _item.path = message.path;
  _itemSize = message.size;
  _itemOpen = true;
  _carried = {};
  _itemProblem.reset();
  _itemProblemDetail.clear();
  _itemRefusals.clear();
  _itemDelivered = {};
  FolderAccount& folder = _record.folders[_folder];
  ++folder.read;
  folder.bytes += message.size;
}

void SourceWitness::GoOnIn(std::size_t index) {
  if (_itemOpen) {
    --_record.folders[_item.folder].read;
    _record.folders[_item.folder].bytes -= _itemSize;
    ++_record.folders[index].read;
    _record.folders[index].bytes += _itemSize;
  }
  _folder = _item.folder = index;
}

void SourceWitness::PutBack() {
  if (!_itemOpen) return;
  _itemOpen = false;
  FolderAccount& folder = _record.folders[_item.folder];
  --folder.read;
  folder.bytes -= _itemSize;
}

void SourceWitness::PassOver(const moves::Judgement& why) {
  if (!_itemOpen) return;
  const bool counted = _again && why.verdict == moves::Verdict::kNotChosen;
  if (counted || why.verdict == moves::Verdict::kOtherPart) return PutBack();
  // What fails is wanted all the same, as far as anyone can tell.
  if (_itemProblem && why.verdict != moves::Verdict::kNotChosen) {
    _itemOpen = false;
    return AddFailure(_item, *_itemProblem, std::move(_itemProblemDetail), {});
  }
  PutBack();
  FolderAccount& folder = _record.folders[_item.folder];
  ++folder.passedOver[ReasonIndex(why.verdict)];
  if (why.verdict == moves::Verdict::kDuplicate) {
    DuplicateMessage duplicate{_item, why.copyIn};
    _logs.Detailed("Left out: " + Describe(_record, duplicate));
    const std::size_t text = duplicate.messageId.size();
    _record.duplicates.Add(std::move(duplicate), text);
  }
}

void SourceWitness::MessageNamed(const engine::MessageLocation&, std::string_view messageId) {
  if (_itemOpen) _item.messageId = Printable(messageId);
}

void SourceWitness::SeparatorSuspected(const IAssetFolder&,
                                       const engine::SuspectedSeparator& suspected) {
  if (!Tells()) return;
  const std::string text = platform::Utf16ToUtf8(platform::Utf8ToUtf16(suspected.line));
  const SuspectedSeparator separator{_folder, suspected.offset, suspected.reason, text,
                                     suspected.textByStrictRule};
  _logs.Both((_record.strictSeparators ? "CHECK: " : "CHECK: a message may be cut in two here: ") +
             Describe(_record, separator));
  _record.separators.Add(separator, text.size());
  if (separator.textByStrictRule) ++_record.separatorsTextByStrictRule;
}

void SourceWitness::BeginningPassedOver(const IAssetFolder& folder, std::uint64_t bytes,
                                        bool text) {
  if (_again) return;
  if (text) {
    return PathSkipped(DiskPath(folder), engine::SkipReason::kDamagedBeginning,
                       {platform::StatusCode::kCorrupt, Size(bytes)});
  }
  ++_record.beginningsPassedOver;
  _logs.Detailed("Passed over a byte order mark or blank lines at the beginning of " +
                 PathForDisplay(DiskPath(folder)));
}

void SourceWitness::PathSkipped(std::u16string_view path, engine::SkipReason reason,
                                const platform::Status& status) {
  if (_again) return;
  if (reason == engine::SkipReason::kOrphanSbd) return _orphans.emplace_back(path), void();
  const bool leftBehind = MeansMailLeftBehind(reason);
  const SkippedPath skipped{std::u16string(path), reason, status.message()};
  if (reason == engine::SkipReason::kOtherFile) {
    _logs.Detailed("Passed over: " + Describe(_record, skipped));
    _record.otherFiles.Add(skipped);
    return;
  }
  _logs.Both((leftBehind ? "LEFT BEHIND: " : "Passed over: ") + Describe(_record, skipped));
  (leftBehind ? _record.leftBehind : _record.passedOver).Add(skipped);
}

void SourceWitness::ProfileInUse(const std::u16string& profile) {
  _record.profilesInUse.push_back(profile);
  _logs.Both("CHECK: " + InUseText(profile));
}

void SourceWitness::IndexNotUsed(std::u16string_view index, engine::IndexFault fault,
                                 const platform::Status& status) {
  if (_again) return;
  const UnusedIndex unused{std::u16string(index), fault, status.message()};
  _logs.Both("CHECK: index not used: " + Describe(_record, unused));
  _record.unusedIndexes.Add(unused);
}

void SourceWitness::ReadFailed(const IAssetFolder& folder, std::uint64_t offset,
                               const platform::Status& status) {
  const ReadFailure failure{DiskPath(folder), offset, status.code(), status.message()};
  // What was read once may fail the next time.
  if (_again && std::ranges::any_of(_record.readFailures.entries, [&](const ReadFailure& known) {
        return known.path == failure.path && known.offset == failure.offset;
      }))
    return;
  _logs.Both("LEFT BEHIND: " + Describe(_record, failure));
  _record.readFailures.Add(failure);
}

void SourceWitness::CopySkipped(std::string_view messageId) {
  if (!Tells()) return;
  ++_record.copiesSkipped;
  _logs.Detailed("SKIPPED: in another mailbox of the export too: " + Printable(messageId));
}

void SourceWitness::FolderDataSkipped(const engine::MessageLocation& message) {
  if (!Tells()) return;
  ++_record.folderDataSkipped;
  const FolderAccount& folder = _record.folders[_folder];
  _logs.Both(
      fmt::format("Passed over: {}, at byte {} of {}: a mail program's notes about the "
                  "folder, no message",
                  FolderPath(folder.path), message.offset, PathForDisplay(folder.sourcePath)));
}

void SourceWitness::DeletedMessageSkipped(const engine::MessageLocation& message,
                                          std::string_view messageId) {
  if (!Tells()) return;
  ++_record.deletedSkipped;
  _logs.Detailed(fmt::format("SKIPPED: marked as deleted: message {} (at byte {}{}{})",
                             message.index + 1, message.offset, messageId.empty() ? "" : ", ",
                             Printable(messageId)));
}

void SourceWitness::MessageNotParsed(const engine::MessageLocation& message,
                                     const platform::Status& dumpStatus) {
  _itemProblem = message.size > kLargestMessage ? FailureKind::kTooLarge : FailureKind::kNotParsed;
  _itemProblemDetail = dumpStatus.ok() ? "its text is in the error dump"
                                       : "its text could not be kept: " + dumpStatus.message();
}

void SourceWitness::MessageTooLarge(const engine::MessageLocation&,
                                    const platform::Status& status) {
  _itemProblem = FailureKind::kNoMemory;
  _itemProblemDetail = status.message();
}

void SourceWitness::MessageConverted(const engine::MessageLocation&, bool success,
                                     const engine::ConversionNotes& notes) {
  if (!_itemOpen) return;
  if (!success && !_itemProblem) _itemProblem = FailureKind::kNotConverted;
  for (const engine::UnconvertedPart& part : notes.unconvertedParts) {
    const LeftOutPart leftOut{_item.folder, _item.position, part};
    _logs.Detailed("LEFT OUT: " + Describe(_record, leftOut));
    _record.leftOutParts.Add(leftOut);
  }
  _record.leftOutParts.total += notes.moreUnconvertedParts;
  _record.withoutDate += notes.dateMissing;
  _record.unreadableDate += notes.dateUnreadable;
  _itemRefusals = notes.refusals;
  _itemDelivered = notes.delivered;
  for (const engine::Remark& remark : notes.remarks) {
    if (!IsKeptAfterAll(remark)) AddRemark(remark);
  }
  // The message may have a better date than the one that repair made.
  if (notes.dateChangedByRepair &&
      _carried.mailKept[static_cast<std::size_t>(carry::MailCount::kDates)] == 0) {
    const std::string before = IsoTime(notes.rawDate), after = IsoTime(notes.repairedDate);
    AddRemark({engine::RemarkKind::kDateChanged, "Date",
               fmt::format("{} became {}; it reads \"{}\"",
                           before.empty() ? "what could not be read" : before,
                           after.empty() ? "none" : after, notes.rawDateText)});
  }
}

void SourceWitness::AddFailure(const MessagePlace& item, FailureKind kind, std::string detail,
                               std::string details) {
  FolderAccount& folder = _record.folders[item.folder];
  ++folder.failed;
  FailedMessage failure{item, kind, std::move(detail), std::move(details)};
  _logs.Both("FAILED: " + Describe(_record, failure));
  _record.Add(std::move(failure));
}

void SourceWitness::AddRefusals(const std::string& told) {
  // The store knows of one that nobody has noted.
  if (_itemRefusals.empty() && !told.empty()) AddRemark({engine::RemarkKind::kRefused, {}, told});
  for (const mapi::Refusal& refusal : _itemRefusals) {
    std::string place = refusal.tag == 0 ? "more of it" : PropertyName(refusal.tag);
    if (!refusal.file.empty())
      place += fmt::format(" of \"{}\"", platform::Utf16ToUtf8(refusal.file));
    std::string text = told.empty() || _itemRefusals.size() > 1 ? ResultText(refusal.result) : told;
    if (refusal.count > 1) text += fmt::format(", {} times", WithThousands(refusal.count));
    AddRemark({engine::RemarkKind::kRefused, std::move(place), std::move(text)});
  }
}

void SourceWitness::AddRemark(engine::Remark remark) {
  MessageRemark entry{_item, std::move(remark)};
  _logs.Detailed(
      fmt::format("{}: {}", WordsOf(entry.remark.kind).logMark, Describe(_record, entry)));
  _record.Add(std::move(entry));
}

void SourceWitness::CountCarried(const Carried& carried) {
  if (_record.winmail) {
    _record.winmail->opened += carried.winmail.opened;
    _record.winmail->attachments += carried.winmail.attachments;
    _record.winmail->kept += carried.winmail.partly + carried.winmail.unreadable;
  }
  if (_record.addressesKept) *_record.addressesKept += carried.addressesKept.any();
  _record.AddKept(carried.mailKept);
  if (!_record.stateKept) return;
  for (std::size_t kind = 0; kind < carry::kStateKinds; ++kind)
    (*_record.stateKept)[kind] += carried.stateKept[kind];
}

}  // namespace parvane::desk
