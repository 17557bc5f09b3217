#include "pstfile/ltp/heap_editor.h"

#include <algorithm>
#include <string>
#include <vector>

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {
// Pages kept in memory before the changed ones among them are written ahead.
constexpr std::size_t kPagesInMemory = 12;
}  // namespace

Result<HeapEditor> HeapEditor::Create(NodeDatabase& database, HeapClient client) {
  auto tree = DataTreeEditor::Open(database, BlockId());
  if (!tree.ok()) return tree.status();
  HeapEditor editor(std::move(*tree));
  HeapPage page(0);
  page.SetClient(client);
  editor._pages.emplace(0, Page{std::move(page), true});
  editor._pageCount = 1;
  return editor;
}

Result<HeapEditor> HeapEditor::Open(NodeDatabase& database, BlockId data) {
  auto tree = DataTreeEditor::Open(database, data);
  if (!tree.ok()) return tree.status();
  HeapEditor editor(std::move(*tree));
  const std::size_t count = editor._tree.blockCount();
  if (count == 0 || count > kMaxHeapPages) {
    return Status(StatusCode::kCorrupt, "heap of " + std::to_string(count) + " pages");
  }
  editor._pageCount = static_cast<std::uint32_t>(count);
  for (const std::uint32_t number : {std::uint32_t{0}, editor._pageCount - 1}) {
    if (auto page = editor.Load(number); !page.ok()) return page.status();
  }
  return editor;
}

HeapId HeapEditor::userRoot() {
  auto page = Load(0);
  return page.ok() ? (*page)->page.userRoot() : HeapId();
}

void HeapEditor::SetUserRoot(HeapId root) {
  auto page = Load(0);
  if (!page.ok()) return;
  (*page)->page.SetUserRoot(root);
  (*page)->dirty = true;
}

Result<HeapEditor::Page*> HeapEditor::Load(std::uint32_t number) {
  if (const auto found = _pages.find(number); found != _pages.end()) return &found->second;
  WriteAhead();
  // A page comes with the one that holds its fill level, so that it can be written at any time.
  if (const std::uint32_t holder = FillLevelHolder(number); !_pages.contains(holder)) {
    if (Status status = ReadPage(holder); !status.ok()) return status;
  }
  if (!_pages.contains(number)) {
    if (Status status = ReadPage(number); !status.ok()) return status;
  }
  return &_pages.at(number);
}

Status HeapEditor::ReadPage(std::uint32_t number) {
  auto block = _tree.ReadBlock(number);
  if (!block.ok()) return block.status();
  auto page = HeapPage::Decode(number, block->bytes());
  if (!page.ok()) return page.status();
  _pages.emplace(number, Page{std::move(*page), false});
  return {};
}

Result<HeapEditor::Page*> HeapEditor::LoadFor(HeapId id) {
  if (!id.IsHeapItem() || id.Item() == 0 || id.Page() >= _pageCount) {
    return Status(StatusCode::kCorrupt, "no heap item " + ToHex(id.value));
  }
  auto page = Load(id.Page());
  if (page.ok() && id.Item() > (*page)->page.items()) {
    return Status(StatusCode::kCorrupt, "no heap item " + ToHex(id.value));
  }
  return page;
}

Result<std::span<const std::byte>> HeapEditor::Item(HeapId id) {
  if (id.IsNull()) return std::span<const std::byte>();
  auto page = LoadFor(id);
  if (!page.ok()) return page.status();
  return std::as_const((*page)->page).Item(id.Item());
}

Result<HeapId> HeapEditor::Add(std::span<const std::byte> bytes) {
  if (bytes.empty()) return HeapId();
  if (bytes.size() > kMaxHeapItem) {
    return Status(StatusCode::kTooBig, "heap item of " + std::to_string(bytes.size()) + " bytes");
  }
  const bool reserved = _reservedBytes != 0 && _reservedPage == _pageCount - 1;
  if (!Tail().page.Fits(bytes.size() + (reserved ? _reservedBytes : 0))) {
    if (Status status = AddPage(); !status.ok()) return status;
  }
  Page& tail = Tail();
  const std::size_t item = tail.page.Add(bytes);
  tail.dirty = true;
  return HeapId(_pageCount - 1, static_cast<std::uint32_t>(item));
}

