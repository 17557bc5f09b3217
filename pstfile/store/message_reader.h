// Reads a message, top-level or embedded, and its attachments.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_reader.h"
#include "pstfile/ltp/table_reader.h"

namespace parvane::pstfile {

// Embedded messages are opened to this depth; beyond it opening fails with kTooBig. More than a
// message read from MIME is ever taken apart to, so that all of it can be written and read.
inline constexpr int kMaxEmbeddingDepth = 128;

class AttachmentReader;

class MessageReader {
 public:
  static platform::Result<MessageReader> Open(NodeDatabase& database, ObjectLocation location,
                                              int depth = 0);

  const ObjectLocation& location() const { return _properties.location(); }
  PropertyReader& properties() { return _properties; }
  // None when the message has no such table, as drafts and messages without attachments.
  platform::Result<std::optional<TableReader>> Recipients();
  platform::Result<std::optional<TableReader>> Attachments();
  // In the order of the attachment table.
  platform::Result<std::vector<NodeId>> AttachmentNodes();
  platform::Result<AttachmentReader> OpenAttachment(NodeId attachment);

 private:
  MessageReader(PropertyReader properties, int depth)
      : _properties(std::move(properties)), _depth(depth) {}
  platform::Result<std::optional<TableReader>> OpenTable(NodeId table);

  PropertyReader _properties;
  int _depth = 0;
};

class AttachmentReader {
 public:
  const ObjectLocation& location() const { return _properties.location(); }
  // The data of an attachment by value is the property kAttachDataBinary (OpenValue).
  PropertyReader& properties() { return _properties; }
  // The message behind kAttachDataObject; kNotFound when this attachment holds none.
  platform::Result<MessageReader> OpenEmbedded();

 private:
  friend class MessageReader;
  AttachmentReader(PropertyReader properties, int depth)
      : _properties(std::move(properties)), _depth(depth) {}

  PropertyReader _properties;
  int _depth = 0;
};

}  // namespace parvane::pstfile
