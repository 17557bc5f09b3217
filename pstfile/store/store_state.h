// Inside of PstStore: one open file with what the store keeps about it.
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "pstfile/ndb/node_database.h"
#include "pstfile/store/folder_set.h"
#include "pstfile/store/message_builder.h"
#include "pstfile/store/name_map.h"
#include "pstfile/store/pst_store.h"

namespace parvane::pstfile {

struct PstStore::State {
  // The database outlives everything that refers to its blocks.
  std::unique_ptr<NodeDatabase> database;
  std::optional<FolderSet> folders;
  std::optional<NameMap> names;
  MessageLayouts layouts;
  PackedRows attachmentRows;  // of attachments that are part of nothing yet
  StoreOptions options;
  bool modified = false;
  bool hasPassword = false;
  bool closed = false;
  platform::Status status;  // the latch
  RecordKey recordKey{};
  NodeId ipmSubtree;
  StoreStatistics statistics;
  std::uint64_t changes = 0;
  std::uint64_t lastCommit = 0;  // milliseconds
  std::uint32_t messagesSinceCommit = 0;

  std::uint64_t Now() const;
  // What is kept of the message store object.
  platform::Status LoadStoreObject();
  platform::Result<NameMap*> Names();

  // Before reading: not closed.
  platform::Status Ready() const;
  // Before modifying: also not latched, and the file is locked.
  platform::Status Begin();
  // After modifying: passes the status on, having latched the store if it is a write failure.
  platform::Status End(platform::Status status);
  template <typename T>
  platform::Result<T> End(platform::Result<T> result) {
    if (!result.ok()) return End(result.status());
    return result;
  }
  // After changing something in several steps: damage met between them latches as well, since half
  // a change must not be committed.
  platform::Status EndChange(platform::Status status);
  void Latch(const platform::Status& failure);
  // While one lives, a change is in the works. An exception that passes it (memory did not suffice)
  // leaves half a change behind, which must not be committed: all since the last commit is given
  // up, and the store takes nothing more.
  class Change {
   public:
    explicit Change(State& state) : _state(state) {}
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change() {
      if (std::uncaught_exceptions() > _exceptions) _state.BreakOff();
    }

   private:
    State& _state;
    int _exceptions = std::uncaught_exceptions();
  };
  void BreakOff();
  // Writes what has gathered in memory.
  platform::Status FlushAll();
  // The same, and makes it durable.
  platform::Status CommitAll();
  platform::Status Commit();
  // After something was saved: commits when the open transaction is large or old enough.
  platform::Status Checkpoint();
  // Counts a message that has been put in its place, then the same.
  platform::Status AcceptMessage();
  platform::Result<NodeRecord> Node(NodeId node);
  platform::Result<TableReader> OpenFolderTable(NodeId folder, NodeKind kind);
};

}  // namespace parvane::pstfile
