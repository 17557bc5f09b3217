// One of the two B-trees, changed by copy on write.
//
// Pages on disk never change: the first change to a page of the last committed tree makes a copy in
// memory, and with it the pages above. Commit gives every copy a new id and a new place and writes
// it; until then readers see the changed tree. Only the pages changed since the last commit are
// held in memory, besides the cache.
//
// Keys that grow fill pages completely (ids are handed out in ascending order); other insertions
// split a full page in half. Pages that become empty disappear, nearly empty ones join a neighbour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/status.h"
#include "pstfile/ndb/page.h"
#include "pstfile/ndb/tree_page.h"

namespace parvane::pstfile {

// Where a tree's new pages go at commit.
class PageSink {
 public:
  virtual ~PageSink() = default;
  virtual platform::Result<PageRef> NewPage() = 0;
  virtual platform::Status WritePage(PageRef place, const PageBytes& bytes) = 0;
};

class BTree {
 public:
  BTree(PageType type, TreePageCache& cache) : _type(type), _cache(&cache) {}

  // Reads from `root` on; unwritten changes are forgotten.
  void Open(PageRef root);
  // An empty tree, yet to be written.
  void StartEmpty();
  // As of the last Open or FinishCommit.
  PageRef root() const { return _committedRoot; }

  // Copies the entry with `key` to `entry`; false when there is none.
  platform::Result<bool> Find(std::uint64_t key, std::span<std::byte> entry) const;
  // The highest key; nullopt in an empty tree.
  platform::Result<std::optional<std::uint64_t>> LastKey() const;

  // Adds an entry or replaces the one of the same key.
  platform::Status Put(std::span<const std::byte> entry);
  // False when there was none.
  platform::Result<bool> Erase(std::uint64_t key);

  // Pages the next commit will write, if nothing more changes, and how much a change of one entry
  // can add.
  std::size_t dirtyPages() const { return _dirty.size() - _freeSlots.size(); }
  std::size_t height() const { return _height + 1; }

  // Writes all changed pages. The tree stays as it is until FinishCommit says that they count.
  platform::Status WriteChanges(PageSink& sink);
  // The root after WriteChanges.
  PageRef writtenRoot() const { return IsSlot(_root) ? _dirty[SlotOf(_root)].place : _root; }
  // The written pages are now the tree; `replaced` receives the places of pages it no longer uses.
  void FinishCommit(std::vector<FileOffset>& replaced);

  // Visits a tree on disk in key order: each page before its children. A page that cannot be read
  // is reported, its neighbours still visited, unless OnDamage returns false.
  class Walker {
   public:
    virtual ~Walker() = default;
    virtual void OnPage(PageRef ref, const TreePage& page) = 0;
    virtual bool OnDamage(const platform::Status& status) = 0;
    // False passes over the children of a page on this level.
    virtual bool WantsBelow(unsigned) { return true; }
  };
  static void Walk(TreePageCache& cache, PageType type, PageRef root, Walker& walker);

 private:
  // Children held in memory are referred to by slot, marked in the offset's top bit, which no real
  // offset has.
  static constexpr std::uint64_t kSlotBit = std::uint64_t{1} << 63;
  struct Dirty {
    std::unique_ptr<TreePage> page;
    PageRef place;                             // at commit
    std::shared_ptr<const TreePage> finished;  // at commit
  };
  struct Step {
    PageRef ref;
    std::shared_ptr<const TreePage> held;  // for clean pages
    const TreePage* page = nullptr;
    std::size_t index = 0;
  };
  using Path = std::vector<Step>;

  static bool IsSlot(PageRef ref) { return (ref.offset.value & kSlotBit) != 0; }
  static std::size_t SlotOf(PageRef ref) { return static_cast<std::size_t>(ref.id.value); }
  TreePage& DirtyPage(PageRef ref) { return *_dirty[SlotOf(ref)].page; }
  PageRef NewSlot(std::unique_ptr<TreePage> page);
  void FreeSlot(PageRef ref);

  platform::Status Load(PageRef ref, Step& step) const;
  // From the root to the leaf for `key`.
  platform::Status Descend(std::uint64_t key, Path& path) const;
  platform::Status CheckRange(const Step& parent, const Step& child) const;
  // Makes every page of the path one in memory.
  void MakeDirty(Path& path);
  void MakeDirty(Step& step);
  // The path's page at `level` is the last of that level.
  static bool AtRightEdge(const Path& path, std::size_t level);
  void LowerFirstKey(Path& path, std::size_t level, std::uint64_t key);
  void InsertAt(Path& path, std::size_t level, std::size_t index, std::span<const std::byte> entry);
  platform::Status EraseAt(Path& path, std::size_t level, std::size_t index);
  platform::Status JoinNeighbour(Path& path, std::size_t level);
  platform::Status Join(Path& path, std::size_t level, std::size_t left);
  void ShrinkRoot();
  platform::Status WriteSlot(std::size_t slot, PageSink& sink);
  bool IsBeyondEdge(std::uint64_t key) const {
    return _edge != nullptr && _edge->count() > 0 && key > _edge->Key(_edge->count() - 1);
  }

  PageType _type;
  TreePageCache* _cache;
  PageRef _committedRoot;
  PageRef _root;
  mutable std::size_t _height = 0;  // level of the root, once read
  std::vector<Dirty> _dirty;
  std::vector<std::size_t> _freeSlots;
  std::vector<FileOffset> _replaced;
  // The last leaf while it is in memory, for entries that are added in ascending order; null when
  // that is not known.
  TreePage* _edge = nullptr;
};

}  // namespace parvane::pstfile
