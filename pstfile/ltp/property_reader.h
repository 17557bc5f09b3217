// Reads a property context: one object's properties ([MS-PST] 2.3.3).
//
// Opening reads the index of properties only. Values are read on demand; a large one is read
// piece by piece through ValueReader. Everything found in the file is checked: an error names the
// object and what is wrong with it, and other properties stay readable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/property_tag.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

class NodeDatabase;
class Heap;

// Where an object lives: its data and its subnode tree (null when it has none). Node says who it
// is, for messages and for row ids.
struct ObjectLocation {
  NodeId node;
  BlockId data;
  BlockId subnodes;
};

// A value of any size, read in pieces at any place. A view of the moment it was opened: once its
// object is replaced, reads fail with kNotFound.
class ValueReader {
 public:
  ValueReader();
  ValueReader(ValueReader&&) noexcept;
  ValueReader& operator=(ValueReader&&) noexcept;
  ~ValueReader();

  std::uint64_t size() const;
  // Reads until `out` is full or the value ends; the count read.
  platform::Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> out);
  // The root block when the value has blocks of its own, else null.
  StoredValue stored() const;

  struct State;  // value_reader_state.h
  explicit ValueReader(std::unique_ptr<State> state);

 private:
  std::unique_ptr<State> _state;
};

class PropertyReader {
 public:
  struct Entry {
    PropTag tag;
    std::uint32_t value = 0;  // inline value, or heap item or subnode that holds it
  };

  // `database` must outlive the reader.
  static platform::Result<PropertyReader> Open(NodeDatabase& database, ObjectLocation location);

  PropertyReader(PropertyReader&&) noexcept;
  PropertyReader& operator=(PropertyReader&&) noexcept;
  ~PropertyReader();

  const ObjectLocation& location() const { return _location; }
  NodeDatabase& database() const { return *_database; }
  // In the order of ids.
  std::span<const Entry> entries() const { return _entries; }
  // The tag under which a property id is stored.
  std::optional<PropTag> TagOf(std::uint16_t id) const;
  bool Has(PropTag tag) const { return TagOf(tag.Id()) == tag; }

  // Raw bits of a scalar; kNotFound when the object has no property of this id and type.
  platform::Result<std::uint64_t> Scalar(PropTag tag);
  // Bytes of the value (Object excepted); kTooBig above `limit`.
  platform::Result<std::uint64_t> SizeOf(PropTag tag);
  platform::Result<std::vector<std::byte>> Bytes(PropTag tag, std::uint64_t limit = 1u << 20);
  // A Unicode value as text.
  platform::Result<std::u16string> Text(PropTag tag, std::uint64_t limit = 1u << 20);
  platform::Result<ValueReader> OpenValue(PropTag tag);
  platform::Result<ObjectValue> Object(PropTag tag);
  // Where the subnode `node` of this object lives: an attachment, an embedded message, a table.
  platform::Result<ObjectLocation> Subnode(NodeId node) const;
  // Copies every property whose value has at most `limit` bytes; larger ones are left out and
  // named in `large`.
  platform::Status ReadAll(PropertyList& out, std::vector<PropTag>* large,
                           std::uint64_t limit = 3580);

 private:
  PropertyReader();
  const Entry* Find(PropTag tag) const;
  platform::Status Missing(PropTag tag) const;

  NodeDatabase* _database = nullptr;
  ObjectLocation _location;
  std::unique_ptr<Heap> _heap;
  std::vector<Entry> _entries;
};

}  // namespace parvane::pstfile
