#include "pstfile/ndb/tree_page.h"

#include <algorithm>
#include <string>

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

Status Corrupt(PageType tree, FileOffset offset, const std::string& text) {
  return {StatusCode::kCorrupt,
          std::string(PageTypeName(tree)) + " page at " + ToString(offset) + ": " + text};
}

}  // namespace

TreePageInfo TreePageInfo::Decode(std::span<const std::byte, kPageSize> page) {
  using fields::TreePage;
  return {
      LoadField<unsigned>(page, TreePage::kCount), LoadField<unsigned>(page, TreePage::kMaximum),
      LoadField<unsigned>(page, TreePage::kEntrySize), LoadField<unsigned>(page, TreePage::kLevel),
      LoadField<std::uint32_t>(page, TreePage::kPadding)};
}

TreePage::TreePage(PageType tree, unsigned level)
    : _entrySize(TreeEntrySize(tree, level)), _keyMask(TreeKeyMask(tree)), _tree(tree) {
  StoreField(_bytes, fields::TreePage::kMaximum, capacity());
  StoreField(_bytes, fields::TreePage::kEntrySize, _entrySize);
  StoreField(_bytes, fields::TreePage::kLevel, level);
}

Result<std::shared_ptr<const TreePage>> TreePage::FromBytes(const PageBytes& bytes, PageType tree,
                                                            FileOffset offset) {
  std::shared_ptr<TreePage> page(new TreePage());
  page->_bytes = bytes;
  page->_tree = tree;
  page->_keyMask = TreeKeyMask(tree);
  const TreePageInfo info = TreePageInfo::Decode(bytes);
  page->_count = info.count;
  page->_entrySize = info.entrySize;
  if (page->level() > kMaximumTreeLevel) {
    return Corrupt(tree, offset, "cLevel " + std::to_string(page->level()));
  }
  const std::size_t size = TreeEntrySize(tree, page->level());
  if (page->_entrySize != size) {
    return Corrupt(
        tree, offset,
        "cbEnt " + std::to_string(page->_entrySize) + ", expected " + std::to_string(size));
  }
  if (page->_count > page->capacity()) {
    return Corrupt(tree, offset, "cEnt " + std::to_string(page->_count));
  }
  if (page->_count == 0 && page->level() > 0) return Corrupt(tree, offset, "no entries");
  for (std::size_t i = 0; i < page->_count; ++i) {
    if (i > 0 && page->Key(i) <= page->Key(i - 1)) {
      return Corrupt(tree, offset, "key " + ToHex(page->Key(i)) + " out of order");
    }
    // Far beyond any file is also where BTree keeps its marks for pages in memory.
    constexpr std::uint64_t kNoOffset = std::uint64_t{1} << 62;
    if (page->level() > 0 && (page->Child(i).offset.value % kPageSize != 0 ||
                              page->Child(i).offset.value >= kNoOffset)) {
      return Corrupt(tree, offset, "child page at " + ToString(page->Child(i).offset));
    }
  }
  // Only entries count; older writers leave stale bytes behind them.
  std::fill(page->_bytes.begin() + static_cast<std::ptrdiff_t>(page->_count * size),
            page->_bytes.begin() + kTreeBodySize, std::byte{0});
  StoreField(page->_bytes, fields::TreePage::kMaximum, page->capacity());
  StoreField(page->_bytes, fields::TreePage::kPadding, 0);
  return std::shared_ptr<const TreePage>(std::move(page));
}

