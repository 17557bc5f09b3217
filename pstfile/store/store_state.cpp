#include "pstfile/store/store_state.h"

#include <algorithm>
#include <utility>

#include "platform/stage_times.h"
#include "platform/time.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/store/store_creation.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {
// The name map and the B-tree pages of a commit.
constexpr std::uint64_t kBytesForOtherNodes = 256u << 10;
}  // namespace

std::uint64_t PstStore::State::Now() const {
  return options.clock != nullptr ? options.clock() : platform::MonotonicMilliseconds();
}

Status PstStore::State::LoadStoreObject() {
  auto node = Node(kNidMessageStore);
  if (!node.ok()) return node.status();
  auto reader = PropertyReader::Open(*database, {node->nid, node->data, node->sub});
  if (!reader.ok()) return reader.status();
  auto key = reader->Bytes(tags::kRecordKey);
  if (!key.ok()) return key.status();
  if (key->size() != recordKey.size()) {
    return {StatusCode::kCorrupt,
            "record key of the store has " + std::to_string(key->size()) + " bytes"};
  }
  std::ranges::copy(*key, recordKey.begin());
  const auto password = reader->Scalar(tags::kPstPassword);
  hasPassword = password.ok() && *password != 0;
  // Another program may have put the visible tree elsewhere.
  ipmSubtree = kNidIpmSubtree;
  auto entryId = reader->Bytes(tags::kIpmSubtreeEntryId);
  if (entryId.ok() && entryId->size() == EntryId().size()) {
    const NodeId subtree(LoadU32(*entryId, 20));
    if (std::ranges::equal(*entryId, MakeEntryId(recordKey, subtree))) ipmSubtree = subtree;
  }
  return {};
}

Result<NameMap*> PstStore::State::Names() {
  if (!names) {
    auto loaded = NameMap::Load(*database);
    if (!loaded.ok()) return loaded.status();
    names = std::move(*loaded);
  }
  return &*names;
}

Status PstStore::State::Ready() const {
  return closed ? Status(StatusCode::kClosed, "the store is closed") : Status();
}

Status PstStore::State::Begin() {
  if (Status ready = Ready(); !ready.ok()) return ready;
  if (!status.ok()) return status;
  if (!modified) {
    if (Status prepared = database->PrepareToModify(); !prepared.ok()) return prepared;
    modified = true;
    lastCommit = Now();
  }
  ++changes;
  return {};
}

Status PstStore::State::End(Status result) {
  if (result.ok()) return result;
  const bool writeFailed = result.code() == StatusCode::kDiskFull ||
                           result.code() == StatusCode::kIoError || !database->status().ok();
  if (writeFailed) Latch(result);
  return result;
}

Status PstStore::State::EndChange(Status result) {
  if (result.code() == StatusCode::kCorrupt) Latch(result);
  return End(std::move(result));
}

void PstStore::State::Latch(const Status& failure) {
  if (!status.ok()) return;
  status = failure;
  if (!database->status().ok()) return;
  // A full disk is found out before anything is changed: what was complete before is saved, as far
  // as there is room. What cannot be read is met in the middle of a change; half of it must not be
  // committed, so all since the last commit is given up.
  const Status saved = failure.code() == StatusCode::kDiskFull ? CommitAll() : failure;
  if (!saved.ok()) database->GiveUp(saved);
}

void PstStore::State::BreakOff() {
  // So short that it takes no memory itself.
  const Status reason(StatusCode::kIoError, "out of memory");
  if (status.ok()) status = reason;
  database->GiveUp(reason);
}

Status PstStore::State::CommitAll() {
  if (Status flushed = FlushAll(); !flushed.ok()) return flushed;
  if (Status committed = database->Commit(); !committed.ok()) return committed;
  statistics.messagesCommitted = statistics.messagesSaved;
  statistics.foldersCommitted = statistics.foldersCreated;
  return {};
}

Status PstStore::State::FlushAll() {
  database->KeepForCommit(0);
  if (Status flushed = folders->Flush(); !flushed.ok()) return flushed;
  if (names && names->changed()) return names->Write(*database);
  return {};
}

Status PstStore::State::Commit() {
  const platform::StageMark mark(platform::Stage::kTables);
  if (!modified) return {};
  const Change change(*this);
  if (Status result = CommitAll(); !result.ok()) {
    // A commit that failed half way is not tried again, and Close does not complete it.
    if (status.ok()) status = result;
    database->GiveUp(result);
    return result;
  }
  messagesSinceCommit = 0;
  lastCommit = Now();
  // Committed, but there is no room for anything after it.
  if (!database->status().ok()) status = database->status();
  return {};
}

Status PstStore::State::Checkpoint() {
  if (messagesSinceCommit >= options.commitMessages ||
      database->TransactionBytes() >= options.commitBytes ||
      Now() - lastCommit >= options.commitMilliseconds) {
    return Commit();
  }
  database->KeepForCommit(folders->PendingBytes() + kBytesForOtherNodes);
  return {};
}

Status PstStore::State::AcceptMessage() {
  ++messagesSinceCommit;
  ++statistics.messagesSaved;
  Status saved = Checkpoint();
  // The caller is told that it failed, so it was never accepted.
  if (!saved.ok()) --statistics.messagesSaved;
  return saved;
}

Result<NodeRecord> PstStore::State::Node(NodeId id) {
  auto node = database->FindNode(id);
  if (!node.ok()) return node.status();
  if (!node->has_value()) return Status(StatusCode::kNotFound, "no node " + ToString(id));
  return **node;
}

Result<TableReader> PstStore::State::OpenFolderTable(NodeId folder, NodeKind kind) {
  if (Status ready = Ready(); !ready.ok()) return ready;
  auto known = folders->Get(folder);
  if (!known.ok()) return known.status();
  if (folder.Kind() == NodeKind::kSearchFolder && kind == NodeKind::kContentsTable) {
    kind = NodeKind::kSearchContentsTable;
  } else {
    const Change change(*this);
    if (Status flushed = End(folders->FlushTable(folder, kind)); !flushed.ok()) return flushed;
  }
  auto node = Node(folder.Sibling(kind));
  if (!node.ok()) return node.status();
  return TableReader::Open(*database, {node->nid, node->data, node->sub});
}

}  // namespace parvane::pstfile
