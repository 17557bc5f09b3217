// The subnodes of a node: nid -> data and subnodes of its own ([MS-PST] 2.2.2.8.3.3).
//
//   SLBLOCK := btype 02, cLevel 00, cEnt (2), 0 (4), entries: nid (8), data (8), sub (8); up to 340
//   SIBLOCK := btype 02, cLevel 01, cEnt (2), 0 (4), entries: nid (8), SLBLOCK id (8); up to 510
//
// Sorted by nid; no deeper levels, so a node has at most 173,400 subnodes. Some readers know no
// SIBLOCK: stay within 340 where possible. The high halves of nids on disk can be garbage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/recycled_vector.h"
#include "platform/status.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

struct SubnodeEntry {
  NodeId nid;
  BlockId data;
  BlockId sub;
  friend bool operator==(const SubnodeEntry&, const SubnodeEntry&) = default;

  // An entry of an SLBLOCK.
  static SubnodeEntry Decode(std::span<const std::byte> entry);
  void Encode(std::span<std::byte> entry) const;
};

// Reads a tree. Holds at most one SIBLOCK and one SLBLOCK in memory.
class SubnodeTree {
 public:
  SubnodeTree() = default;
  // `root` 0: no subnodes.
  static platform::Result<SubnodeTree> Open(const NodeDatabase& database, BlockId root);

  BlockId root() const { return _root; }
  bool empty() const { return !_root; }
  platform::Result<std::optional<SubnodeEntry>> Find(NodeId nid) const;
  // The first entry with an id not below `from`; none at the end.
  platform::Result<std::optional<SubnodeEntry>> Next(NodeId from) const;
  // All entries, in order.
  platform::Result<std::vector<SubnodeEntry>> Entries() const;

 private:
  friend class SubnodeTreeBuilder;
  friend class SubnodeTreeEditor;
  struct Leaf {
    NodeId first;
    BlockId block;
  };
  platform::Status LoadLeaf(std::size_t index) const;
  std::size_t LeafFor(NodeId nid) const;

  const NodeDatabase* _database = nullptr;
  BlockId _root;
  bool _indexed = false;                       // the root is a SIBLOCK
  std::vector<Leaf> _leaves;                   // one without SIBLOCK
  mutable std::vector<SubnodeEntry> _entries;  // of SLBLOCK _loaded
  mutable std::size_t _loaded = static_cast<std::size_t>(-1);
};

// Writes a tree from entries in ascending order.
class SubnodeTreeBuilder {
 public:
  explicit SubnodeTreeBuilder(NodeDatabase& database) : _database(&database) {}
  ~SubnodeTreeBuilder() { Abandon(); }
  SubnodeTreeBuilder(const SubnodeTreeBuilder&) = delete;
  SubnodeTreeBuilder& operator=(const SubnodeTreeBuilder&) = delete;

  // Takes over the entry's loose blocks, if it succeeds. kInvalidArgument when out of order,
  // kTooBig beyond the limit.
  platform::Status Add(const SubnodeEntry& entry);
  // The loose root; 0 when nothing was added. The builder is then empty.
  platform::Result<BlockId> Finish();
  // Frees everything added, the entries' loose blocks included.
  void Abandon();

 private:
  platform::Status FlushLeaf();

  NodeDatabase* _database;
  platform::RecycledVector<SubnodeEntry> _entries;  // of the begun leaf
  platform::RecycledVector<SubnodeTree::Leaf> _leaves;
  std::optional<NodeId> _last;
};

// Changes a tree, rewriting only the SLBLOCKs touched and the SIBLOCK.
//
// As with DataTreeEditor: Flush gives a loose root to put where the old one was.
class SubnodeTreeEditor {
 public:
  static platform::Result<SubnodeTreeEditor> Open(NodeDatabase& database, BlockId root);
  ~SubnodeTreeEditor();
  SubnodeTreeEditor(SubnodeTreeEditor&& other) noexcept;
  SubnodeTreeEditor& operator=(SubnodeTreeEditor&& other) noexcept;

  BlockId root() const { return _root; }
  bool changed() const { return !_changes.empty(); }
  platform::Result<std::optional<SubnodeEntry>> Find(NodeId nid) const;
  // Adds or replaces; takes over the entry's loose blocks.
  platform::Status Put(const SubnodeEntry& entry);
  // Nothing happens when there is none.
  platform::Status Remove(NodeId nid);
  // The root of the tree as it now is: loose if anything changed, 0 if no entry is left.
  platform::Result<BlockId> Flush();

 private:
  SubnodeTreeEditor(NodeDatabase& database, SubnodeTree tree)
      : _database(&database), _tree(std::move(tree)), _root(_tree.root()) {}
  using Changes = std::map<NodeId, std::optional<SubnodeEntry>>;  // none: removed
  struct Rebuilt;
  platform::Status Rebuild(Rebuilt& now) const;
  platform::Status RebuildLeaf(std::size_t index, Changes::const_iterator change,
                               Changes::const_iterator end, Rebuilt& now) const;
  platform::Status WriteLeaves(std::span<const SubnodeEntry> entries, bool appends,
                               Rebuilt& now) const;
  void AbandonReplaced(const Rebuilt& now) const;
  void DropReplaced(const SubnodeEntry& old, const SubnodeEntry& now) const;
  void Forget();

  NodeDatabase* _database;
  SubnodeTree _tree;
  BlockId _root;
  Changes _changes;
};

}  // namespace parvane::pstfile
