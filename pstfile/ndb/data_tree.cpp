#include "pstfile/ndb/data_tree.h"

#include <algorithm>
#include <string>
#include <utility>

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint64_t kXBlockBytes = kMaximumXBlockEntries * kMaximumBlockData;

Status Corrupt(BlockId bid, const std::string& text) {
  return {StatusCode::kCorrupt, "block " + ToString(bid) + ": " + text};
}

Status NoSuchBlock(std::size_t n, std::size_t count) {
  return {StatusCode::kInvalidArgument,
          "block " + std::to_string(n) + " of a data tree of " + std::to_string(count)};
}

// An XBLOCK (level 1) or XXBLOCK (level 2) and the ids in it.
struct XBlockContent {
  unsigned level = 0;
  std::uint32_t total = 0;
  std::vector<BlockId> ids;
};

Result<XBlockContent> ReadXBlock(const NodeDatabase& database, BlockId bid) {
  Result<BlockSlice> bytes = database.ReadBlock(bid);
  if (!bytes.ok()) return bytes.status();
  Result<InternalBlock> block = InternalBlock::Parse(bytes->bytes(), bid);
  if (!block.ok()) return block.status();
  if (block->type != kDataTreeBlock) return Corrupt(bid, "not part of a data tree");
  if (block->count > kMaximumXBlockEntries) {
    return Corrupt(bid, "cEnt " + std::to_string(block->count));
  }
  XBlockContent content{block->level, block->total, {}};
  content.ids.reserve(block->count);
  for (std::size_t at = 0; at < block->entries.size(); at += 8) {
    const BlockId id(LoadU64(block->entries, at));
    // XXBLOCKs refer to XBLOCKs, XBLOCKs to data: a tree cannot lead back into itself.
    if (!id || id.IsInternal() != (block->level == 2)) {
      return Corrupt(bid, "entry " + ToString(id) + " is of the wrong kind");
    }
    content.ids.push_back(id);
  }
  return content;
}

std::size_t BlocksFor(std::uint64_t size) {
  return static_cast<std::size_t>((size + kMaximumBlockData - 1) / kMaximumBlockData);
}

Result<BlockId> WriteXBlockOf(NodeDatabase& database, unsigned level, std::uint64_t total,
                              std::span<const BlockId> ids) {
  std::vector<std::byte> bytes =
      StartInternalBlock(kDataTreeBlock, static_cast<std::uint8_t>(level), ids.size(), 8,
                         static_cast<std::uint32_t>(total));
  for (std::size_t i = 0; i < ids.size(); ++i) {
    StoreU64(bytes, kInternalBlockHeaderSize + 8 * i, ids[i].value);
  }
  return database.WriteInternalBlock(bytes);
}

Status TooLarge() { return {StatusCode::kTooBig, "a value of 4 GiB or more cannot be stored"}; }

}  // namespace

// ---- DataTree -----------------------------------------------------------------------------------

Result<DataTree> DataTree::Open(const NodeDatabase& database, BlockId root) {
  DataTree tree;
  tree._database = &database;
  if (Status s = tree.Load(root); !s.ok()) return s;
  return tree;
}

Status DataTree::Load(BlockId root) {
  _root = root;
  if (!root) return {};
  if (!root.IsInternal()) {
    Result<std::size_t> size = _database->BlockDataSize(root);
    if (!size.ok()) return size.status();
    _size = *size;
    _blockCount = 1;
    return {};
  }
  Result<XBlockContent> top = ReadXBlock(*_database, root);
  if (!top.ok()) return top.status();
  _level = top->level;
  _size = top->total;
  _blockCount = BlocksFor(_size);
  const std::size_t expected =
      _level == 1 ? _blockCount : (_blockCount + kMaximumXBlockEntries - 1) / kMaximumXBlockEntries;
  if (top->ids.size() != expected) {
    return Corrupt(root, "lcbTotal " + std::to_string(_size) + " with " +
                             std::to_string(top->ids.size()) + " entries, expected " +
                             std::to_string(expected));
  }
  if (_level == 1) {
    _leaves = std::move(top->ids);
    _loaded = 0;
  } else {
    _xblocks = std::move(top->ids);
  }
  return {};
}

Status DataTree::LoadXBlock(std::size_t index) const {
  if (_loaded == index) return {};
  const BlockId bid = _xblocks[index];
  Result<XBlockContent> content = ReadXBlock(*_database, bid);
  if (!content.ok()) return content.status();
  const std::size_t first = index * kMaximumXBlockEntries;
  const std::size_t expected = std::min(kMaximumXBlockEntries, _blockCount - first);
  const std::uint64_t total = std::min(kXBlockBytes, _size - first * kMaximumBlockData);
  if (content->level != 1 || content->ids.size() != expected || content->total != total) {
    return Corrupt(bid, "cLevel " + std::to_string(content->level) + ", cEnt " +
                            std::to_string(content->ids.size()) + ", lcbTotal " +
                            std::to_string(content->total) + "; expected 1, " +
                            std::to_string(expected) + ", " + std::to_string(total));
  }
  _leaves = std::move(content->ids);
  _loaded = index;
  return {};
}

