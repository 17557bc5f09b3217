// Changes a heap in place and grows it at its tail, at a cost of what changes.
//
// In memory are the tail page, the page that holds the tail's fill level, and whatever pages were
// changed; once there are many, pages are written ahead of Flush. Writing ahead may fail when the
// disk is full: the page then simply stays in memory, and Flush reports what cannot be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>

#include "platform/status.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

class HeapEditor {
 public:
  // A new heap with one empty page.
  static platform::Result<HeapEditor> Create(NodeDatabase& database, HeapClient client);
  static platform::Result<HeapEditor> Open(NodeDatabase& database, BlockId data);

  HeapId userRoot();
  void SetUserRoot(HeapId root);

  // The item's bytes, until the next call of any kind.
  platform::Result<std::span<const std::byte>> Item(HeapId id);
  // Adds at the tail; at most kMaxHeapItem bytes. Empty bytes give the null id. kTooBig beyond
  // pageLimit().
  platform::Result<HeapId> Add(std::span<const std::byte> bytes);
  // Gives an item other bytes. It keeps its id if its page has room, and `keepInPlace` makes that
  // the only possibility (kTooBig). A null id adds, empty bytes free.
  platform::Result<HeapId> Replace(HeapId id, std::span<const std::byte> bytes,
                                   bool keepInPlace = false);
  // The item becomes empty. The null id is allowed.
  platform::Status Free(HeapId id);
  // Keeps `bytes` free in the page of `id`, which is expected to grow there. One item at a time.
  void Reserve(HeapId id, std::size_t bytes);

  std::uint32_t pages() const { return _pageCount; }
  // The most pages it takes: kMaxHeapPages, unless a test wants to see a full heap sooner.
  std::uint32_t pageLimit() const { return _pageLimit; }
  void LimitPages(std::uint32_t limit) { _pageLimit = limit; }
  std::uint64_t size() const { return _tree.size(); }  // as of the last Flush
  // Bytes of pages that Flush would write.
  std::size_t PendingBytes() const;
  // Writes every changed page; the new root, loose.
  platform::Result<BlockId> Flush();

 private:
  explicit HeapEditor(DataTreeEditor tree) : _tree(std::move(tree)) {}
  struct Page {
    HeapPage page;
    bool dirty = false;
  };
  platform::Result<Page*> Load(std::uint32_t number);
  platform::Result<Page*> LoadFor(HeapId id);
  Page& Tail() { return _pages.at(_pageCount - 1); }
  platform::Status AddPage();
  platform::Status ReadPage(std::uint32_t number);
  void UpdateFillLevel(std::uint32_t number);
  platform::Status Write(std::uint32_t number);
  void WriteAhead();

  DataTreeEditor _tree;
  std::map<std::uint32_t, Page> _pages;
  std::uint32_t _pageCount = 0;
  std::uint32_t _pageLimit = kMaxHeapPages;
  std::uint32_t _reservedPage = 0;
  std::size_t _reservedBytes = 0;
};

}  // namespace parvane::pstfile