Result<HeapId> HeapEditor::Replace(HeapId id, std::span<const std::byte> bytes, bool keepInPlace) {
  if (id.IsNull()) return Add(bytes);
  if (bytes.empty()) {
    if (Status status = Free(id); !status.ok()) return status;
    return HeapId();
  }
  auto page = LoadFor(id);
  if (!page.ok()) return page.status();
  HeapPage& heapPage = (*page)->page;
  if (bytes.size() <= kMaxHeapItem && heapPage.FitsInstead(id.Item(), bytes.size())) {
    heapPage.ResizeItem(id.Item(), bytes.size());
    std::copy(bytes.begin(), bytes.end(), heapPage.Item(id.Item()).begin());
    (*page)->dirty = true;
    return id;
  }
  if (keepInPlace) return Status(StatusCode::kTooBig, "no room in the heap page");
  auto added = Add(bytes);
  if (!added.ok()) return added;
  if (Status status = Free(id); !status.ok()) return status;
  return added;
}

// Room that is freed in an earlier page serves values there that grow; new items go to the tail.
Status HeapEditor::Free(HeapId id) {
  if (id.IsNull()) return {};
  auto page = LoadFor(id);
  if (!page.ok()) return page.status();
  (*page)->page.ResizeItem(id.Item(), 0);
  (*page)->dirty = true;
  return {};
}

void HeapEditor::Reserve(HeapId id, std::size_t bytes) {
  _reservedPage = id.Page();
  _reservedBytes = id.IsNull() ? 0 : bytes;
}

std::size_t HeapEditor::PendingBytes() const {
  std::size_t dirty = 0;
  for (const auto& [number, page] : _pages) dirty += page.dirty ? 1 : 0;
  return dirty * kMaximumBlockSize;
}

Status HeapEditor::AddPage() {
  if (_pageCount >= _pageLimit) {
    return {StatusCode::kTooBig, "the table's heap has " + std::to_string(_pageCount) + " pages"};
  }
  // The page before is the last no more: it must be written again in full length.
  Tail().dirty = true;
  WriteAhead();
  _pages.emplace(_pageCount, Page{HeapPage(_pageCount), true});
  ++_pageCount;
  return {};
}

void HeapEditor::UpdateFillLevel(std::uint32_t number) {
  const std::uint8_t level = _pages.at(number).page.FillLevel();
  Page& holder = _pages.at(FillLevelHolder(number));
  const std::uint32_t index = FillLevelIndex(number);
  if (holder.page.StoredFillLevel(index) == level) return;
  holder.page.SetStoredFillLevel(index, level);
  holder.dirty = true;
}

Status HeapEditor::Write(std::uint32_t number) {
  // Blocks are appended in order. Pages that the tree does not have yet are all in memory.
  while (_tree.blockCount() < number) {
    const auto next = static_cast<std::uint32_t>(_tree.blockCount());
    if (Status status = Write(next); !status.ok()) return status;
  }
  UpdateFillLevel(number);
  Page& page = _pages.at(number);
  const auto bytes = page.page.Encode(number + 1 == _pageCount);
  Status status =
      number < _tree.blockCount() ? _tree.ReplaceBlock(number, bytes) : _tree.AppendBlock(bytes);
  if (status.ok()) page.dirty = false;
  return status;
}

void HeapEditor::WriteAhead() {
  if (_pages.size() < kPagesInMemory) return;
  const std::uint32_t tail = _pageCount - 1;
  const std::uint32_t holder = FillLevelHolder(tail);
  const auto stays = [&](std::uint32_t number) {
    return number == 0 || number == tail || number == holder ||
           (number == _reservedPage && _reservedBytes != 0);
  };
  std::vector<std::uint32_t> candidates;
  for (const auto& [number, page] : _pages) {
    if (!stays(number)) candidates.push_back(number);
  }
  for (const std::uint32_t number : candidates) {
    const bool holdsForOthers =
        HoldsFillLevels(number) && std::any_of(_pages.begin(), _pages.end(), [&](const auto& e) {
          return e.first != number && FillLevelHolder(e.first) == number;
        });
    if (holdsForOthers) continue;
    // A disk that is full shows again in Flush; until then the page stays, changed as it is.
    if (_pages.at(number).dirty && !Write(number).ok()) return;
    _pages.erase(number);
  }
}

Result<BlockId> HeapEditor::Flush() {
  // Levels first: they change the pages that hold them.
  for (const auto& [number, page] : _pages) {
    if (page.dirty) UpdateFillLevel(number);
  }
  for (auto& [number, page] : _pages) {
    if (!page.dirty) continue;
    if (Status status = Write(number); !status.ok()) return status;
  }
  return _tree.Flush();
}

}  // namespace parvane::pstfile
