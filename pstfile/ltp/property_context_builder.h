// Builds a property context: one object's properties in a heap ([MS-PST] 2.3.3).
//
//   record of the BTH: property id (2), type (2), dwValueHnid (4)
//     scalars up to 4 bytes     the value itself
//     8-byte scalars, Guid      heap item
//     Object                    heap item: nid (4) and size (4)
//     everything else           heap item up to 3580 bytes, else a subnode; 0 = empty value
//
//   PropertyContextBuilder builder(database);
//   builder.Build(properties);                      // lays out, in memory
//   builder.SetInt32(tags::kMessageSize, ...);      // what depends on the layout's size
//   builder.Write(others);                          // with the entries of its other subnodes
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/recycled_vector.h"
#include "platform/status.h"
#include "pstfile/ltp/heap_builder.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/subnode_tree.h"

namespace parvane::pstfile {

// Bytes of a record, and how many go into one item of the heap.
inline constexpr std::size_t kPropertyRecordSize = 8;
inline constexpr std::size_t kPropertyRecordsPerLeaf = kMaxHeapItem / kPropertyRecordSize;

// The properties of an object, written: data and subnode roots, both loose.
struct WrittenContext {
  BlockId data;
  BlockId subnodes;
};

class PropertyContextBuilder {
 public:
  explicit PropertyContextBuilder(NodeDatabase& database)
      : _database(&database), _heap(HeapClient::kPropertyContext) {}

  // Gives every value the form in which Build takes it: bytes too large for the heap are written
  // to blocks, stored values that fit the heap become bytes. Whatever happens, the list owns every
  // loose value afterwards. kInvalidArgument for types the format cannot store.
  platform::Status Prepare(PropertyList& properties);
  // Lays out a prepared list.
  platform::Status Build(const PropertyList& properties);
  // Logical bytes of the heap and of the stored values.
  std::uint64_t size() const { return _heap.size() + _storedBytes; }
  // Overwrites an Int32 that Build has laid out.
  void SetInt32(PropTag tag, std::int32_t value);
  // Writes what was laid out; `others` go into the object's subnode tree, too. These and the list's
  // stored values pass to what is written; on failure they are abandoned.
  platform::Result<WrittenContext> Write(platform::RecycledVector<SubnodeEntry> others = {});

 private:
  platform::Result<std::uint32_t> Place(const PropertyList& properties,
                                        const PropertyList::Item& item);
  // Of the property that has this place in the order of ids.
  std::span<std::byte> RecordAt(std::size_t rank) {
    return _heap.Item(_leaves[rank / kPropertyRecordsPerLeaf])
        .subspan(rank % kPropertyRecordsPerLeaf * kPropertyRecordSize, kPropertyRecordSize);
  }

  NodeDatabase* _database;
  HeapBuilder _heap;
  std::size_t _count = 0;  // of properties
  platform::RecycledVector<std::uint16_t> _ranks;
  platform::RecycledVector<HeapId> _leaves;
  platform::RecycledVector<SubnodeEntry> _subnodes;  // one for each stored value
  std::uint64_t _storedBytes = 0;
};

// Prepares, builds and writes an object that has no subnodes but its values. The list's stored
// values pass to it; on failure they are abandoned.
platform::Result<WrittenContext> WritePropertyContext(NodeDatabase& database,
                                                      PropertyList& properties);
// Gives back the stored values of a list.
void AbandonValues(NodeDatabase& database, const PropertyList& properties);

}  // namespace parvane::pstfile
