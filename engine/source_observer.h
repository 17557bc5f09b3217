// What the sources and the conversion know and the asset interfaces have no place for.
//
// The interfaces of the asset model report little on purpose: a read error ends a folder quietly,
// a file that is no mailbox is passed over without a word. Whoever must account for every message
// (a report, a closing summary) installs an observer on the store before opening it.
//
// All calls come on the conversion's thread, between OpenStore and the release of the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/folders.h"
#include "engine/stores.h"
#include "mapi/refusals.h"
#include "platform/status.h"
#include "platform/time.h"

namespace parvane::engine {

// Where a message comes from.
struct MessageLocation {
  const QuelmarMIMEEngineCommon::IAssetFolder* folder = nullptr;
  std::int64_t index = 0;    // within its folder, from 0
  std::uint64_t offset = 0;  // of its first header line in the file
  std::uint64_t size = 0;    // bytes as handed on: lines ended by CR LF, without the separator
  std::u16string path = {};  // of the message's own file; empty where a file holds many
};

// Why a line that begins with "From " may be text and no separator.
enum class SuspiciousSeparatorReason {
  kNoDate,             // nothing like a date stands behind "From "
  kNoEmptyLineBefore,  // the line before it is not empty
  kPatch,              // it is how a patch begins: a commit's hash and a certain date
  // It might be one by what stands around it, and was taken for text by the strict rule.
  kTakenAsText
};

struct SuspectedSeparator {
  std::uint64_t offset = 0;  // of the line in its file
  SuspiciousSeparatorReason reason{};
  std::string_view line;  // cut after some length; holds until the call returns
  // The strict rule (engine/mailbox_wishes.h) takes it for text.
  bool textByStrictRule = false;
};

enum class SkipReason {
  kNotAnMbox,              // right name, but does not begin with "From "
  kDamagedBeginning,       // the same, but separator lines stand farther on
  kUnreadable,             // could not be opened or listed: see the status
  kOtherExtension,         // begins with "From " but is not named like a mailbox of this source
  kOtherFile,              // neither named like a mailbox nor beginning like one
  kResourceForkCompanion,  // "._name"
  kOrphanSbd,              // a folder "name.sbd" without a mailbox "name"
  kSymbolicLinkLoop,       // leads back to a folder that it lies in
  kLinkToFolder,           // a link to a folder of this source, which is read in its own place
  kDanglingLink,           // a link that leads nowhere: to a disk that is not there, say
  kTooDeep,                // folders nested beyond any real profile
  kNotAFile,               // a FIFO, socket or device
  kSingleMessages,         // a folder with files of one message each (maildir, .eml)
  kPackedMessages,         // the same in an archive
  kForeignMail,            // another program's way of keeping mail, by its extension
  kNotDownloaded,          // an index ("X.msf") lists messages, and there is no mailbox with them
  kDamagedArchive,         // an archive, or a file in it, that cannot be read (on): see the status
  kCompressed,             // a compressed file or an archive, by its extension
  kOlderCopy,              // what an older version of its mail program left behind
  kOtherPart,              // of an export of which this one was not given
  kElsewhere,              // a folder that belongs to the source and lies outside of it
  kUnusableSource,         // what was given as a source is none: see the status
};

// Why the marks of a folder's messages are not those that an index beside the mailbox has.
enum class IndexFault {
  kMissing,     // there is none, and of a copy of a server's folder nothing else has them
  kStale,       // the mailbox has changed since it was written
  kUnreadable,  // it could not be read, or is no index: see the status
  kTooLarge,    // it lists more than is believed
};

// A leaf of a message that ended up in no property of its MAPI message.
struct UnconvertedPart {
  std::string contentType;
  std::u16string name;     // file name, empty when it has none
  std::uint64_t size = 0;  // bytes, as it stands in the message
};

// What a message that was written all the same does not have as its mail had it, or what its owner
// may not expect of it.
enum class RemarkKind {
  kHeaderTextLost,      // rewriting a header dropped a name or an address
  kDateChanged,         // told by dateChangedByRepair below
  kAttachmentDetached,  // its mail program had removed an attachment and left a note about it
  kMarkedDeleted,       // its mail program no longer shows it, and would remove it in time
  kStateLost,           // of its marks, one has no place in a MAPI message
  kTagNameless,         // a tag of it is named by its key, because nobody knows its name
  kWinmailKept,         // a winmail.dat of it could not be opened, or not all of it
  kFetchedInPart,       // its mail program had fetched its beginning only
  kPartNotFetched,      // its mail program had never fetched an attachment of it
  kRefused,             // MAPI did not take a part of it; told by the refusals below
};
inline constexpr std::size_t kRemarkKinds = 10;

struct Remark {
  RemarkKind kind{};
  std::string place;  // the header, property or part; empty where the message itself is meant
  std::string text;   // UTF-8: what was lost, or what became of what; may be empty
};

// What converting one message left behind or changed.
struct ConversionNotes {
  std::vector<UnconvertedPart> unconvertedParts;
  std::uint64_t moreUnconvertedParts = 0;  // which are counted only: a message may have 200,000
  std::vector<Remark> remarks;
  std::vector<mapi::Refusal> refusals;  // by the destination's MAPI, until the message was saved
  std::uint32_t attachmentsWritten = 0;
  std::uint32_t attachmentsFailed = 0;
  bool dateMissing = false;     // no Date header
  bool dateUnreadable = false;  // a Date header that no date could be read from, even repaired
  // The repaired Date means another moment than the Date the message came with.
  bool dateChangedByRepair = false;
  std::string rawDateText;          // that Date as it stands, UTF-8, cut after some length
  platform::FileTime rawDate;       // 0: it could not be read
  platform::FileTime repairedDate;  // 0: nor can this one
  platform::FileTime delivered;     // as written; 0: nothing tells
};

class SourceObserver {
 public:
  virtual ~SourceObserver() = default;

