#include "pstfile/ndb/subnode_tree.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using Entry = fields::SubnodeEntry;
using Header = fields::InternalBlock;
using IndexEntry = fields::SubnodeIndexEntry;

namespace {

Status Corrupt(BlockId bid, const std::string& text) {
  return {StatusCode::kCorrupt, "block " + ToString(bid) + ": " + text};
}

Status TooMany() { return {StatusCode::kTooBig, "a node cannot have more than 173400 subnodes"}; }

struct SubnodeBlock {
  BlockSlice bytes;
  InternalBlock block;
};

Result<SubnodeBlock> ReadSubnodeBlock(const NodeDatabase& database, BlockId bid) {
  if (!bid.IsInternal()) return Corrupt(bid, "a data block as part of a subnode tree");
  auto bytes = database.ReadBlock(bid);
  if (!bytes.ok()) return bytes.status();
  auto block = InternalBlock::Parse(bytes->bytes(), bid);
  if (!block.ok()) return block.status();
  if (block->type != kSubnodeTreeBlock) return Corrupt(bid, "not part of a subnode tree");
  return SubnodeBlock{std::move(*bytes), *block};
}

// Ascending order is what every search here relies on.
template <typename Item, typename Key>
Status CheckOrder(BlockId bid, const std::vector<Item>& items, Key Item::*key) {
  for (std::size_t i = 1; i < items.size(); ++i) {
    if (!(items[i - 1].*key < items[i].*key)) {
      return Corrupt(bid, "nid " + ToString(items[i].*key) + " out of order");
    }
  }
  return {};
}

Result<std::vector<SubnodeEntry>> DecodeLeaf(BlockId bid, const InternalBlock& block) {
  std::vector<SubnodeEntry> entries;
  entries.reserve(block.count);
  for (std::size_t at = 0; at < block.entries.size(); at += kSlBlockEntrySize) {
    entries.push_back(SubnodeEntry::Decode(block.entries.subspan(at, kSlBlockEntrySize)));
  }
  if (Status s = CheckOrder(bid, entries, &SubnodeEntry::nid); !s.ok()) return s;
  return entries;
}

// On the stack, because most messages have a tree of one leaf.
Result<BlockId> WriteLeaf(NodeDatabase& database, std::span<const SubnodeEntry> entries) {
  std::array<std::byte, kInternalBlockHeaderSize + kSlBlockEntrySize * kMaximumSlBlockEntries> all;
  const auto bytes =
      std::span(all).first(kInternalBlockHeaderSize + kSlBlockEntrySize * entries.size());
  StoreField(bytes, Header::kType, kSubnodeTreeBlock);
  StoreField(bytes, Header::kLevel, 0);
  StoreField(bytes, Header::kCount, entries.size());
  StoreField(bytes, Header::kTotal, 0);
  auto to = bytes.subspan(kInternalBlockHeaderSize);
  for (const SubnodeEntry& entry : entries) {
    entry.Encode(to);
    to = to.subspan(kSlBlockEntrySize);
  }
  return database.WriteInternalBlock(bytes);
}

template <typename Leaf>
Result<BlockId> WriteIndex(NodeDatabase& database, std::span<const Leaf> leaves) {
  std::vector<std::byte> bytes =
      StartInternalBlock(kSubnodeTreeBlock, 1, leaves.size(), kSiBlockEntrySize, 0);
  std::size_t at = kInternalBlockHeaderSize;
  for (const Leaf& leaf : leaves) {
    StoreField(bytes, IndexEntry::kId, leaf.first.value, at);
    StoreField(bytes, IndexEntry::kBlock, leaf.block.value, at);
    at += kSiBlockEntrySize;
  }
  return database.WriteInternalBlock(bytes);
}

// The root above these leaves: none, the only one, or a SIBLOCK.
template <typename Leaf>
Result<BlockId> WriteRoot(NodeDatabase& database, std::span<const Leaf> leaves) {
  if (leaves.empty()) return BlockId();
  if (leaves.size() == 1) return leaves.front().block;
  return WriteIndex(database, leaves);
}

}  // namespace

SubnodeEntry SubnodeEntry::Decode(std::span<const std::byte> entry) {
  return {NodeId(LoadField<std::uint32_t>(entry, Entry::kId)),
          BlockId(LoadField(entry, Entry::kData)), BlockId(LoadField(entry, Entry::kSub))};
}

