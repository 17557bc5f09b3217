// Writes attachments and messages as loose objects: a property context, the tables and values
// below it, and the sizes that depend on all of them.
//
//   message    := PC; subnodes: recipient table 0x692, attachment table 0x671 (when there are
//                 attachments), the attachments, values above 3580 bytes
//   attachment := PC; subnodes: values above 3580 bytes, the embedded message
//
// kMessageSize is the logical bytes of the message's data and, recursively, of all its subnodes;
// kAttachSize is the sum of the sizes of the attachment's values, itself included; the size of an
// embedded object is that message's kMessageSize. Readers' repair tools compare all three.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/packed_rows.h"
#include "pstfile/ltp/table_layout.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/store/message_parts.h"

namespace parvane::pstfile {

// The layout made last: one message's table mostly has the columns of the one before.
class LayoutMemory {
 public:
  const TableLayout& For(std::span<const PropTag> columns);

 private:
  std::vector<PropTag> _columns;
  TableLayout _layout = TableLayout::FromTags({});
};

struct MessageLayouts {
  LayoutMemory recipients;
  LayoutMemory attachments;
  // The properties of a message's only recipient, and the layout made for them.
  std::vector<PropTag> usualRecipient;
  TableLayout usualRecipients = TableLayout::FromTags({});
  std::vector<PropTag> columns;  // of the table being laid out
};

// Puts the cells of an attachment's row where its message will find them.
platform::Status KeepAttachmentRow(NodeDatabase& database, PackedRows& rows,
                                   const PropertyList& properties, StoredAttachment& attachment);
// Everything passed in is given back to the database on failure; of attachments, the rows stay.
platform::Result<StoredAttachment> BuildAttachment(NodeDatabase& database, PackedRows& rows,
                                                   PropertyList properties,
                                                   std::optional<StoredMessage> embedded);
platform::Result<StoredMessage> BuildMessage(NodeDatabase& database, PropertyList properties,
                                             const RowSource& recipients,
                                             std::span<const StoredAttachment> attachments,
                                             PackedRows& attachmentRows, MessageLayouts& layouts);

// Logical bytes of an object in the file: its data and all its subnodes.
platform::Result<std::uint64_t> LogicalSizeOf(const NodeDatabase& database, BlockId data,
                                              BlockId subnodes);

}  // namespace parvane::pstfile