std::size_t TreePage::LowerBound(std::uint64_t key) const {
  std::size_t low = 0;
  std::size_t high = _count;
  while (low < high) {
    const std::size_t middle = (low + high) / 2;
    if (Key(middle) < key) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

// A key below the first one belongs to the first child all the same: put there, it becomes the
// lowest key of the pages above as well.
std::size_t TreePage::ChildFor(std::uint64_t key) const {
  const std::size_t i = LowerBound(key);
  if (i < _count && Key(i) == key) return i;
  return i == 0 ? 0 : i - 1;
}

PageRef TreePage::Child(std::size_t i) const { return LoadTreeChild(Entry(i)); }

void TreePage::SetChild(std::size_t i, PageRef ref) {
  StorePageRef(Entry(i), fields::BranchEntry::kChild.offset, ref);
}

void TreePage::SetCount(std::size_t count) {
  _count = count;
  StoreField(_bytes, fields::TreePage::kCount, count);
}

void TreePage::Insert(std::size_t i, std::span<const std::byte> entry) {
  const auto at = _bytes.begin() + static_cast<std::ptrdiff_t>(i * _entrySize);
  const auto end = _bytes.begin() + static_cast<std::ptrdiff_t>(_count * _entrySize);
  std::copy_backward(at, end, end + static_cast<std::ptrdiff_t>(_entrySize));
  std::copy_n(entry.begin(), _entrySize, at);
  SetCount(_count + 1);
}

void TreePage::Erase(std::size_t i) {
  const auto at = _bytes.begin() + static_cast<std::ptrdiff_t>(i * _entrySize);
  const auto end = _bytes.begin() + static_cast<std::ptrdiff_t>(_count * _entrySize);
  std::copy(at + static_cast<std::ptrdiff_t>(_entrySize), end, at);
  std::fill(end - static_cast<std::ptrdiff_t>(_entrySize), end, std::byte{0});
  SetCount(_count - 1);
}

void TreePage::MoveTail(std::size_t i, TreePage& to) {
  const std::size_t moved = _count - i;
  const auto from = _bytes.begin() + static_cast<std::ptrdiff_t>(i * _entrySize);
  const auto bytes = static_cast<std::ptrdiff_t>(moved * _entrySize);
  std::copy(from, from + bytes,
            to._bytes.begin() + static_cast<std::ptrdiff_t>(to._count * _entrySize));
  std::fill(from, from + bytes, std::byte{0});
  to.SetCount(to._count + moved);
  SetCount(i);
}

const PageBytes& TreePage::Seal(PageRef place) {
  SealPage(_bytes, _tree, place.offset, place.id.value);
  return _bytes;
}

Result<std::shared_ptr<const TreePage>> TreePageCache::Read(PageRef ref, PageType tree, bool keep) {
  if (const auto found = _byOffset.find(ref.offset.value); found != _byOffset.end()) {
    const Slot& slot = *found->second;
    if (slot.ref == ref && slot.page->tree() == tree) {
      if (found->second != _slots.begin()) _slots.splice(_slots.begin(), _slots, found->second);
      return slot.page;
    }
  }
  if (_file == nullptr) return Status(StatusCode::kClosed, "the file is closed");
  if (ref.offset.value % kPageSize != 0 || ref.offset.value < kFirstAMapOffset ||
      ref.offset.value > _endOfFile - kPageSize) {
    return Corrupt(tree, ref.offset, "not a place for a page");
  }
  PageBytes bytes;
  auto got = _file->ReadAt(ref.offset.value, bytes);
  if (!got.ok()) return got.status();
  if (*got != kPageSize) return Corrupt(tree, ref.offset, "beyond the end of the file");
  if (Status s = CheckPage(bytes, tree, ref.offset, ref.id.value); !s.ok()) return s;
  auto page = TreePage::FromBytes(bytes, tree, ref.offset);
  if (page.ok() && keep) Put(ref, *page);
  return page;
}

void TreePageCache::Put(PageRef ref, std::shared_ptr<const TreePage> page) {
  Forget(ref.offset);
  _slots.push_front({ref, std::move(page)});
  _byOffset[ref.offset.value] = _slots.begin();
  if (_slots.size() > _capacity) {
    _byOffset.erase(_slots.back().ref.offset.value);
    _slots.pop_back();
  }
}

void TreePageCache::Forget(FileOffset offset) {
  const auto found = _byOffset.find(offset.value);
  if (found == _byOffset.end()) return;
  _slots.erase(found->second);
  _byOffset.erase(found);
}

void TreePageCache::Clear() {
  _slots.clear();
  _byOffset.clear();
}

}  // namespace parvane::pstfile
