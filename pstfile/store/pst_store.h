// The message store in a PST file: folders, messages, attachments, named properties.
//
//   auto store = PstStore::Create(FileSystem::Default(), u"mail.pst", {.displayName = u"Mail"});
//   auto inbox = (*store)->CreateFolder((*store)->ipmSubtree(), u"Inbox", {});
//   PropertyList message;  // class, subject, body, times, search key ...
//   auto written = (*store)->WriteMessage(std::move(message), recipients, {});
//   (*store)->InsertMessage(*inbox, std::move(*written));
//   (*store)->Close();
//
// What it guarantees:
// - The file is changed by commits only; at any instant a crash leaves everything up to the last
//   commit. A commit happens by itself when something is saved and the open transaction has
//   reached its bounds (StoreOptions), and on Commit and Close.
// - Saving a message costs in proportion to its own bytes, whatever its folder or the file holds.
// - Nothing is written, locked or otherwise touched before the first modification.
// - After the first write failure the store is latched: status() holds the failure and every
//   further modification returns it. Refusals that change nothing (kTooBig, kExists, kNotFound,
//   kInvalidArgument) do not latch.
// - Readers (PropertyReader, TableReader, MessageReader, ValueReader) stay valid while the object
//   they read is not changed. Afterwards they fail with kNotFound; open them again then.
//
// It computes: nids, message and attachment sizes, the has-attachment flag, the message status,
// table rows, folder counts. Every other property is the caller's.
//
// One thread. All objects taken from a store must be dropped before it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ltp/packed_rows.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/property_reader.h"
#include "pstfile/ltp/table_reader.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/store/message_parts.h"
#include "pstfile/store/message_reader.h"
#include "pstfile/store/property_name.h"
#include "pstfile/store/value_writer.h"

namespace parvane::pstfile {

// The key that all entry ids of a store carry.
using RecordKey = std::array<std::byte, 16>;
// flags 0 (4), record key (16), nid (4).
using EntryId = std::array<std::byte, 24>;

// How blocks of a new file are encoded.
enum class StoreEncoding : std::uint8_t { kNone = 0, kPermute = 1, kCyclic = 2 };

// When the open transaction is committed by itself, and how much is kept in memory.
struct StoreOptions {
  std::uint64_t commitBytes = 32u << 20;
  std::uint32_t commitMessages = 4096;
  std::uint32_t commitMilliseconds = 5000;  // since the last commit
  // A clock that never goes back, in milliseconds; null: the machine's.
  std::uint64_t (*clock)() = nullptr;
  // Largest file to grow to; 0: 50 GiB, as much as Outlook takes unless told otherwise. Reaching it
  // fails with kDiskFull.
  std::uint64_t sizeLimit = 0;
  // Folders whose tables are kept open for appending.
  std::size_t openTables = 64;
  // Pages of a folder's table at which it is full; tests make it smaller than the format does.
  std::uint32_t tablePages = kMaxHeapPages;
};

struct StoreCreateOptions {
  std::u16string displayName = {};
  StoreEncoding encoding = StoreEncoding::kPermute;
  StoreOptions store = {};
  // An empty file that is at the path: filled where it stands, or replaced. Without either it is in
  // the way.
  enum class EmptyFile { kInTheWay, kFilled, kReplaced } emptyFile = EmptyFile::kInTheWay;
  bool unfinished = false;  // carries the mark of ndb/unfinished.h
};

enum class StoreOpenMode { kRead, kReadWrite };

struct StoreStatistics {
  std::uint64_t messagesSaved = 0;      // accepted: inserted or replaced
  std::uint64_t messagesCommitted = 0;  // of those, durable
  std::uint64_t foldersCreated = 0;
  std::uint64_t foldersCommitted = 0;
};

struct FolderCounts {
  std::uint32_t messages = 0;
  std::uint32_t unread = 0;
  bool hasSubfolders = false;
};

struct SubfolderEntry {
  NodeId node;
  std::u16string name;
};

class PstStore {
 public:
  // ---- Life ----

  // Writes a whole new store and opens it; kExists when something has that name. Nothing is left
  // behind on failure.
  static platform::Result<std::unique_ptr<PstStore>> Create(platform::FileSystem& files,
                                                            std::u16string_view path,
                                                            const StoreCreateOptions& options);
  // kUnsupported for files that are no Unicode PST, kCorrupt for damaged ones. kReadWrite differs
  // from kRead only in permitting modifications; the file is locked at the first of them (kLocked
  // when another process has it).
  static platform::Result<std::unique_ptr<PstStore>> Open(platform::FileSystem& files,
                                                          std::u16string_view path,
                                                          StoreOpenMode mode,
                                                          const StoreOptions& options = {});
  // Closes, if that has not been done; a failure goes unseen.
  ~PstStore();
  PstStore(const PstStore&) = delete;
  PstStore& operator=(const PstStore&) = delete;

  // Makes everything saved so far durable.
  platform::Status Commit();
  // Commits and ends writing. Afterwards everything fails with kClosed. Readers die with it.
  platform::Status Close();
  // Ok, or the failure that latched the store.
  const platform::Status& status() const;
  // Programs are meant to ask for a password first. It is a check sum beside the mail, and hides
  // nothing.
  bool hasPassword() const;
  const StoreStatistics& statistics() const;
  // Grows with every modification of anything.
  std::uint64_t changes() const;
  NodeDatabase& database();

