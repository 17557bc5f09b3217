// The messages of a store's folders: PstStore's functions for them.

#include "platform/stage_times.h"
#include "pstfile/store/pst_store.h"
#include "pstfile/store/store_state.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint64_t kReadFlag = 0x01;
constexpr std::uint64_t kAssociatedFlag = 0x40;
// The conversation's id within a conversation index.
constexpr std::size_t kConversationIdOffset = 6;
constexpr std::size_t kConversationIdSize = 16;

bool IsUnread(std::uint64_t flags) { return (flags & kReadFlag) == 0; }

// What the row of a message has beyond the message's own properties.
void AddRowProperties(PropertyList& properties) {
  const auto index = properties.Find(tags::kConversationIndex);
  if (!index || index->kind != Property::Kind::kBytes ||
      index->bytes.size() < kConversationIdOffset + kConversationIdSize) {
    return;
  }
  const std::vector<std::byte> id(
      index->bytes.begin() + kConversationIdOffset,
      index->bytes.begin() + kConversationIdOffset + kConversationIdSize);
  if (!properties.Find(tags::kConversationId)) properties.SetBytes(tags::kConversationId, id);
}

NodeKind TableOf(NodeId message) {
  return message.Kind() == NodeKind::kAssociatedMessage ? NodeKind::kAssociatedContentsTable
                                                        : NodeKind::kContentsTable;
}

bool IsMessage(NodeId node) {
  return node.Kind() == NodeKind::kMessage || node.Kind() == NodeKind::kAssociatedMessage;
}

}  // namespace

Status PstStore::CheckRoom(NodeId folder, bool associated) {
  State& s = *_state;
  if (Status status = s.Ready(); !status.ok()) return status;
  auto table = s.folders->Table(
      folder, associated ? NodeKind::kAssociatedContentsTable : NodeKind::kContentsTable);
  return table.ok() ? (*table)->CheckRoom() : s.End(table.status());
}

// Each of the three below looks first at all that can refuse the change, and only then changes
// anything. Until then a failure gives the message's blocks back and leaves the store as it was.
// What fails behind it (a full disk, mostly) is undone where one step undoes it, and otherwise ends
// writing (State::EndChange): what was committed before stands.
Result<NodeId> PstStore::InsertMessage(NodeId folderId, StoredMessage message, bool associated) {
  const platform::StageMark mark(platform::Stage::kTables);
  State& s = *_state;
  const State::Change change(s);
  const auto refuse = [&](Status status) {
    Abandon(message);
    return status;
  };
  if (Status status = s.Begin(); !status.ok()) return refuse(status);
  const std::uint64_t flags = message.properties.Scalar(tags::kMessageFlags).value_or(0);
  if (associated != ((flags & kAssociatedFlag) != 0)) {
    return refuse({StatusCode::kInvalidArgument, "the associated flag is wrong"});
  }
  const NodeKind kind = associated ? NodeKind::kAssociatedMessage : NodeKind::kMessage;
  auto table = s.folders->Table(folderId, TableOf(NodeId(kind, 0)));
  if (!table.ok()) return refuse(s.End(table.status()));
  if (Status status = (*table)->CheckRoom(); !status.ok()) return refuse(status);
  auto id = s.database->AllocateNodeId(kind);
  if (!id.ok()) return refuse(s.End(id.status()));
  Status status = s.database->PutNode({*id, message.data, message.subnodes, folderId});
  if (!status.ok()) return refuse(s.End(status));
  AddRowProperties(message.properties);
  status = (*table)->AppendRow(id->value, s.database->Unique(), message.properties);
  if (!status.ok()) {
    (void)s.database->DeleteNode(*id);
    return s.End(Result<NodeId>(status));
  }
  if (!associated) {
    auto folder = s.folders->Get(folderId);
    if (!folder.ok()) return s.End(Result<NodeId>(folder.status()));
    ++(*folder)->messages;
    if (IsUnread(flags)) ++(*folder)->unread;
    s.folders->CountsChanged(**folder);
  }
  if (Status accepted = s.AcceptMessage(); !accepted.ok()) return accepted;
  return id;
}

Status PstStore::ReplaceMessage(NodeId id, StoredMessage replacement) {
  State& s = *_state;
  const State::Change change(s);
  const auto refuse = [&](Status status) {
    Abandon(replacement);
    return status;
  };
  if (Status status = s.Begin(); !status.ok()) return refuse(status);
  if (!IsMessage(id)) return refuse({StatusCode::kNotFound, ToString(id) + " is no message"});
  auto node = s.Node(id);
  if (!node.ok()) return refuse(node.status());
  auto table = s.folders->Table(node->parent, TableOf(id));
  if (!table.ok()) return refuse(s.End(table.status()));
  auto oldFlags = (*table)->Scalar(id.value, tags::kMessageFlags);
  if (!oldFlags.ok()) return refuse(s.End(oldFlags.status()));
  if (Status status = (*table)->CheckRoom(); !status.ok()) return refuse(status);
  Status status = s.database->PutNode({id, replacement.data, replacement.subnodes, node->parent});
  if (!status.ok()) return refuse(s.End(status));
  AddRowProperties(replacement.properties);
  status = (*table)->UpdateRow(id.value, s.database->Unique(), replacement.properties);
  if (!status.ok()) return s.EndChange(status);
  const std::uint64_t flags = replacement.properties.Scalar(tags::kMessageFlags).value_or(0);
  auto folder = s.folders->Get(node->parent);
  if (!folder.ok()) return s.End(folder.status());
  if (id.Kind() == NodeKind::kMessage &&
      IsUnread(oldFlags->value_or(kReadFlag)) != IsUnread(flags)) {
    // Files come with counts that are wrong; they are not to wrap on top of it.
    (*folder)->unread += IsUnread(flags) ? 1u : (*folder)->unread > 0 ? ~0u : 0u;
    s.folders->CountsChanged(**folder);
  }
  return s.AcceptMessage();
}

Status PstStore::DeleteMessage(NodeId id) {
  State& s = *_state;
  const State::Change change(s);
  if (Status status = s.Begin(); !status.ok()) return status;
  if (!IsMessage(id)) return {StatusCode::kNotFound, ToString(id) + " is no message"};
  auto node = s.Node(id);
  if (!node.ok()) return node.status();
  auto table = s.folders->Table(node->parent, TableOf(id));
  if (!table.ok()) return s.End(table.status());
  auto flags = (*table)->Scalar(id.value, tags::kMessageFlags);
  if (!flags.ok()) return s.End(flags.status());
  if (Status status = (*table)->RemoveRow(id.value); !status.ok()) return s.EndChange(status);
  if (Status status = s.database->DeleteNode(id); !status.ok()) return s.EndChange(status);
  if (id.Kind() == NodeKind::kMessage) {
    auto folder = s.folders->Get(node->parent);
    if (!folder.ok()) return s.End(folder.status());
    if ((*folder)->messages > 0) --(*folder)->messages;
    if (IsUnread(flags->value_or(kReadFlag)) && (*folder)->unread > 0) --(*folder)->unread;
    s.folders->CountsChanged(**folder);
  }
  return s.Checkpoint();
}

Result<MessageReader> PstStore::OpenMessage(NodeId id) {
  if (Status status = _state->Ready(); !status.ok()) return status;
  if (!IsMessage(id)) return Status(StatusCode::kNotFound, ToString(id) + " is no message");
  auto node = _state->Node(id);
  if (!node.ok()) return node.status();
  return MessageReader::Open(*_state->database, {id, node->data, node->sub});
}

}  // namespace parvane::pstfile
