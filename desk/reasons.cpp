#include "desk/reasons.h"

#include <new>
#include <stdexcept>
#include <system_error>

namespace parvane::desk {

// No switch here has a default, so that the compiler asks for the words of every new kind; what
// stands behind them is for values that no enumerator has.
//
// Codes are read by other people's programs: one that is published keeps its meaning, and what
// means something else gets another. Texts are put behind the name of what they are about ("x.mbox:
// ..."). Advice marks what leaves mail behind (MeansMailLeftBehind), and with it decides the exit
// code: a reason gets some exactly if there is, or may be, mail in what was passed over.
using engine::RemarkKind;
using engine::SkipReason;
using engine::SuspiciousSeparatorReason;
using platform::StatusCode;

Reason ReasonOf(SkipReason reason) {
  switch (reason) {
    case SkipReason::kNotAnMbox:
      return {"not-an-mbox", "does not begin with \"From \", so it is no mailbox"};
    case SkipReason::kDamagedBeginning:
      return {"damaged-beginning", "what stands before its first separator line was passed over",
              "if it is one, put a line like \"From - Thu Jan  1 00:00:00 1970\" in front of it "
              "and convert again"};
    case SkipReason::kUnreadable:
      return {"unreadable", "could not be read", "check its permissions and convert it again"};
    case SkipReason::kOtherExtension:
      return {"other-extension", "begins like a mailbox but is not named like one",
              "convert it by itself: parvane convert --append FILE DEST.pst"};
    case SkipReason::kOtherFile:
      return {"other-file", "neither named like a mailbox nor beginning like one"};
    case SkipReason::kResourceForkCompanion:
      return {"companion-file", "companion file of another system"};
    case SkipReason::kOrphanSbd:
      break;  // never told: it is opened as a source of its own
    case SkipReason::kSymbolicLinkLoop:
      return {"link-loop", "leads back to a folder that it lies in"};
    case SkipReason::kLinkToFolder:
      return {"link-to-folder", "a link to a folder that is read in its own place"};
    case SkipReason::kDanglingLink:
      return {"dangling-link", "a link that leads nowhere",
              "connect the disk that it leads to, or remove the link"};
    case SkipReason::kTooDeep:
      return {"too-deep", "nested too deeply", "convert the folder by itself"};
    case SkipReason::kNotAFile:
      return {"not-a-file", "not a regular file"};
    case SkipReason::kSingleMessages:
      return {"single-messages", "holds messages in files of their own, another kind of source",
              "convert it by itself: parvane convert --append FOLDER DEST.pst"};
    case SkipReason::kPackedMessages:
      return {"packed-messages", "holds messages in files of their own, inside of an archive",
              "unpack it, and convert the folder: parvane convert --append FOLDER DEST.pst"};
    case SkipReason::kForeignMail:
      return {"foreign-mail", "mail of another program, in a form that is not read",
              "let that program export it as mbox, or as files of the kind .eml"};
    case SkipReason::kNotDownloaded:
      return {"not-downloaded", "its messages are on the server only: it was never downloaded",
              "in Thunderbird, select it for offline use (folder properties, Synchronization), "
              "then File, Offline, Download/Sync Now"};
    case SkipReason::kCompressed:
      return {"compressed", "a compressed file or an archive",
              "convert it as a source of its own, or what is in it"};
    case SkipReason::kOlderCopy:
      return {"older-copy",
              "an older version's copy of this mail; convert it by itself if anything is missing"};
    case SkipReason::kDamagedArchive:
      return {"damaged-archive", "could not be read, or not to its end",
              "get the archive once more, or unpack it and convert what comes out"};
    case SkipReason::kOtherPart:
      return {"other-part", "another part of the export, not given", "give all parts together"};
    case SkipReason::kElsewhere:
      return {"elsewhere", "a mail account of the profile is kept there, outside of the profile",
              "convert it as a source of its own"};
    case SkipReason::kUnusableSource:
      return {"unusable-source", "a source that could not be used", "convert it by itself"};
  }
  return {"other", "passed over"};
}

Reason ReasonOf(SuspiciousSeparatorReason reason) {
  switch (reason) {
    case SuspiciousSeparatorReason::kNoDate:
      return {"no-date", "no date behind \"From \""};
    case SuspiciousSeparatorReason::kNoEmptyLineBefore:
      return {"no-empty-line", "no empty line before it"};
    case SuspiciousSeparatorReason::kPatch:
      return {"patch", "how a patch begins"};
    case SuspiciousSeparatorReason::kTakenAsText:
      return {"taken-as-text", "taken for text"};
  }
  return {"other", "unusual"};
}

Reason ReasonOf(engine::IndexFault fault) {
  switch (fault) {
    case engine::IndexFault::kMissing:
      return {"index-missing",
              "there is none: whether its messages were read is not known, and they "
              "come as unread"};
    case engine::IndexFault::kStale:
      return {"index-stale", "is not about the mailbox as it is now"};
    case engine::IndexFault::kUnreadable:
      return {"index-unreadable", "cannot be read"};
    case engine::IndexFault::kTooLarge:
      return {"index-too-large", "lists more than is believed"};
  }
  return {"other", "not used"};
}

Reason ReasonOf(FailureKind kind) {
  switch (kind) {
    case FailureKind::kNotParsed:
      return {"not-parsed", "is no readable message"};
    case FailureKind::kTooLarge:
      return {"too-large", "is larger than 64 GiB"};
    case FailureKind::kNoMemory:
      return {"no-memory", "is too large for this machine's memory"};
    case FailureKind::kNotConverted:
      return {"not-converted", "could not be converted"};
    case FailureKind::kBrokeOff:
      return {"broke-off", "the conversion broke off"};
    case FailureKind::kNotSaved:
      return {"not-saved", "could not be saved"};
    case FailureKind::kNotCommitted:
      return {"not-committed", "was not yet in the file when writing failed"};
    case FailureKind::kLargerThanPart:
      return {"larger-than-part", "does not fit into a PST of the size that --split allows"};
  }
  return {"other", "failed"};
}

std::string_view CodeOf(StatusCode code) {
  switch (code) {
    case StatusCode::kOk:
      return "ok";
    case StatusCode::kNotFound:
      return "not-found";
    case StatusCode::kExists:
      return "exists";
    case StatusCode::kAccessDenied:
      return "access-denied";
    case StatusCode::kLocked:
      return "locked";
    case StatusCode::kDiskFull:
      return "disk-full";
    case StatusCode::kIoError:
      return "io-error";
    case StatusCode::kCorrupt:
      return "damaged";
    case StatusCode::kUnsupported:
      return "unsupported";
    case StatusCode::kTooBig:
      return "too-big";
    case StatusCode::kInvalidArgument:
      return "invalid";
    case StatusCode::kClosed:
      return "closed";
  }
  return "other";
}

std::string_view CodeOf(RunProblem problem) {
  switch (problem) {
    case RunProblem::kSourceNotOpened:
      return "source-not-opened";
    case RunProblem::kNoMailFound:
      return "no-mail-found";
    case RunProblem::kNoFolderChosen:
      return "no-folder-chosen";
    case RunProblem::kPstNotOpened:
      return "pst-not-opened";
    case RunProblem::kPstNotRead:
      return "pst-not-read";
    case RunProblem::kOtherSources:
      return "other-sources";
    case RunProblem::kSourcesChanged:
      return "sources-changed";
    case RunProblem::kPstNotWritten:
      return "pst-not-written";
    case RunProblem::kNameNotTaken:
      return "name-not-taken";
    case RunProblem::kFolderNotMade:
      return "folder-not-made";
    case RunProblem::kBrokeOff:
      return "broke-off";
    case RunProblem::kCountsDisagree:
      return "counts-disagree";
  }
  return "other";
}

std::string InWords(const std::exception& error) {
  // Sizes out of a file that no memory could hold show as either.
  if (dynamic_cast<const std::bad_alloc*>(&error) || dynamic_cast<const std::length_error*>(&error))
    return "there is not enough memory";
  if (dynamic_cast<const std::system_error*>(&error)) return error.what();
  return std::string("an error inside the program (") + error.what() + ")";
}

bool IsForetold(engine::RemarkKind kind) {
  using engine::RemarkKind;
  return kind == RemarkKind::kDateChanged || kind == RemarkKind::kMarkedDeleted ||
         kind == RemarkKind::kStateLost || kind == RemarkKind::kTagNameless ||
         kind == RemarkKind::kFetchedInPart || kind == RemarkKind::kPartNotFetched;
}

RemarkWords WordsOf(RemarkKind kind) {
  switch (kind) {
    case RemarkKind::kHeaderTextLost:
      return {"header-text-lost", "LOST", "Names or addresses lost from headers"};
    case RemarkKind::kDateChanged:
      return {"date-changed", "CHANGED", "Messages whose date was changed"};
    case RemarkKind::kAttachmentDetached:
      return {"attachment-detached", "DETACHED",
              "Attachments that had been removed from the mail before"};
    case RemarkKind::kMarkedDeleted:
      return {"marked-deleted", "MARKED DELETED",
              "Messages that are marked as deleted in their mailbox"};
    case RemarkKind::kStateLost:
      return {"state-lost", "NOT KEPT", "Marks that could not be kept"};
    case RemarkKind::kTagNameless:
      return {"tag-nameless", "TAG",
              "Tags without a name, which became categories named by their keys"};
    case RemarkKind::kWinmailKept:
      return {"winmail-kept", "KEPT", "Files winmail.dat that could not be opened, or not wholly"};
    case RemarkKind::kFetchedInPart:
      return {"fetched-in-part", "IN PART",
              "Messages of which only the beginning had been fetched"};
    case RemarkKind::kPartNotFetched:
      return {"part-not-fetched", "NOT FETCHED",
              "Attachments that the mail program had never fetched, which are empty"};
    case RemarkKind::kRefused:
      return {"refused", "WRITTEN WITHOUT", "Written without what the PST refused"};
  }
  return {"other", "NOTE", "Other remarks"};
}

// In the order of their kinds, which the compiler does not check: the count of rows it does.
StateWords WordsOf(carry::StateKind kind) {
  constexpr StateWords kWords[carry::kStateKinds] = {
      {"read", "read"},
      {"replied", "answered"},
      {"forwarded", "forwarded"},
      {"flagged", "flagged"},
      {"draft", "not sent yet"},
      {"junk", "marked as junk"},
      {"deleted", "marked as deleted"},
      {"categories", "with categories"},
      {"importance", "of high or low importance"},
  };
  return kWords[static_cast<std::size_t>(kind)];
}

StateWords WordsOf(carry::MailCount count) {
  constexpr StateWords kWords[carry::kMailCounts] = {
      {"headers", ""},
      {"dates", "Dates found for messages without a usable one"},
      {"inline", "Attachments shown in the text"},
      {"parts", "Parts kept as attachments"},
  };
  return kWords[static_cast<std::size_t>(count)];
}

}  // namespace parvane::desk
