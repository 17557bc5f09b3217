// What a message is built from: objects already in the file's blocks, not yet reachable.
//
// Each carries references to its blocks, which pass on to the object it is put into. One that is
// not used after all must be given back with PstStore::Abandon.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "pstfile/ltp/property_list.h"
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

// An attachment (PstStore::WriteAttachment).
struct StoredAttachment {
  NodeId node;
  BlockId data;
  BlockId subnodes;
  std::uint64_t size = 0;   // logical bytes, as they count in the message's size
  PropertyList properties;  // as the attachment row needs them
};

// Rows where somebody has them, so that a long recipient list need not exist twice.
class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual std::size_t RowCount() const = 0;
  virtual const PropertyList& Row(std::size_t index) const = 0;
};

// Rows held as property lists.
class ListRowSource final : public RowSource {
 public:
  explicit ListRowSource(std::span<const PropertyList> rows) : _rows(rows) {}
  std::size_t RowCount() const override { return _rows.size(); }
  const PropertyList& Row(std::size_t index) const override { return _rows[index]; }

 private:
  std::span<const PropertyList> _rows;
};

}  // namespace parvane::pstfile