void SubnodeEntry::Encode(std::span<std::byte> entry) const {
  StoreField(entry, Entry::kId, nid.value);
  StoreField(entry, Entry::kData, data.value);
  StoreField(entry, Entry::kSub, sub.value);
}

// ---- SubnodeTree --------------------------------------------------------------------------------

Result<SubnodeTree> SubnodeTree::Open(const NodeDatabase& database, BlockId root) {
  SubnodeTree tree;
  tree._database = &database;
  tree._root = root;
  if (!root) return tree;
  auto top = ReadSubnodeBlock(database, root);
  if (!top.ok()) return top.status();
  if (top->block.level == 0) {
    auto entries = DecodeLeaf(root, top->block);
    if (!entries.ok()) return entries.status();
    tree._leaves = {{entries->front().nid, root}};
    tree._entries = std::move(*entries);
    tree._loaded = 0;
    return tree;
  }
  tree._indexed = true;
  const auto entries = top->block.entries;
  for (std::size_t at = 0; at < entries.size(); at += kSiBlockEntrySize) {
    tree._leaves.push_back({NodeId(LoadField<std::uint32_t>(entries, IndexEntry::kId, at)),
                            BlockId(LoadField(entries, IndexEntry::kBlock, at))});
  }
  if (Status s = CheckOrder(root, tree._leaves, &Leaf::first); !s.ok()) return s;
  return tree;
}

Status SubnodeTree::LoadLeaf(std::size_t index) const {
  if (_loaded == index) return {};
  const BlockId bid = _leaves[index].block;
  auto leaf = ReadSubnodeBlock(*_database, bid);
  if (!leaf.ok()) return leaf.status();
  if (leaf->block.level != 0) return Corrupt(bid, "a SIBLOCK below a SIBLOCK");
  auto entries = DecodeLeaf(bid, leaf->block);
  if (!entries.ok()) return entries.status();
  // A search goes by the SIBLOCK alone, and would miss what lies in a leaf it does not expect.
  if (entries->front().nid != _leaves[index].first ||
      (index + 1 < _leaves.size() && !(entries->back().nid < _leaves[index + 1].first))) {
    return Corrupt(bid, "its nids are not those the SIBLOCK gives");
  }
  _entries = std::move(*entries);
  _loaded = index;
  return {};
}

std::size_t SubnodeTree::LeafFor(NodeId nid) const {
  const auto after = std::ranges::upper_bound(_leaves, nid, {}, &Leaf::first);
  return after == _leaves.begin() ? 0 : static_cast<std::size_t>(after - _leaves.begin()) - 1;
}

Result<std::optional<SubnodeEntry>> SubnodeTree::Find(NodeId nid) const {
  auto next = Next(nid);
  if (next.ok() && *next && (*next)->nid != nid) return std::optional<SubnodeEntry>();
  return next;
}

Result<std::optional<SubnodeEntry>> SubnodeTree::Next(NodeId from) const {
  if (_leaves.empty()) return std::optional<SubnodeEntry>();
  for (std::size_t index = LeafFor(from); index < _leaves.size(); ++index) {
    if (Status s = LoadLeaf(index); !s.ok()) return s;
    const auto found = std::ranges::lower_bound(_entries, from, {}, &SubnodeEntry::nid);
    if (found != _entries.end()) return std::optional(*found);
  }
  return std::optional<SubnodeEntry>();
}

Result<std::vector<SubnodeEntry>> SubnodeTree::Entries() const {
  std::vector<SubnodeEntry> all;
  for (std::size_t index = 0; index < _leaves.size(); ++index) {
    if (Status s = LoadLeaf(index); !s.ok()) return s;
    all.insert(all.end(), _entries.begin(), _entries.end());
  }
  return all;
}

// ---- SubnodeTreeBuilder -------------------------------------------------------------------------

