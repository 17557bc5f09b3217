#include "desk/conversion_record.h"

#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;

std::string InWords(const ConversionRecord& record, const MessagePlace& place) {
  const FolderAccount& folder = record.folders[place.folder];
  const std::string file = place.path.empty() ? fmt::format("at byte {} of {}", place.offset,
                                                            PathForDisplay(folder.sourcePath))
                                              : PathForDisplay(place.path);
  return fmt::format("{}, message {} ({}{}{})", FolderPath(folder.path), place.position, file,
                     place.messageId.empty() ? "" : ", ", place.messageId);
}

std::string Joined(std::string_view first, std::string_view second) {
  return fmt::format("{}{}{}", first, first.empty() || second.empty() ? "" : ": ", second);
}

// The system's words often have the path, which stands before them already.
std::string About(const std::u16string& path, std::string words) {
  const std::string shown = PathForDisplay(path);
  const std::size_t at = shown.empty() ? words.npos : words.find(shown);
  return at == words.npos ? words : words.replace(at, shown.size(), "it");
}

}  // namespace

void ConversionRecord::BeginFor(const ConvertOptions& options, bool scan) {
  started = platform::CurrentFileTime();
  sources = options.sources;
  destination = options.destination;
  mapi = options.mapi;
  split = static_cast<bool>(options.split);
  strictSeparators = options.separators == engine::SeparatorRule::kStrict;
  const KeepChoice& keep = options.keep;
  if (options.wanted.since || options.wanted.before) undatedTaken = 0;
  if (keep.state) stateKept.emplace();
  if (scan) forecast.emplace();
  // What only a conversion finds is not counted by a scan.
  if (keep.winmail && !scan) winmail.emplace();
  if (keep.addresses && !scan) addressesKept.emplace();
  for (const auto& [asked, count] : {std::pair(keep.headers, carry::MailCount::kHeaders),
                                     std::pair(keep.dates, carry::MailCount::kDates),
                                     std::pair(keep.inlines && !scan, carry::MailCount::kInline),
                                     std::pair(keep.parts && !scan, carry::MailCount::kParts)}) {
    if (asked) mailKept[static_cast<std::size_t>(count)] = 0;
  }
}

DateRange ConversionRecord::Dates() const {
  DateRange dates;
  for (const FolderAccount& folder : folders) dates.Add(folder.dates);
  return dates;
}

YearCounts ConversionRecord::Years() const {
  YearCounts years;
  for (const FolderAccount& folder : folders) {
    for (const auto& [year, messages] : folder.years) years[year] += messages;
  }
  return years;
}

EntryWords Words(const ConversionRecord& record, const FailedMessage& failure) {
  return {InWords(record, failure), std::string(KindOf(failure)), failure.detail};
}

EntryWords Words(const ConversionRecord& record, const SuspectedSeparator& separator) {
  return {fmt::format("{}, byte {}", PathForDisplay(record.folders[separator.folder].sourcePath),
                      separator.offset),
          std::string(KindOf(separator)), separator.line};
}

EntryWords Words(const ConversionRecord& record, const LeftOutPart& part) {
  const std::string name =
      part.part.name.empty() ? "" : "\"" + platform::Utf16ToUtf8(part.part.name) + "\", ";
  return {
      fmt::format("{}, message {}", FolderPath(record.folders[part.folder].path), part.position),
      std::string(KindOf(part)), name + Size(part.part.size)};
}

EntryWords Words(const ConversionRecord& record, const MessageRemark& remark) {
  return {InWords(record, remark), {}, Joined(remark.remark.place, remark.remark.text)};
}

EntryWords Words(const ConversionRecord& record, const DuplicateMessage& duplicate) {
  return {InWords(record, duplicate), "a copy of it is in",
          FolderPath(record.folders[duplicate.copyIn].path)};
}

EntryWords Words(const ConversionRecord&, const SkippedPath& path) {
  const Reason reason = ReasonOf(path.reason);
  return {PathForDisplay(path.path),
          reason.advice.empty() ? std::string(reason.text)
                                : fmt::format("{} ({})", reason.text, reason.advice),
          About(path.path, path.detail)};
}

EntryWords Words(const ConversionRecord&, const ReadFailure& failure) {
  return {fmt::format("{}, at byte {}", PathForDisplay(failure.path), failure.offset),
          {},
          About(failure.path, failure.reason)};
}

EntryWords Words(const ConversionRecord&, const UnusedIndex& index) {
  return {PathForDisplay(index.path), std::string(KindOf(index)), index.detail};
}

EntryWords Words(const ConversionRecord&, const RenamedFolder& renamed) {
  return {fmt::format("\"{}\" is now {}", platform::Utf16ToUtf8(renamed.wanted),
                      FolderPath(renamed.path)),
          {},
          {}};
}

EntryWords Words(const ConversionRecord&, const FolderRefusal& refusal) {
  return {FolderPath(refusal.path), {}, Joined(refusal.place, refusal.text)};
}

EntryWords Words(const ConversionRecord&, const ContinuedFolder& folder) {
  return {FolderPath(folder.path), {}, "its mail goes on in " + FolderPath(folder.next)};
}

EntryWords Words(const ConversionRecord&, const UnreadFolder& folder) {
  return {
      fmt::format("{} ({})", FolderPath(folder.path), PathForDisplay(folder.sourcePath)), {}, {}};
}

std::string InOneLine(const EntryWords& words) {
  return Joined(words.place, Joined(words.kind, words.detail));
}

std::string ReasonText(const FailedMessage& failure) {
  return Joined(KindOf(failure), failure.detail);
}

std::string InUseText(const std::u16string& profile) {
  return PathForDisplay(profile) +
         ": Thunderbird has this profile open, and what it writes meanwhile may be missing: close "
         "it and convert again";
}

}  // namespace parvane::desk
