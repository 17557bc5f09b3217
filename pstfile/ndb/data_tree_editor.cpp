// The tree is kept as a list of XBLOCKs, also when it is a single block (one XBLOCK with one leaf
// that was never written). An XBLOCK in memory that changed has no id yet.
#include <algorithm>
#include <iterator>
#include <utility>

#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/xblock.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

Result<DataTreeEditor> DataTreeEditor::Open(NodeDatabase& database, BlockId root) {
  DataTreeEditor editor(database);
  auto tree = DataTree::Open(database, root);
  if (!tree.ok()) return tree.status();
  editor._root = root;
  editor._blockCount = tree->_blockCount;
  if (editor._blockCount == 0) return editor;
  editor._lastSize = tree->BlockSize(editor._blockCount - 1);
  switch (tree->_level) {
    case 0:
      editor._xblocks = {BlockId()};
      editor._loaded[0] = {{root}, false};
      break;
    case 1:
      editor._xblocks = {root};
      editor._loaded[0] = {std::move(tree->_leaves), false};
      break;
    default:
      editor._xblocks = std::move(tree->_xblocks);
      editor._topBlock = root;
      break;
  }
  return editor;
}

DataTreeEditor::~DataTreeEditor() { Forget(); }

DataTreeEditor::DataTreeEditor(DataTreeEditor&& other) noexcept : _database(other._database) {
  *this = std::move(other);
}

DataTreeEditor& DataTreeEditor::operator=(DataTreeEditor&& other) noexcept {
  if (this == &other) return *this;
  Forget();
  _database = other._database;
  _root = std::exchange(other._root, {});
  _changed = std::exchange(other._changed, false);
  _blockCount = std::exchange(other._blockCount, 0);
  _lastSize = std::exchange(other._lastSize, 0);
  _xblocks = std::exchange(other._xblocks, {});
  _topBlock = std::exchange(other._topBlock, {});
  _loaded = std::exchange(other._loaded, {});
  _fresh = std::exchange(other._fresh, {});
  _obsolete = std::exchange(other._obsolete, {});
  return *this;
}

std::uint64_t DataTreeEditor::size() const {
  return _blockCount == 0 ? 0 : (_blockCount - 1) * std::uint64_t{kMaximumBlockData} + _lastSize;
}

// The XBLOCK's leaves in memory; others that did not change make room.
Result<DataTreeEditor::XBlock*> DataTreeEditor::Touch(std::size_t xblock) const {
  if (const auto found = _loaded.find(xblock); found != _loaded.end()) return &found->second;
  auto content = ReadXBlock(*_database, _xblocks[xblock]);
  if (!content.ok()) return content.status();
  const std::size_t expected =
      std::min(kMaximumXBlockEntries, _blockCount - xblock * kMaximumXBlockEntries);
  if (content->level != 1 || content->ids.size() != expected) {
    return CorruptTree(_xblocks[xblock], "cEnt " + std::to_string(content->ids.size()) +
                                             ", expected " + std::to_string(expected));
  }
  constexpr std::size_t kKept = 4;
  for (auto it = _loaded.begin(); _loaded.size() >= kKept && it != _loaded.end();) {
    it = it->second.dirty || !_xblocks[it->first] ? std::next(it) : _loaded.erase(it);
  }
  return &(_loaded[xblock] = {std::move(content->ids), false});
}

Result<BlockSlice> DataTreeEditor::ReadBlock(std::size_t n) const {
  if (n >= _blockCount) return NoSuchBlock(n, _blockCount);
  auto xblock = Touch(n / kMaximumXBlockEntries);
  if (!xblock.ok()) return xblock.status();
  return _database->ReadBlock((*xblock)->leaves[n % kMaximumXBlockEntries]);
}

void DataTreeEditor::MarkDirty(std::size_t index, XBlock& xblock) {
  _changed = true;
  if (xblock.dirty) return;
  xblock.dirty = true;
  if (_xblocks[index]) Drop(_xblocks[index]);
  _xblocks[index] = {};
}

Status DataTreeEditor::AppendBlock(std::span<const std::byte> bytes) {
  if (_blockCount > 0 && _lastSize != kMaximumBlockData) {
    return {StatusCode::kInvalidArgument, "appending to a data tree whose last block is not full"};
  }
  if (bytes.size() > kMaximumDataTreeSize - size()) return TreeTooLarge();
  const std::size_t index = _blockCount / kMaximumXBlockEntries;
  if (index == _xblocks.size()) {
    if (Status s = SpillFullXBlocks(); !s.ok()) return s;
  }
  auto bid = _database->WriteBlock(bytes);
  if (!bid.ok()) return bid.status();
  _fresh.insert(*bid);
  if (index == _xblocks.size()) {
    _xblocks.emplace_back();
    _loaded[index] = {};
  }
  auto xblock = Touch(index);
  if (!xblock.ok()) {
    Drop(*bid);
    return xblock.status();
  }
  MarkDirty(index, **xblock);
  (*xblock)->leaves.push_back(*bid);
  ++_blockCount;
  _lastSize = bytes.size();
  return {};
}