Status SubnodeTreeBuilder::Add(const SubnodeEntry& entry) {
  if (!entry.nid || (_last && entry.nid <= *_last)) {
    return {StatusCode::kInvalidArgument, "subnode " + ToString(entry.nid) + " out of order"};
  }
  if (_entries.size() == kMaximumSlBlockEntries) {
    if (_leaves.size() + 1 >= kMaximumSiBlockEntries) return TooMany();
    if (Status s = FlushLeaf(); !s.ok()) return s;
  }
  _entries.push_back(entry);
  _last = entry.nid;
  return {};
}

Status SubnodeTreeBuilder::FlushLeaf() {
  auto leaf = WriteLeaf(*_database, _entries);
  if (!leaf.ok()) return leaf.status();
  _leaves.push_back({_entries.front().nid, *leaf});
  _entries.clear();
  return {};
}

Result<BlockId> SubnodeTreeBuilder::Finish() {
  if (!_entries.empty()) {
    if (Status s = FlushLeaf(); !s.ok()) return s;
  }
  auto root = WriteRoot(*_database, std::span<const SubnodeTree::Leaf>(_leaves));
  if (!root.ok()) return root;
  _leaves.clear();
  _last.reset();
  return root;
}

void SubnodeTreeBuilder::Abandon() {
  for (const SubnodeEntry& entry : _entries) {
    _database->AbandonBlock(entry.data);
    _database->AbandonBlock(entry.sub);
  }
  for (const SubnodeTree::Leaf& leaf : _leaves) _database->AbandonBlock(leaf.block);
  _entries.clear();
  _leaves.clear();
  _last.reset();
}

// ---- SubnodeTreeEditor --------------------------------------------------------------------------

Result<SubnodeTreeEditor> SubnodeTreeEditor::Open(NodeDatabase& database, BlockId root) {
  auto tree = SubnodeTree::Open(database, root);
  if (!tree.ok()) return tree.status();
  return SubnodeTreeEditor(database, std::move(*tree));
}

SubnodeTreeEditor::~SubnodeTreeEditor() { Forget(); }

SubnodeTreeEditor::SubnodeTreeEditor(SubnodeTreeEditor&& other) noexcept
    : _database(other._database),
      _tree(std::move(other._tree)),
      _root(other._root),
      _changes(std::exchange(other._changes, {})) {}

SubnodeTreeEditor& SubnodeTreeEditor::operator=(SubnodeTreeEditor&& other) noexcept {
  if (this == &other) return *this;
  Forget();
  _database = other._database;
  _tree = std::move(other._tree);
  _root = other._root;
  _changes = std::exchange(other._changes, {});
  return *this;
}

Result<std::optional<SubnodeEntry>> SubnodeTreeEditor::Find(NodeId nid) const {
  const auto change = _changes.find(nid);
  if (change != _changes.end()) return change->second;
  return _tree.Find(nid);
}

// A loose block that is in neither entry any more can only be freed here.
void SubnodeTreeEditor::DropReplaced(const SubnodeEntry& old, const SubnodeEntry& now) const {
  for (const BlockId bid : {old.data, old.sub}) {
    if (bid != now.data && bid != now.sub) _database->AbandonBlock(bid);
  }
}

Status SubnodeTreeEditor::Put(const SubnodeEntry& entry) {
  if (!entry.nid) return {StatusCode::kInvalidArgument, "subnode 0"};
  const auto [change, added] = _changes.try_emplace(entry.nid, entry);
  if (added) return {};
  if (change->second) DropReplaced(*change->second, entry);
  change->second = entry;
  return {};
}

Status SubnodeTreeEditor::Remove(NodeId nid) {
  const auto [change, added] = _changes.try_emplace(nid, std::nullopt);
  if (added) return {};
  if (change->second) DropReplaced(*change->second, {});
  change->second.reset();
  return {};
}

// The tree as it will be, and what it takes the place of.
struct SubnodeTreeEditor::Rebuilt {
  std::vector<SubnodeTree::Leaf> leaves;
  std::vector<BlockId> fresh;  // written for it
  std::vector<BlockId> replacedLeaves;
  std::vector<std::pair<SubnodeEntry, SubnodeEntry>> replacedEntries;  // the old one, the new one
};

