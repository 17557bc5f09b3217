#include "pstfile/ndb/btree.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

std::array<std::byte, kBranchEntrySize> BranchEntry(std::uint64_t key, PageRef child) {
  std::array<std::byte, kBranchEntrySize> entry;
  StoreField(entry, fields::BranchEntry::kKey, key);
  StorePageRef(entry, fields::BranchEntry::kChild.offset, child);
  return entry;
}

}  // namespace

void BTree::Open(PageRef root) {
  _committedRoot = _root = root;
  _height = 0;
  _dirty.clear();
  _freeSlots.clear();
  _replaced.clear();
  _edge = nullptr;
}

void BTree::StartEmpty() {
  Open({});
  _root = NewSlot(std::make_unique<TreePage>(_type, 0));
}

PageRef BTree::NewSlot(std::unique_ptr<TreePage> page) {
  std::size_t slot = _dirty.size();
  if (_freeSlots.empty()) {
    _dirty.emplace_back();
  } else {
    slot = _freeSlots.back();
    _freeSlots.pop_back();
  }
  _dirty[slot].page = std::move(page);
  return {PageId(slot), FileOffset(kSlotBit)};
}

void BTree::FreeSlot(PageRef ref) {
  _dirty[SlotOf(ref)] = {};
  _freeSlots.push_back(SlotOf(ref));
}

// ---- Reading ------------------------------------------------------------------------------------

Status BTree::Load(PageRef ref, Step& step) const {
  step.ref = ref;
  step.index = 0;
  if (IsSlot(ref)) {
    step.held.reset();
    step.page = _dirty[SlotOf(ref)].page.get();
    return {};
  }
  auto page = _cache->Read(ref, _type);
  if (!page.ok()) return page.status();
  step.held = std::move(*page);
  step.page = step.held.get();
  return {};
}

// Without this a damaged branch would make entries invisible instead of an error.
Status BTree::CheckRange(const Step& parent, const Step& child) const {
  const TreePage& page = *child.page;
  const auto bad = [&](const std::string& text) {
    return Status(StatusCode::kCorrupt, std::string(PageTypeName(_type)) + " page at " +
                                            ToString(child.ref.offset) + ": " + text);
  };
  if (page.level() + 1 != parent.page->level()) {
    return bad("cLevel " + std::to_string(page.level()) + ", expected " +
               std::to_string(parent.page->level() - 1));
  }
  if (page.count() == 0) return bad("no entries");
  if (page.Key(0) != parent.page->Key(parent.index)) {
    return bad("first key " + ToHex(page.Key(0)) + ", the page above says " +
               ToHex(parent.page->Key(parent.index)));
  }
  if (parent.index + 1 < parent.page->count() &&
      page.Key(page.count() - 1) >= parent.page->Key(parent.index + 1)) {
    return bad("last key " + ToHex(page.Key(page.count() - 1)) + " reaches into the next page");
  }
  return {};
}

Status BTree::Descend(std::uint64_t key, Path& path) const {
  path.clear();
  path.reserve(kMaximumTreeLevel + 1);
  path.emplace_back();
  if (Status s = Load(_root, path.back()); !s.ok()) return s;
  _height = path.back().page->level();
  while (path.back().page->level() > 0) {
    Step& parent = path.back();
    parent.index = parent.page->ChildFor(key);
    Step child;
    if (Status s = Load(parent.page->Child(parent.index), child); !s.ok()) return s;
    if (!IsSlot(child.ref)) {
      if (Status s = CheckRange(parent, child); !s.ok()) return s;
    }
    path.push_back(std::move(child));
  }
  path.back().index = path.back().page->LowerBound(key);
  return {};
}

Result<bool> BTree::Find(std::uint64_t key, std::span<std::byte> entry) const {
  if (IsBeyondEdge(key)) return false;
  Path path;
  if (Status s = Descend(key, path); !s.ok()) return s;
  const Step& leaf = path.back();
  if (leaf.index == leaf.page->count() || leaf.page->Key(leaf.index) != key) return false;
  const auto found = leaf.page->Entry(leaf.index);
  std::copy(found.begin(), found.end(), entry.begin());
  return true;
}

Result<std::optional<std::uint64_t>> BTree::LastKey() const {
  Path path;
  if (Status s = Descend(~std::uint64_t{0}, path); !s.ok()) return s;
  const TreePage& leaf = *path.back().page;
  if (leaf.count() == 0) return std::optional<std::uint64_t>();
  return std::optional<std::uint64_t>(leaf.Key(leaf.count() - 1));
}

// ---- Changing -----------------------------------------------------------------------------------

void BTree::MakeDirty(Step& step) {
  if (IsSlot(step.ref)) return;
  _replaced.push_back(step.ref.offset);
  step.ref = NewSlot(std::make_unique<TreePage>(*step.page));
  step.held.reset();
  step.page = &DirtyPage(step.ref);
}

