// Property contexts: the heap, the B-tree of properties, every value ([MS-PST] 2.3.3).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "pstfile/check/node_heap.h"
#include "pstfile/check/value.h"
#include "pstfile/ltp/property_tag.h"

namespace parvane::pstfile::check {

struct PropertyEntry {
  PropTag tag;
  std::uint32_t raw = 0;
  bool sound = false;  // its value can be read
};

// The value of an Object property.
struct ObjectFacts {
  NodeId node;
  std::uint32_t size = 0;
};

class PropertyContext {
 public:
  // Opens and judges everything but what is unused (see Finish). None when it is unreadable, which
  // has been reported.
  static std::optional<PropertyContext> Open(Context& context, Location location,
                                             std::string where);

  NodeHeap& heap() { return _heap; }
  const std::string& where() const { return _heap.where(); }
  std::span<const PropertyEntry> entries() const { return _entries; }
  // Sum of the bytes of all values, as sizes of attachments count them.
  std::uint64_t valueBytes() const { return _valueBytes; }

  // By id, whatever the type; null when absent or unreadable.
  const PropertyEntry* Find(std::uint16_t id) const;
  bool Has(std::uint16_t id) const { return Find(id) != nullptr; }
  std::optional<Value> ValueOf(const PropertyEntry& entry);
  std::optional<Value> ValueOf(PropTag tag);
  // A number; none when absent or of another type.
  std::optional<std::uint64_t> Number(PropTag tag);
  std::optional<std::vector<std::byte>> Bytes(PropTag tag, std::size_t limit = 1 << 20);
  std::optional<ObjectFacts> Object(std::uint16_t id);

  // Checks the table of changes that folders and messages may carry, and reports heap items and
  // subnodes without use. Call when nothing more will be asked for.
  void Finish();

 private:
  explicit PropertyContext(NodeHeap heap) : _heap(std::move(heap)) {}
  void Judge(PropertyEntry& entry);

  NodeHeap _heap;
  std::vector<PropertyEntry> _entries;  // in the order of ids
  mutable std::size_t _lastSought = 0;  // where the last search ended
  std::uint64_t _valueBytes = 0;
};

// Opens, judges and finishes; for contexts of which nothing else is asked.
void CheckPropertyContext(Context& context, Location location, std::string where);

}  // namespace parvane::pstfile::check
