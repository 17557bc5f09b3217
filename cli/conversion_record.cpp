#include "cli/conversion_record.h"

#include <fmt/format.h>

#include "cli/format.h"
#include "platform/file.h"
#include "platform/text.h"

namespace parvane::cli {

using engine::SkipReason;
using engine::SuspiciousSeparatorReason;
using platform::PathForDisplay;

std::string Describe(const ConversionRecord& record, const FailedMessage& failure) {
  const FolderAccount& folder = record.folders[failure.folder];
  const std::string name = failure.messageId.empty() ? "" : ", " + failure.messageId;
  return fmt::format("{}, message {} (at byte {} of {}{}): {}", FolderPath(folder.path),
                     failure.position, failure.offset, PathForDisplay(folder.sourcePath), name,
                     failure.reason);
}

std::string Describe(const ConversionRecord& record, const SuspectedSeparator& separator) {
  return fmt::format("{}, byte {}: {}: {}",
                     PathForDisplay(record.folders[separator.folder].sourcePath), separator.offset,
                     Describe(separator.reason), separator.line);
}

std::string Describe(const ConversionRecord& record, const LeftOutPart& part) {
  const std::string name =
      part.part.name.empty() ? "" : " \"" + platform::Utf16ToUtf8(part.part.name) + "\"";
  return fmt::format(
      "{}, message {}: {}{} ({})", FolderPath(record.folders[part.folder].path), part.position,
      part.part.contentType.empty() ? "a part without a type" : part.part.contentType, name,
      Size(part.part.size));
}

std::string Describe(const SkippedPath& path) {
  std::string text = fmt::format("{}: {}", PathForDisplay(path.path), Describe(path.reason));
  if (!path.detail.empty()) text += ": " + path.detail;
  if (const std::string_view advice = Advice(path.reason); !advice.empty())
    text += fmt::format(" ({})", advice);
  return text;
}

std::string Describe(const ReadFailure& failure) {
  return fmt::format("{}, at byte {}: {}", PathForDisplay(failure.path), failure.offset,
                     failure.reason);
}

std::string_view Describe(SkipReason reason) {
  switch (reason) {
    case SkipReason::kNotAnMbox:
      return "does not begin with \"From \", so it is no mailbox";
    case SkipReason::kDamagedBeginning:
      return "something stands before its first separator line, so it is not read as a mailbox";
    case SkipReason::kUnreadable:
      return "could not be read";
    case SkipReason::kOtherExtension:
      return "begins like a mailbox but is not named like one";
    case SkipReason::kOtherFile:
      return "neither named like a mailbox nor beginning like one";
    case SkipReason::kResourceForkCompanion:
      return "companion file of another system";
    case SkipReason::kOrphanSbd:
      return "subfolders without a mailbox of their name beside them";
    case SkipReason::kSymbolicLinkLoop:
      return "leads back to a folder that is being read";
    case SkipReason::kTooDeep:
      return "nested too deeply";
    case SkipReason::kNotAFile:
      return "not a regular file";
    case SkipReason::kSingleMessages:
      return "holds messages in files of their own (maildir, .eml), which are not read";
    case SkipReason::kElsewhere:
      return "a mail account of the profile is kept there, outside of the profile";
  }
  return "passed over";
}

std::string_view Advice(SkipReason reason) {
  switch (reason) {
    case SkipReason::kDamagedBeginning:
      return "remove what stands before its first line that begins with \"From \"";
    case SkipReason::kUnreadable:
      return "check its permissions and convert it again";
    case SkipReason::kOtherExtension:
      return "convert it by itself: parvane convert --append FILE DEST.pst";
    case SkipReason::kOrphanSbd:
      return "put an empty file named like it, without .sbd, beside it";
    case SkipReason::kTooDeep:
      return "convert the folder by itself";
    case SkipReason::kSingleMessages:
      return "let the program that keeps them export them as mbox";
    case SkipReason::kElsewhere:
      return "convert it as a source of its own";
    default:
      return {};
  }
}

bool MeansMailLeftBehind(SkipReason reason) { return !Advice(reason).empty(); }

std::string_view Describe(SuspiciousSeparatorReason reason) {
  switch (reason) {
    case SuspiciousSeparatorReason::kNoDate:
      return "no date behind \"From \"";
    case SuspiciousSeparatorReason::kNoEmptyLineBefore:
      return "no empty line before it";
  }
  return {};
}

}  // namespace parvane::cli
