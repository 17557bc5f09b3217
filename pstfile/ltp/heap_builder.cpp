#include "pstfile/ltp/heap_builder.h"

#include "pstfile/ndb/data_tree.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

HeapBuilder::HeapBuilder(HeapClient client) {
  _pages.emplace_back(0U);
  _pages.front().SetClient(client);
}

HeapPage& HeapBuilder::PageFor(std::size_t size) {
  if (!_pages.back().Fits(size)) _pages.emplace_back(static_cast<std::uint32_t>(_pages.size()));
  return _pages.back();
}

HeapId HeapBuilder::Add(std::size_t size) {
  HeapPage& page = PageFor(size);
  return {page.number(), static_cast<std::uint32_t>(page.Add(size))};
}

HeapId HeapBuilder::Add(std::span<const std::byte> bytes) {
  HeapPage& page = PageFor(bytes.size());
  return {page.number(), static_cast<std::uint32_t>(page.Add(bytes))};
}

std::uint64_t HeapBuilder::size() const {
  return (_pages.size() - 1) * kHeapPageSize + _pages.back().EncodedSize();
}

Result<BlockId> HeapBuilder::Write(NodeDatabase& database) {
  for (const HeapPage& page : _pages) {
    _pages[FillLevelHolder(page.number())].SetStoredFillLevel(FillLevelIndex(page.number()),
                                                              page.FillLevel());
  }
  if (_pages.size() == 1) return database.WriteBlock(_pages.front().Encode(true));
  DataTreeWriter writer(database);
  for (HeapPage& page : _pages) {
    if (Status status = writer.Append(page.Encode(&page == &_pages.back())); !status.ok()) {
      return status;
    }
  }
  return writer.Finish();
}

}  // namespace parvane::pstfile