std::size_t DataTree::BlockSize(std::size_t n) const {
  return static_cast<std::size_t>(
      std::min<std::uint64_t>(kMaximumBlockData, _size - n * kMaximumBlockData));
}

Result<BlockId> DataTree::BlockAt(std::size_t n) const {
  if (n >= _blockCount) return NoSuchBlock(n, _blockCount);
  if (_level == 0) return _root;
  if (_level == 1) return _leaves[n];
  if (Status s = LoadXBlock(n / kMaximumXBlockEntries); !s.ok()) return s;
  return _leaves[n % kMaximumXBlockEntries];
}

Result<BlockSlice> DataTree::ReadBlock(std::size_t n) const {
  Result<BlockId> bid = BlockAt(n);
  if (!bid.ok()) return bid.status();
  Result<BlockSlice> block = _database->ReadBlock(*bid);
  if (!block.ok()) return block;
  if (block->size() != BlockSize(n)) {
    return Corrupt(*bid, std::to_string(block->size()) + " bytes as block " + std::to_string(n) +
                             " of its tree, expected " + std::to_string(BlockSize(n)));
  }
  return block;
}

Result<std::size_t> DataTree::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  std::size_t done = 0;
  while (done < buffer.size() && offset < _size) {
    const auto n = static_cast<std::size_t>(offset / kMaximumBlockData);
    Result<BlockSlice> block = ReadBlock(n);
    if (!block.ok()) return block.status();
    const auto bytes = block->bytes().subspan(static_cast<std::size_t>(offset % kMaximumBlockData));
    const std::size_t count = std::min(bytes.size(), buffer.size() - done);
    std::copy_n(bytes.begin(), count, buffer.begin() + static_cast<std::ptrdiff_t>(done));
    done += count;
    offset += count;
  }
  return done;
}

Result<std::vector<std::byte>> DataTree::ReadAll(std::uint64_t limit) const {
  if (_size > limit) {
    return Status(StatusCode::kTooBig, "a value of " + std::to_string(_size) + " bytes");
  }
  // Grows with what is really there: a damaged lcbTotal must not cost gigabytes.
  std::vector<std::byte> all;
  for (std::size_t n = 0; n < _blockCount; ++n) {
    Result<BlockSlice> block = ReadBlock(n);
    if (!block.ok()) return block.status();
    all.insert(all.end(), block->bytes().begin(), block->bytes().end());
  }
  return all;
}

// ---- DataTreeWriter -----------------------------------------------------------------------------

DataTreeWriter::DataTreeWriter(NodeDatabase& database) : _database(&database) {}

DataTreeWriter::~DataTreeWriter() { Abandon(); }

DataTreeWriter::DataTreeWriter(DataTreeWriter&& other) noexcept
    : _database(other._database),
      _pending(std::exchange(other._pending, {})),
      _leaves(std::exchange(other._leaves, {})),
      _xblocks(std::exchange(other._xblocks, {})),
      _size(std::exchange(other._size, 0)),
      _failure(std::exchange(other._failure, {})) {}

Status DataTreeWriter::Append(std::span<const std::byte> bytes) {
  if (!_failure.ok()) return _failure;
  _failure = AppendBlocks(bytes);
  return _failure;
}

Status DataTreeWriter::AppendBlocks(std::span<const std::byte> bytes) {
  if (bytes.size() > kMaximumDataTreeSize - _size) return TooLarge();
  _size += bytes.size();
  if (!_pending.empty()) {
    const std::size_t take = std::min(bytes.size(), kMaximumBlockData - _pending.size());
    _pending.insert(_pending.end(), bytes.begin(),
                    bytes.begin() + static_cast<std::ptrdiff_t>(take));
    bytes = bytes.subspan(take);
    if (_pending.size() < kMaximumBlockData) return {};
    if (Status s = FlushBlock(_pending); !s.ok()) return s;
    _pending.clear();
  }
  for (; bytes.size() >= kMaximumBlockData; bytes = bytes.subspan(kMaximumBlockData)) {
    if (Status s = FlushBlock(bytes.first(kMaximumBlockData)); !s.ok()) return s;
  }
  _pending.assign(bytes.begin(), bytes.end());
  return {};
}

Status DataTreeWriter::FlushBlock(std::span<const std::byte> bytes) {
  if (_leaves.size() == kMaximumXBlockEntries) {
    if (Status s = FlushXBlock(); !s.ok()) return s;
  }
  Result<BlockId> bid = _database->WriteBlock(bytes);
  if (!bid.ok()) return bid.status();
  _leaves.push_back(*bid);
  return {};
}