void BTree::MakeDirty(Path& path) {
  for (std::size_t level = 0; level < path.size(); ++level) {
    MakeDirty(path[level]);
    if (level == 0) {
      _root = path[0].ref;
    } else {
      DirtyPage(path[level - 1].ref).SetChild(path[level - 1].index, path[level].ref);
    }
  }
}

// The first key of the page at `level` becomes `key`; the pages above repeat it.
void BTree::LowerFirstKey(Path& path, std::size_t level, std::uint64_t key) {
  while (level > 0) {
    const Step& parent = path[--level];
    StoreU64(DirtyPage(parent.ref).Entry(parent.index), 0, key);
    if (parent.index != 0) return;
  }
}

Status BTree::Put(std::span<const std::byte> entry) {
  std::array<std::byte, kNodeEntrySize> copy;
  std::copy(entry.begin(), entry.end(), copy.begin());
  const std::uint64_t key =
      LoadU64(copy, 0) & (_type == PageType::kBlockTree ? ~std::uint64_t{1} : ~std::uint64_t{0});
  if (IsBeyondEdge(key) && _edge->count() < _edge->capacity()) {
    _edge->Insert(_edge->count(), copy);
    return {};
  }
  Path path;
  if (Status s = Descend(key, path); !s.ok()) return s;
  Step& leaf = path.back();
  const bool exists = leaf.index < leaf.page->count() && leaf.page->Key(leaf.index) == key;
  if (exists && std::ranges::equal(leaf.page->Entry(leaf.index), entry)) return {};
  MakeDirty(path);
  if (exists) {
    std::ranges::copy(entry, DirtyPage(leaf.ref).Entry(leaf.index).begin());
    return {};
  }
  // Unless it fills up and is split, the last leaf stays the last.
  const bool isEdge = AtRightEdge(path, path.size() - 1) && leaf.index == leaf.page->count() &&
                      leaf.page->count() < leaf.page->capacity();
  InsertAt(path, path.size() - 1, leaf.index, entry);
  _edge = isEdge ? &DirtyPage(leaf.ref) : nullptr;
  return {};
}

bool BTree::AtRightEdge(const Path& path, std::size_t level) {
  for (std::size_t i = 0; i < level; ++i) {
    if (path[i].index + 1 != path[i].page->count()) return false;
  }
  return true;
}

void BTree::InsertAt(Path& path, std::size_t level, std::size_t index,
                     std::span<const std::byte> entry) {
  TreePage& page = DirtyPage(path[level].ref);
  if (index == 0) LowerFirstKey(path, level, LoadU64(entry, 0));
  if (page.count() < page.capacity()) {
    page.Insert(index, entry);
    return;
  }
  const bool atRightEdge = index == page.count() && AtRightEdge(path, level);
  const std::size_t split = atRightEdge ? page.count() : page.count() / 2;
  auto right = std::make_unique<TreePage>(_type, page.level());
  page.MoveTail(split, *right);
  if (index > split || atRightEdge) {
    right->Insert(index - split, entry);
  } else {
    page.Insert(index, entry);
  }
  const std::uint64_t leftKey = page.Key(0);
  const std::uint64_t rightKey = right->Key(0);
  const unsigned height = page.level() + 1;
  const PageRef rightRef = NewSlot(std::move(right));
  if (level > 0) {
    InsertAt(path, level - 1, path[level - 1].index + 1, BranchEntry(rightKey, rightRef));
    return;
  }
  auto root = std::make_unique<TreePage>(_type, height);
  root->Insert(0, BranchEntry(leftKey, path[0].ref));
  root->Insert(1, BranchEntry(rightKey, rightRef));
  _root = NewSlot(std::move(root));
  _height = height;
}

Result<bool> BTree::Erase(std::uint64_t key) {
  Path path;
  if (Status s = Descend(key, path); !s.ok()) return s;
  const Step& leaf = path.back();
  if (leaf.index == leaf.page->count() || leaf.page->Key(leaf.index) != key) return false;
  _edge = nullptr;
  MakeDirty(path);
  if (Status s = EraseAt(path, path.size() - 1, leaf.index); !s.ok()) return s;
  ShrinkRoot();
  return true;
}

Status BTree::EraseAt(Path& path, std::size_t level, std::size_t index) {
  TreePage& page = DirtyPage(path[level].ref);
  page.Erase(index);
  if (level == 0) return {};
  if (page.count() == 0) {
    FreeSlot(path[level].ref);
    return EraseAt(path, level - 1, path[level - 1].index);
  }
  if (index == 0) LowerFirstKey(path, level, page.Key(0));
  return page.count() <= page.capacity() / 3 ? JoinNeighbour(path, level) : Status();
}

// Joins a page that has few entries left with the one after or before it, if both fit one page.
Status BTree::JoinNeighbour(Path& path, std::size_t level) {
  const std::size_t self = path[level - 1].index;
  const TreePage& parent = *path[level - 1].page;
  for (const std::size_t left : {self, self - 1}) {
    if (left >= parent.count() || left + 1 >= parent.count()) continue;
    Step neighbour;
    if (Status s = Load(parent.Child(left == self ? self + 1 : left), neighbour); !s.ok()) return s;
    if (neighbour.page->level() != path[level].page->level() ||
        neighbour.page->count() + path[level].page->count() > neighbour.page->capacity()) {
      continue;
    }
    return Join(path, level, left);
  }
  return {};
}