Status DataTreeEditor::ReplaceBlock(std::size_t n, std::span<const std::byte> bytes) {
  if (n >= _blockCount) return NoSuchBlock(n, _blockCount);
  const bool last = n + 1 == _blockCount;
  if (!last && bytes.size() != kMaximumBlockData) {
    return {StatusCode::kInvalidArgument, "a block inside a data tree must be full"};
  }
  if (last && bytes.size() > kMaximumDataTreeSize - n * std::uint64_t{kMaximumBlockData}) {
    return TreeTooLarge();
  }
  const std::size_t index = n / kMaximumXBlockEntries;
  auto xblock = Touch(index);
  if (!xblock.ok()) return xblock.status();
  auto bid = _database->WriteBlock(bytes);
  if (!bid.ok()) return bid.status();
  _fresh.insert(*bid);
  MarkDirty(index, **xblock);
  BlockId& leaf = (*xblock)->leaves[n % kMaximumXBlockEntries];
  Drop(leaf);
  leaf = *bid;
  if (last) _lastSize = bytes.size();
  return {};
}

Status DataTreeEditor::Truncate(std::size_t count) {
  if (count >= _blockCount) return {};
  while (_blockCount > count) {
    const std::size_t index = (_blockCount - 1) / kMaximumXBlockEntries;
    const std::size_t first = index * kMaximumXBlockEntries;
    auto touched = Touch(index);
    if (!touched.ok()) return touched.status();
    XBlock& xblock = **touched;
    MarkDirty(index, xblock);
    while (_blockCount > std::max(count, first)) {
      Drop(xblock.leaves.back());
      xblock.leaves.pop_back();
      --_blockCount;
    }
    if (_blockCount > first) break;
    _loaded.erase(index);
    _xblocks.pop_back();
  }
  if (_blockCount > 0) _lastSize = kMaximumBlockData;
  return {};
}

Result<BlockId> DataTreeEditor::WriteXBlock(std::size_t index, const XBlock& xblock) {
  const std::uint64_t before = index * kXBlockBytes;
  const std::uint64_t total = std::min(kXBlockBytes, size() - before);
  auto bid = pstfile::WriteXBlock(*_database, 1, total, xblock.leaves);
  if (bid.ok()) _fresh.insert(*bid);
  return bid;
}

// So that a tree that grows without end takes no memory for the part that is complete.
Status DataTreeEditor::SpillFullXBlocks() {
  for (auto it = _loaded.begin(); it != _loaded.end();) {
    if (it->second.dirty) {
      auto bid = WriteXBlock(it->first, it->second);
      if (!bid.ok()) return bid.status();
      _xblocks[it->first] = *bid;
    }
    it = _xblocks[it->first] ? _loaded.erase(it) : std::next(it);
  }
  return {};
}

Result<BlockId> DataTreeEditor::Flush() {
  if (!_changed) return _root;
  BlockId root;
  if (_blockCount == 1) {
    root = _loaded.at(0).leaves.front();
    _loaded.at(0).dirty = false;
  } else if (_blockCount > 1) {
    for (auto& [index, xblock] : _loaded) {
      // A single block that got company has an XBLOCK that was never written.
      if (_xblocks[index] && !xblock.dirty) continue;
      auto bid = WriteXBlock(index, xblock);
      if (!bid.ok()) return bid.status();
      _xblocks[index] = *bid;
      xblock.dirty = false;
    }
    root = _xblocks.front();
    if (_xblocks.size() > 1) {
      auto top = pstfile::WriteXBlock(*_database, 2, size(), _xblocks);
      if (!top.ok()) return top.status();
      root = *top;
    }
  }
  if (_topBlock) Drop(_topBlock);
  for (const BlockId bid : _obsolete) _database->AbandonBlockOnly(bid);
  _obsolete.clear();
  _topBlock = _xblocks.size() > 1 ? root : BlockId();
  _fresh.clear();
  _root = root;
  _changed = false;
  return root;
}

// The tree under construction does not need a block any more. Freed at once when no finished tree
// has it, else after Flush, if it is loose; blocks of the file are dropped when the new root is
// put.
void DataTreeEditor::Drop(BlockId bid) {
  if (_fresh.erase(bid) > 0) {
    _database->AbandonBlockOnly(bid);
  } else {
    _obsolete.push_back(bid);
  }
}

void DataTreeEditor::Forget() {
  for (const BlockId bid : _fresh) _database->AbandonBlockOnly(bid);
  _fresh.clear();
  _obsolete.clear();
  _loaded.clear();
}

}  // namespace parvane::pstfile
