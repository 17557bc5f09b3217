// Builds a heap in memory, front to back, and writes it in one go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/recycled_vector.h"
#include "platform/status.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

class HeapBuilder {
 public:
  explicit HeapBuilder(HeapClient client);

  // Adds an item of at most kMaxHeapItem bytes: zero bytes, or these.
  HeapId Add(std::size_t size) {
    HeapPage& page = PageFor(size);
    return {page.number(), static_cast<std::uint32_t>(page.Add(size))};
  }
  HeapId Add(std::span<const std::byte> bytes) {
    HeapPage& page = PageFor(bytes.size());
    return {page.number(), static_cast<std::uint32_t>(page.Add(bytes))};
  }
  // Room for `size` bytes in the page that is being filled.
  bool Fits(std::size_t size) const { return _pages.back().Fits(size); }
  // Until the next Add.
  std::span<std::byte> Item(HeapId id) { return _pages[id.Page()].Item(id.Item()); }
  void SetUserRoot(HeapId id) { _pages.front().SetUserRoot(id); }
  // Bytes of all pages as they are written.
  std::uint64_t size() const;
  // The loose root. Nothing can be added any more.
  platform::Result<BlockId> Write(NodeDatabase& database);

 private:
  HeapPage& PageFor(std::size_t size) {
    return _pages.back().Fits(size) ? _pages.back() : AddPage();
  }
  HeapPage& AddPage();

  platform::RecycledVector<HeapPage> _pages;
};

}  // namespace parvane::pstfile