Status DataTreeWriter::FlushXBlock() {
  const std::uint64_t before = _xblocks.size() * kXBlockBytes;
  const std::uint64_t total = std::min(kXBlockBytes, _size - before);
  Result<BlockId> bid = WriteXBlockOf(*_database, 1, total, _leaves);
  if (!bid.ok()) return bid.status();
  _xblocks.push_back(*bid);
  _leaves.clear();
  return {};
}

Result<BlockId> DataTreeWriter::Finish() {
  if (!_failure.ok()) return _failure;
  if (!_pending.empty()) {
    if (Status s = FlushBlock(_pending); !s.ok()) return s;
    _pending.clear();
  }
  BlockId root;
  if (_xblocks.empty() && _leaves.size() <= 1) {
    if (!_leaves.empty()) root = _leaves.front();
  } else {
    if (Status s = FlushXBlock(); !s.ok()) return s;
    root = _xblocks.front();
    if (_xblocks.size() > 1) {
      Result<BlockId> top = WriteXBlockOf(*_database, 2, _size, _xblocks);
      if (!top.ok()) return top.status();
      root = *top;
    }
  }
  _leaves.clear();
  _xblocks.clear();
  _size = 0;
  return root;
}

void DataTreeWriter::Abandon() {
  for (const BlockId bid : _leaves) _database->AbandonBlock(bid);
  for (const BlockId bid : _xblocks) _database->AbandonBlock(bid);
  _pending.clear();
  _leaves.clear();
  _xblocks.clear();
  _size = 0;
  _failure = {};
}

// ---- DataTreeEditor -----------------------------------------------------------------------------
//
// The tree is kept as a list of XBLOCKs, also when it is a single block (one XBLOCK with one leaf
// that was never written). An XBLOCK in memory that changed has no id yet.

Result<DataTreeEditor> DataTreeEditor::Open(NodeDatabase& database, BlockId root) {
  DataTreeEditor editor(database);
  Result<DataTree> tree = DataTree::Open(database, root);
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
  Result<XBlockContent> content = ReadXBlock(*_database, _xblocks[xblock]);
  if (!content.ok()) return content.status();
  const std::size_t expected =
      std::min(kMaximumXBlockEntries, _blockCount - xblock * kMaximumXBlockEntries);
  if (content->level != 1 || content->ids.size() != expected) {
    return Corrupt(_xblocks[xblock], "cEnt " + std::to_string(content->ids.size()) + ", expected " +
                                         std::to_string(expected));
  }
  constexpr std::size_t kKept = 4;
  for (auto it = _loaded.begin(); _loaded.size() >= kKept && it != _loaded.end();) {
    it = it->second.dirty || !_xblocks[it->first] ? std::next(it) : _loaded.erase(it);
  }
  return &(_loaded[xblock] = {std::move(content->ids), false});
}

Result<BlockSlice> DataTreeEditor::ReadBlock(std::size_t n) const {
  if (n >= _blockCount) return NoSuchBlock(n, _blockCount);
  Result<XBlock*> xblock = Touch(n / kMaximumXBlockEntries);
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
  if (bytes.size() > kMaximumDataTreeSize - size()) return TooLarge();
  const std::size_t index = _blockCount / kMaximumXBlockEntries;
  if (index == _xblocks.size()) {
    if (Status s = SpillFullXBlocks(); !s.ok()) return s;
  }
  Result<BlockId> bid = _database->WriteBlock(bytes);
  if (!bid.ok()) return bid.status();
  _fresh.insert(*bid);
  if (index == _xblocks.size()) {
    _xblocks.emplace_back();
    _loaded[index] = {};
  }
  Result<XBlock*> xblock = Touch(index);
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
    return TooLarge();
  }
  const std::size_t index = n / kMaximumXBlockEntries;
  Result<XBlock*> xblock = Touch(index);
  if (!xblock.ok()) return xblock.status();
  Result<BlockId> bid = _database->WriteBlock(bytes);
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
    Result<XBlock*> touched = Touch(index);
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
  Result<BlockId> bid = WriteXBlockOf(*_database, 1, total, xblock.leaves);
  if (bid.ok()) _fresh.insert(*bid);
  return bid;
}

// So that a tree that grows without end takes no memory for the part that is complete.
Status DataTreeEditor::SpillFullXBlocks() {
  for (auto it = _loaded.begin(); it != _loaded.end();) {
    if (it->second.dirty) {
      Result<BlockId> bid = WriteXBlock(it->first, it->second);
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
      Result<BlockId> bid = WriteXBlock(index, xblock);
      if (!bid.ok()) return bid.status();
      _xblocks[index] = *bid;
      xblock.dirty = false;
    }
    root = _xblocks.front();
    if (_xblocks.size() > 1) {
      Result<BlockId> top = WriteXBlockOf(*_database, 2, size(), _xblocks);
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
