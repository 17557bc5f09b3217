// A page of a B-tree in memory, and the cache of those read ([MS-PST] 2.2.2.7.7).
//
//   offset size field
//        0  488 rgEntries  fixed-size entries, keys ascending; a key is an entry's first 8 bytes
//      488    1 cEnt       entries in use
//      489    1 cEntMax    entries that fit
//      490    1 cbEnt      bytes of one entry
//      491    1 cLevel     0 for leaves
//      492    4 dwPadding  0
//      496   16 trailer
//
//   page          entry                                                         cbEnt cEntMax
//   level > 0     BTENTRY: key (8) = first key of the child, child's PageRef       24      20
//   BBT leaf      bid (8), offset (8), data size (2), references (2), 0 (4)        24      20
//   NBT leaf      nid (8), data (8), sub (8), parent (4), 0 (4)                    32      15
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <span>
#include <unordered_map>
#include <utility>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile {

inline constexpr std::size_t kTreeBodySize = 488;
inline constexpr std::size_t kBranchEntrySize = 24;
inline constexpr std::size_t kBlockEntrySize = 24;
inline constexpr std::size_t kNodeEntrySize = 32;
inline constexpr unsigned kMaximumTreeLevel = 8;  // 10^10 entries and more

constexpr std::size_t LeafEntrySize(PageType tree) {
  return tree == PageType::kBlockTree ? kBlockEntrySize : kNodeEntrySize;
}
constexpr std::size_t TreeEntrySize(PageType tree, unsigned level) {
  return level == 0 ? LeafEntrySize(tree) : kBranchEntrySize;
}
// What of a key counts: bit 0 of block ids does not.
constexpr std::uint64_t TreeKeyMask(PageType tree) {
  return tree == PageType::kBlockTree ? ~std::uint64_t{1} : ~std::uint64_t{0};
}

// What a page says of its entries, as it is stored.
struct TreePageInfo {
  unsigned count = 0;
  unsigned maximum = 0;
  unsigned entrySize = 0;
  unsigned level = 0;
  std::uint32_t padding = 0;

  static TreePageInfo Decode(std::span<const std::byte, kPageSize> page);
};
// Every entry begins with its key.
inline std::uint64_t LoadTreeKey(std::span<const std::byte> entry, PageType tree) {
  return LoadField(entry, fields::BranchEntry::kKey) & TreeKeyMask(tree);
}
// The child of an entry above the leaves.
inline PageRef LoadTreeChild(std::span<const std::byte> entry) {
  return LoadPageRef(entry, fields::BranchEntry::kChild.offset);
}

class TreePage {
 public:
  TreePage(PageType tree, unsigned level);
  // `bytes` must have passed CheckPage; checks the rest of the page's own rules.
  static platform::Result<std::shared_ptr<const TreePage>> FromBytes(const PageBytes& bytes,
                                                                     PageType tree,
                                                                     FileOffset offset);

  unsigned level() const { return LoadField<unsigned>(_bytes, fields::TreePage::kLevel); }
  std::size_t count() const { return _count; }
  std::size_t entrySize() const { return _entrySize; }
  std::size_t capacity() const { return kTreeBodySize / _entrySize; }
  PageType tree() const { return _tree; }

  std::span<const std::byte> Entry(std::size_t i) const {
    return std::span<const std::byte>(_bytes).subspan(i * _entrySize, _entrySize);
  }
  std::span<std::byte> Entry(std::size_t i) {
    return std::span<std::byte>(_bytes).subspan(i * _entrySize, _entrySize);
  }
  // Bit 0 of block ids does not count.
  std::uint64_t Key(std::size_t i) const { return LoadU64(_bytes, i * _entrySize) & _keyMask; }
  // The first entry whose key is not below `key`.
  std::size_t LowerBound(std::uint64_t key) const;
  // Branches only: the entry whose child covers `key` (the first for keys below all).
  std::size_t ChildFor(std::uint64_t key) const;
  PageRef Child(std::size_t i) const;
  void SetChild(std::size_t i, PageRef ref);

  // The caller sees to order and capacity.
  void Insert(std::size_t i, std::span<const std::byte> entry);
  void Erase(std::size_t i);
  // Moves the entries from `i` on to the end of `to`.
  void MoveTail(std::size_t i, TreePage& to);

  // The page as it goes to the file.
  const PageBytes& Seal(PageRef place);

 private:
  TreePage() = default;
  void SetCount(std::size_t count);

  PageBytes _bytes{};
  std::size_t _count = 0;
  std::size_t _entrySize = 0;
  std::uint64_t _keyMask = ~std::uint64_t{0};
  PageType _tree = PageType::kNodeTree;
};

// Reads pages of both trees through a least-recently-used cache.
class TreePageCache {
 public:
  explicit TreePageCache(std::size_t capacity) : _capacity(capacity) {}
  void SetFile(platform::RandomAccessFile* file, std::uint64_t endOfFile) {
    _file = file;
    _endOfFile = endOfFile;
  }

  // `keep`: remember the page (walks over everything do not).
  platform::Result<std::shared_ptr<const TreePage>> Read(PageRef ref, PageType tree,
                                                         bool keep = true);
  void Put(PageRef ref, std::shared_ptr<const TreePage> page);
  void Forget(FileOffset offset);
  void Clear();

 private:
  struct Slot {
    PageRef ref;
    std::shared_ptr<const TreePage> page;
  };
  std::size_t _capacity;
  platform::RandomAccessFile* _file = nullptr;
  std::uint64_t _endOfFile = 0;
  std::list<Slot> _slots;  // most recent first
  std::unordered_map<std::uint64_t, std::list<Slot>::iterator> _byOffset;
};

}  // namespace parvane::pstfile