  // A message has been read from its file; exactly one call for each item a folder yields.
  // Of a message that memory did not suffice for, the size alone is known.
  virtual void MessageRead(const MessageLocation& /*message*/) {}
  // What the message's header says its Message-ID is, as it stands there: folds, blanks and all. No
  // call for a message without one, and for one that memory did not suffice to parse.
  virtual void MessageNamed(const MessageLocation& /*message*/, std::string_view /*messageId*/) {}
  // The message is marked as deleted and left out, as was asked for (StateWishes); it is no item,
  // and neither MessageRead nor MessageNamed is called for it.
  virtual void DeletedMessageSkipped(const MessageLocation& /*message*/,
                                     std::string_view /*messageId*/) {}
  // A message that an earlier mailbox of the same export has; it is no item, as above. Told where
  // folders take turns (engine/turns.h), once a copy.
  virtual void CopySkipped(std::string_view /*messageId*/) {}
  // It is no message but a mail program's notes about the folder, and left out like that; told only
  // where the messages' state is asked for.
  virtual void FolderDataSkipped(const MessageLocation& /*message*/) {}
  virtual void SeparatorSuspected(const QuelmarMIMEEngineCommon::IAssetFolder& /*folder*/,
                                  const SuspectedSeparator& /*separator*/) {}
  // A mailbox's first `bytes` bytes were passed over, because they are no message; told only where
  // such mailboxes are read at all (engine/mailbox_wishes.h). `text`: there is more in them than a
  // byte order mark and blank lines.
  virtual void BeginningPassedOver(const QuelmarMIMEEngineCommon::IAssetFolder& /*folder*/,
                                   std::uint64_t /*bytes*/, bool /*text*/) {}
  // `index` is its path; before the first message of its folder is read.
  virtual void IndexNotUsed(std::u16string_view /*index*/, IndexFault /*fault*/,
                            const platform::Status& /*status*/) {}
  virtual void PathSkipped(std::u16string_view /*path*/, SkipReason /*reason*/,
                           const platform::Status& /*status*/) {}
  // The file could not be opened, reading broke off at `offset`, or the file became shorter or
  // longer while it was read up to there. What was read before is handed on as a message like any
  // other.
  virtual void ReadFailed(const QuelmarMIMEEngineCommon::IAssetFolder& /*folder*/,
                          std::uint64_t /*offset*/, const platform::Status& /*status*/) {}
  // The message could not be parsed; its item exists and fails to convert. `dumpStatus` tells
  // whether its bytes reached the dump file (kUnsupported: there is none).
  virtual void MessageNotParsed(const MessageLocation& /*message*/,
                                const platform::Status& /*dumpStatus*/) {}
  // Memory did not suffice to hold the message, to parse or to convert it; its item exists and
  // fails to convert. More than one call for an item is possible.
  virtual void MessageTooLarge(const MessageLocation& /*message*/,
                               const platform::Status& /*status*/) {}
  // After each conversion of an item, with what the message's own result does not say.
  virtual void MessageConverted(const MessageLocation& /*message*/, bool /*success*/,
                                const ConversionNotes& /*notes*/) {}
};

// Installs (or, with null, takes off) the observer of one store; before OpenStore, or the walk goes
// unobserved. The observer must outlive the store and every item it yielded. False when the store
// is not one of the engine's.
bool ObserveSource(QuelmarMIMEEngineCommon::IAssetStore& store, SourceObserver* observer);

}  // namespace parvane::engine