  // ---- The message store object ----

  const RecordKey& recordKey() const;
  EntryId ToEntryId(NodeId node) const;
  // None when it has another form or names another store.
  std::optional<NodeId> FromEntryId(std::span<const std::byte> entryId) const;
  platform::Result<PropertyReader> OpenStoreProperties();
  // Sets, then removes.
  platform::Status ChangeStoreProperties(const PropertyList& set,
                                         std::span<const std::uint16_t> removeIds = {});

  // ---- Named properties ----

  // The property id (0x8000..) of a name. Names of strings compare without regard to case; a new
  // one keeps its spelling (lower case in kPsInternetHeaders). kNotFound when absent and not
  // `create`; kTooBig when the ids are used up.
  platform::Result<std::uint16_t> PropertyIdOfName(const PropertyName& name, bool create);
  platform::Result<PropertyName> NameOfPropertyId(std::uint16_t id);

  // ---- Folders ----

  NodeId rootFolder() const;
  // The top of the folders a user sees.
  NodeId ipmSubtree() const;
  bool IsFolder(NodeId node);
  platform::Result<NodeId> ParentOf(NodeId folderOrMessage);
  // Names compare without regard to case. kNotFound.
  platform::Result<NodeId> FindFolder(NodeId parent, std::u16string_view name);
  // kExists when a sibling has that name. `properties` may set anything but name and counts, the
  // container class among them, which no folder has by itself. Forces no flush.
  platform::Result<NodeId> CreateFolder(NodeId parent, std::u16string_view name,
                                        const PropertyList& properties = {});
  platform::Result<std::vector<SubfolderEntry>> Subfolders(NodeId folder);
  platform::Result<FolderCounts> CountsOf(NodeId folder);
  // Counts among the properties are those of the last commit; CountsOf is exact.
  platform::Result<PropertyReader> OpenFolderProperties(NodeId folder);
  // A new name must differ from the siblings' (kExists). Counts cannot be set.
  platform::Status ChangeFolderProperties(NodeId folder, const PropertyList& set,
                                          std::span<const std::uint16_t> removeIds = {});
  // Rows: nids of subfolders; of messages; of associated messages.
  platform::Result<TableReader> OpenHierarchyTable(NodeId folder);
  platform::Result<TableReader> OpenContentsTable(NodeId folder);
  platform::Result<TableReader> OpenAssociatedTable(NodeId folder);

  // ---- Building messages ----

  platform::Result<ValueWriter> NewValue(ValueWriter::Kind kind);
  // The same value for a second object, without copying it. Valid until the first object changes:
  // write and insert the second one before that.
  platform::Result<StoredValue> ShareValue(PropertyReader& from, PropTag tag);
  // Reads a value back before any object holds it.
  platform::Result<ValueReader> OpenStoredValue(const StoredValue& value);
  // Writes an attachment. kAttachSize is computed, kRenderingPosition defaults to -1. With
  // `embedded`, kAttachDataObject is set to it and kAttachMethod defaults to 5. Stored values of
  // the list and `embedded` pass to the attachment; when this fails they are given back.
  platform::Result<StoredAttachment> WriteAttachment(PropertyList properties,
                                                     std::optional<StoredMessage> embedded = {});
  // An attachment of a message in the file, unchanged, for that message's next version, to be used
  // before the message changes. `node` is kept.
  platform::Result<StoredAttachment> ShareAttachment(MessageReader& message, NodeId attachment);
  // Writes a message. kMessageSize is computed, kMessageStatus defaults to 0, the has-attachment
  // bit of kMessageFlags follows the attachments. The recipient table is written even when it has
  // no rows; rows get running ids. kTooBig for content of 2 GiB or more. Stored values and
  // attachments pass to the message; when this fails they are given back.
  platform::Result<StoredMessage> WriteMessage(PropertyList properties, const RowSource& recipients,
                                               std::vector<StoredAttachment> attachments);
  // Adds a row to those that wait for WriteMessage, in memory or in the file's blocks. They are the
  // caller's to clear.
  platform::Status KeepRow(PackedRows& rows, const PropertyList& row, std::uint64_t& position);
  void Abandon(const StoredValue& value);
  void Abandon(const PropertyList& properties);  // its stored values
  void Abandon(const StoredAttachment& attachment);
  void Abandon(const StoredMessage& message);

  // ---- Messages of folders ----

  // kTooBig when the folder's table is full, as InsertMessage will say; ask before writing one.
  platform::Status CheckRoom(NodeId folder, bool associated = false);
  // Puts a message into a folder and returns its nid; `associated` puts it into the associated
  // contents and sets that flag's bit in row and message alike (the caller sets it in
  // kMessageFlags before WriteMessage). kTooBig, with nothing changed, when the folder's table is
  // full: go on in another folder. The message is given back on failure.
  platform::Result<NodeId> InsertMessage(NodeId folder, StoredMessage message,
                                         bool associated = false);
  // A new version of a message of a folder.
  platform::Status ReplaceMessage(NodeId message, StoredMessage replacement);
  platform::Status DeleteMessage(NodeId message);
  platform::Result<MessageReader> OpenMessage(NodeId message);

 private:
  struct State;
  explicit PstStore(std::unique_ptr<State> state);
  std::unique_ptr<State> _state;
};

}  // namespace parvane::pstfile
