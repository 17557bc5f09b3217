// What a message is built from: objects already in the file's blocks, not yet reachable.
//
// Each carries references to its blocks, which pass on to the object it is put into. One that is
// not used after all must be given back with PstStore::Abandon.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/row_source.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

// A message's properties, tables and attachments (PstStore::WriteMessage): ready to become a
// message of a folder or the content of an attachment.
struct StoredMessage {
  BlockId data;
  BlockId subnodes;
  // The logical bytes of its data and of all its subnodes: the value of kMessageSize.
  std::uint64_t size = 0;
  // Its properties, as the contents row needs them. Values it shares with the message are
  // referenced by the message alone.
  PropertyList properties;
};

// A message has no room for more: attachments, its tables and its long values are subnodes of it,
// of which there are 340 x 510 at most.
inline constexpr std::size_t kMaxAttachments = 172'000;

// An attachment (PstStore::WriteAttachment).
struct StoredAttachment {
  NodeId node;
  std::uint32_t columns = 0;  // those of its cells that not every attachment table has
  BlockId data = {};
  BlockId subnodes = {};
  std::uint64_t size = 0;  // logical bytes, as they count in the message's size
  std::uint64_t row = 0;   // where the store keeps its row's cells, until it is used or abandoned
};

}  // namespace parvane::pstfile