// Moves the entries of child `left` + 1 of the page above to the end of child `left`.
Status BTree::Join(Path& path, std::size_t level, std::size_t left) {
  TreePage& parent = DirtyPage(path[level - 1].ref);
  Step steps[2];
  for (std::size_t i = 0; i < 2; ++i) {
    if (Status s = Load(parent.Child(left + i), steps[i]); !s.ok()) return s;
    MakeDirty(steps[i]);
    parent.SetChild(left + i, steps[i].ref);
  }
  DirtyPage(steps[1].ref).MoveTail(0, DirtyPage(steps[0].ref));
  FreeSlot(steps[1].ref);
  path[level - 1].index = left + 1;
  return EraseAt(path, level - 1, left + 1);
}

// A branch root with one child is one level too many.
void BTree::ShrinkRoot() {
  while (IsSlot(_root) && DirtyPage(_root).level() > 0 && DirtyPage(_root).count() <= 1) {
    const PageRef old = _root;
    if (DirtyPage(old).count() == 0) {
      _root = NewSlot(std::make_unique<TreePage>(_type, 0));
    } else {
      _root = DirtyPage(old).Child(0);
    }
    FreeSlot(old);
  }
}

// ---- Commit -------------------------------------------------------------------------------------

Status BTree::WriteChanges(PageSink& sink) {
  return IsSlot(_root) ? WriteSlot(SlotOf(_root), sink) : Status();
}

Status BTree::WriteSlot(std::size_t slot, PageSink& sink) {
  auto finished = std::make_shared<TreePage>(*_dirty[slot].page);
  if (finished->level() > 0) {
    for (std::size_t i = 0; i < finished->count(); ++i) {
      const PageRef child = finished->Child(i);
      if (!IsSlot(child)) continue;
      if (Status s = WriteSlot(SlotOf(child), sink); !s.ok()) return s;
      finished->SetChild(i, _dirty[SlotOf(child)].place);
    }
  }
  auto place = sink.NewPage();
  if (!place.ok()) return place.status();
  _dirty[slot].place = *place;
  if (Status s = sink.WritePage(*place, finished->Seal(*place)); !s.ok()) return s;
  _dirty[slot].finished = std::move(finished);
  return {};
}

void BTree::FinishCommit(std::vector<FileOffset>& replaced) {
  for (const FileOffset offset : _replaced) _cache->Forget(offset);
  replaced.insert(replaced.end(), _replaced.begin(), _replaced.end());
  _replaced.clear();
  for (Dirty& dirty : _dirty) {
    if (dirty.finished != nullptr) _cache->Put(dirty.place, std::move(dirty.finished));
  }
  if (IsSlot(_root)) _root = _dirty[SlotOf(_root)].place;
  _committedRoot = _root;
  _dirty.clear();
  _freeSlots.clear();
  _edge = nullptr;
}

// ---- Walking ------------------------------------------------------------------------------------

void BTree::Walk(TreePageCache& cache, PageType type, PageRef root, Walker& walker) {
  struct Item {
    PageRef ref;
    int level;  // expected; -1 for the root
    std::uint64_t low;
    std::uint64_t high;  // keys are below; ~0 for no bound
  };
  std::vector<Item> todo{{root, -1, 0, ~std::uint64_t{0}}};
  while (!todo.empty()) {
    const Item item = todo.back();
    todo.pop_back();
    auto page = cache.Read(item.ref, type, false);
    Status status = page.status();
    if (status.ok() && item.level >= 0 && (*page)->level() != static_cast<unsigned>(item.level)) {
      status = {StatusCode::kCorrupt, std::string(PageTypeName(type)) + " page at " +
                                          ToString(item.ref.offset) + ": cLevel " +
                                          std::to_string((*page)->level()) + ", expected " +
                                          std::to_string(item.level)};
    }
    // Ranges that shrink on the way down also make sure that no page is visited twice for ever.
    if (status.ok() && item.level >= 0 &&
        ((*page)->count() == 0 || (*page)->Key(0) != item.low ||
         (*page)->Key((*page)->count() - 1) >= item.high)) {
      status = {StatusCode::kCorrupt, std::string(PageTypeName(type)) + " page at " +
                                          ToString(item.ref.offset) +
                                          ": keys outside the range the page above gives"};
    }
    if (!status.ok()) {
      if (!walker.OnDamage(status)) return;
      continue;
    }
    const TreePage& tree = **page;
    walker.OnPage(item.ref, tree);
    if (tree.level() == 0 || !walker.WantsBelow(tree.level())) continue;
    for (std::size_t i = tree.count(); i-- > 0;) {
      todo.push_back({tree.Child(i), static_cast<int>(tree.level()) - 1, tree.Key(i),
                      i + 1 < tree.count() ? tree.Key(i + 1) : item.high});
    }
  }
}

}  // namespace parvane::pstfile
