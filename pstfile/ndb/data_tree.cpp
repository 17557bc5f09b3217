#include "pstfile/ndb/data_tree.h"

#include <algorithm>
#include <string>
#include <utility>

#include "pstfile/ndb/xblock.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

std::size_t BlocksFor(std::uint64_t size) {
  return static_cast<std::size_t>((size + kMaximumBlockData - 1) / kMaximumBlockData);
}

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
    auto size = _database->BlockDataSize(root);
    if (!size.ok()) return size.status();
    _size = *size;
    _blockCount = 1;
    return {};
  }
  auto top = ReadXBlock(*_database, root);
  if (!top.ok()) return top.status();
  _level = top->level;
  _size = top->total;
  _blockCount = BlocksFor(_size);
  // Every block but the last is full, so the total alone tells where a byte is, and a tree that has
  // holes or more blocks than that is refused here.
  const std::size_t expected =
      _level == 1 ? _blockCount : (_blockCount + kMaximumXBlockEntries - 1) / kMaximumXBlockEntries;
  if (top->ids.size() != expected) {
    return CorruptTree(root, "lcbTotal " + std::to_string(_size) + " with " +
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
  auto content = ReadXBlock(*_database, bid);
  if (!content.ok()) return content.status();
  const std::size_t first = index * kMaximumXBlockEntries;
  const std::size_t expected = std::min(kMaximumXBlockEntries, _blockCount - first);
  const std::uint64_t total = std::min(kXBlockBytes, _size - first * kMaximumBlockData);
  if (content->level != 1 || content->ids.size() != expected || content->total != total) {
    return CorruptTree(bid, "cLevel " + std::to_string(content->level) + ", cEnt " +
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
  auto bid = BlockAt(n);
  if (!bid.ok()) return bid.status();
  auto block = _database->ReadBlock(*bid);
  if (!block.ok()) return block;
  if (block->size() != BlockSize(n)) {
    return CorruptTree(*bid, std::to_string(block->size()) + " bytes as block " +
                                 std::to_string(n) + " of its tree, expected " +
                                 std::to_string(BlockSize(n)));
  }
  return block;
}

Result<std::size_t> DataTree::ReadAt(std::uint64_t offset, std::span<std::byte> buffer) const {
  std::size_t done = 0;
  while (done < buffer.size() && offset < _size) {
    const auto n = static_cast<std::size_t>(offset / kMaximumBlockData);
    auto block = ReadBlock(n);
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
  constexpr std::uint64_t kAtOnce = 1 << 21;
  std::vector<std::byte> all;
  all.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(_size, kAtOnce)));
  for (std::size_t n = 0; n < _blockCount; ++n) {
    auto block = ReadBlock(n);
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
  // What lacks a piece must not pass for whole: who failed once fails from then on.
  _failure = AppendBlocks(bytes);
  return _failure;
}

Status DataTreeWriter::AppendBlocks(std::span<const std::byte> bytes) {
  if (bytes.size() > kMaximumDataTreeSize - _size) return TreeTooLarge();
  _size += bytes.size();
  if (!_pending.empty()) {
    const std::size_t before = _pending.size();
    const std::size_t take = std::min(bytes.size(), kMaximumBlockData - before);
    _pending.resize(before + take);
    std::copy_n(bytes.begin(), take, _pending.begin() + static_cast<std::ptrdiff_t>(before));
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
  auto bid = _database->WriteBlock(bytes);
  if (!bid.ok()) return bid.status();
  _leaves.push_back(*bid);
  return {};
}

Status DataTreeWriter::FlushXBlock() {
  const std::uint64_t before = _xblocks.size() * kXBlockBytes;
  const std::uint64_t total = std::min(kXBlockBytes, _size - before);
  auto bid = WriteXBlock(*_database, 1, total, _leaves);
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
      auto top = WriteXBlock(*_database, 2, _size, _xblocks);
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

}  // namespace parvane::pstfile
