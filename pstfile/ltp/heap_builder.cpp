#include "pstfile/ltp/heap_builder.h"

#include "pstfile/ndb/data_tree.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

HeapBuilder::HeapBuilder(HeapClient client) {
  _pages.emplace_back(0U);
  _pages.front().SetClient(client);
}

HeapPage& HeapBuilder::AddPage() {
  return _pages.emplace_back(static_cast<std::uint32_t>(_pages.size()));
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