// Nothing of the old tree is given up before all of the new one is written: a failure leaves the
// old one, and the changes to try again.
Result<BlockId> SubnodeTreeEditor::Flush() {
  if (_changes.empty()) return _root;
  const bool loose = _root && _database->IsLoose(_root);
  Rebuilt now;
  Status status = Rebuild(now);
  auto root = status.ok() ? WriteRoot(*_database, std::span<const SubnodeTree::Leaf>(now.leaves))
                          : Result<BlockId>(status);
  if (!root.ok()) {
    for (const BlockId bid : now.fresh) _database->AbandonBlockOnly(bid);
    return root;
  }
  if (loose) AbandonReplaced(now);
  SubnodeTree tree;
  tree._database = _database;
  tree._root = *root;
  tree._indexed = now.leaves.size() > 1;
  tree._leaves = std::move(now.leaves);
  _tree = std::move(tree);
  _root = *root;
  _changes.clear();
  return root;
}

Status SubnodeTreeEditor::Rebuild(Rebuilt& now) const {
  const std::vector<SubnodeTree::Leaf>& old = _tree._leaves;
  auto change = _changes.begin();
  for (std::size_t index = 0; index < std::max<std::size_t>(old.size(), 1); ++index) {
    const bool last = index + 1 >= old.size();
    const auto end = last ? _changes.end() : _changes.lower_bound(old[index + 1].first);
    if (change == end) {
      now.leaves.push_back(old[index]);
      continue;
    }
    if (Status s = RebuildLeaf(index, change, end, now); !s.ok()) return s;
    change = end;
  }
  return now.leaves.size() > kMaximumSiBlockEntries ? TooMany() : Status();
}

// Merges a leaf with the changes that fall into it. A tree without leaves has no entries either.
Status SubnodeTreeEditor::RebuildLeaf(std::size_t index, Changes::const_iterator change,
                                      Changes::const_iterator end, Rebuilt& now) const {
  if (index < _tree._leaves.size()) {
    if (Status s = _tree.LoadLeaf(index); !s.ok()) return s;
    now.replacedLeaves.push_back(_tree._leaves[index].block);
  }
  const std::vector<SubnodeEntry>& old = _tree._entries;
  const bool last = index + 1 >= _tree._leaves.size();
  const bool appends = last && (old.empty() || old.back().nid < change->first);
  std::vector<SubnodeEntry> merged;
  auto at = old.begin();
  for (; change != end; ++change) {
    const auto& [nid, entry] = *change;
    while (at != old.end() && at->nid < nid) merged.push_back(*at++);
    if (at != old.end() && at->nid == nid) {
      now.replacedEntries.emplace_back(*at++, entry.value_or(SubnodeEntry{}));
    }
    if (entry) merged.push_back(*entry);
  }
  merged.insert(merged.end(), at, old.end());
  return WriteLeaves(merged, appends, now);
}

// At the right edge leaves are filled up, because what comes next goes behind them; elsewhere they
// are split evenly, so that each has room.
Status SubnodeTreeEditor::WriteLeaves(std::span<const SubnodeEntry> entries, bool appends,
                                      Rebuilt& now) const {
  for (std::size_t parts = (entries.size() + kMaximumSlBlockEntries - 1) / kMaximumSlBlockEntries;
       parts > 0; --parts) {
    const std::size_t size = appends ? std::min(entries.size(), kMaximumSlBlockEntries)
                                     : (entries.size() + parts - 1) / parts;
    auto leaf = WriteLeaf(*_database, entries.first(size));
    if (!leaf.ok()) return leaf.status();
    now.fresh.push_back(*leaf);
    now.leaves.push_back({entries.front().nid, *leaf});
    entries = entries.subspan(size);
  }
  return {};
}

// What a loose tree had and the new one has not, nobody else can free.
void SubnodeTreeEditor::AbandonReplaced(const Rebuilt& now) const {
  for (const auto& [old, entry] : now.replacedEntries) DropReplaced(old, entry);
  for (const BlockId bid : now.replacedLeaves) _database->AbandonBlockOnly(bid);
  if (_tree._indexed) _database->AbandonBlockOnly(_root);
}

// Entries not flushed belong to no tree.
void SubnodeTreeEditor::Forget() {
  for (const auto& [nid, entry] : _changes) {
    if (!entry) continue;
    auto old = _tree.Find(nid);
    DropReplaced(*entry, old.ok() && *old ? **old : SubnodeEntry{});
  }
  _changes.clear();
}

}  // namespace parvane::pstfile
