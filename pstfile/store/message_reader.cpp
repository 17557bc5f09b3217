#include "pstfile/store/message_reader.h"

#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

Result<MessageReader> MessageReader::Open(NodeDatabase& database, ObjectLocation location,
                                          int depth) {
  if (depth > kMaxEmbeddingDepth) {
    return Status(StatusCode::kTooBig, "messages embedded deeper than " +
                                           std::to_string(kMaxEmbeddingDepth) + " levels");
  }
  auto properties = PropertyReader::Open(database, location);
  if (!properties.ok()) return properties.status();
  return MessageReader(std::move(*properties), depth);
}

Result<std::optional<TableReader>> MessageReader::OpenTable(NodeId table) {
  auto tree = SubnodeTree::Open(_properties.database(), location().subnodes);
  if (!tree.ok()) return tree.status();
  auto entry = tree->Find(table);
  if (!entry.ok()) return entry.status();
  if (!entry->has_value()) return std::optional<TableReader>();
  auto reader = TableReader::Open(_properties.database(), {table, (*entry)->data, (*entry)->sub});
  if (!reader.ok()) {
    return reader.status().WithContext("message " + ToString(location().node));
  }
  return std::optional<TableReader>(std::move(*reader));
}

Result<std::optional<TableReader>> MessageReader::Recipients() {
  return OpenTable(kNidRecipientTable);
}

Result<std::optional<TableReader>> MessageReader::Attachments() {
  return OpenTable(kNidAttachmentTable);
}

Result<std::vector<NodeId>> MessageReader::AttachmentNodes() {
  auto table = Attachments();
  if (!table.ok()) return table.status();
  std::vector<NodeId> nodes;
  if (!table->has_value()) return nodes;
  for (std::uint64_t row = 0; row < (*table)->rows(); ++row) {
    if (Status status = (*table)->SelectRow(row); !status.ok()) return status;
    nodes.emplace_back((*table)->RowId());
  }
  return nodes;
}

Result<AttachmentReader> MessageReader::OpenAttachment(NodeId attachment) {
  if (attachment.Kind() != NodeKind::kAttachment) {
    return Status(StatusCode::kNotFound, ToString(attachment) + " is no attachment");
  }
  auto location = _properties.Subnode(attachment);
  if (!location.ok()) return location.status();
  auto properties = PropertyReader::Open(_properties.database(), *location);
  if (!properties.ok()) return properties.status();
  return AttachmentReader(std::move(*properties), _depth);
}

Result<MessageReader> AttachmentReader::OpenEmbedded() {
  auto object = _properties.Object(tags::kAttachDataObject);
  if (!object.ok()) return object.status();
  auto location = _properties.Subnode(object->node);
  if (!location.ok()) return location.status();
  return MessageReader::Open(_properties.database(), *location, _depth + 1);
}

}  // namespace parvane::pstfile
