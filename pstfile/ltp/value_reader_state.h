// Inside of ValueReader, shared by the readers that hand it out.
#pragma once

#include "pstfile/ltp/heap.h"
#include "pstfile/ltp/property_reader.h"

namespace parvane::pstfile {

struct ValueReader::State {
  HeapItem item;  // a value on the heap ...
  bool inTree = false;
  DataTree tree;  // ... or in blocks of its own
};

// The value behind a heap item or subnode id (0: empty) of an object or table.
platform::Result<std::unique_ptr<ValueReader::State>> OpenHeapValue(const Heap& heap, HeapId id);
// The same, whole.
platform::Result<std::vector<std::byte>> ReadHeapValue(const Heap& heap, HeapId id,
                                                       std::uint64_t limit);
platform::Result<std::uint64_t> SizeOfHeapValue(const Heap& heap, HeapId id);

}  // namespace parvane::pstfile
