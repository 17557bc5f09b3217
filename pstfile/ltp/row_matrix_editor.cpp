#include "pstfile/ltp/row_matrix_editor.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {
// Blocks kept in memory before the changed ones among them are written ahead.
constexpr std::size_t kBlocksInMemory = 8;
}  // namespace

RowMatrixEditor RowMatrixEditor::Create(NodeDatabase& database, std::size_t rowSize) {
  return {database, rowSize};
}

RowMatrixEditor RowMatrixEditor::FromItem(NodeDatabase& database, std::size_t rowSize, HeapId id,
                                          std::span<const std::byte> item) {
  RowMatrixEditor editor(database, rowSize);
  editor._rows = item.size() / rowSize;
  editor._item = id;
  editor._small.assign(item.begin(),
                       item.begin() + static_cast<std::ptrdiff_t>(editor._rows * rowSize));
  return editor;
}

Result<RowMatrixEditor> RowMatrixEditor::FromTree(NodeDatabase& database, std::size_t rowSize,
                                                  BlockId root) {
  auto tree = DataTreeEditor::Open(database, root);
  if (!tree.ok()) return tree.status();
  RowMatrixEditor editor(database, rowSize);
  if (const std::size_t count = tree->blockCount(); count > 0) {
    auto last = tree->ReadBlock(count - 1);
    if (!last.ok()) return last.status();
    const std::size_t inLast = std::min(last->size() / rowSize, editor._perBlock);
    if (inLast == 0) return Status(StatusCode::kCorrupt, "row matrix ends with an empty block");
    editor._rows = std::uint64_t{count - 1} * editor._perBlock + inLast;
  }
  editor._tree = std::move(*tree);
  return editor;
}

std::uint64_t RowMatrixEditor::treeSize() const { return _tree ? _tree->size() : 0; }

Result<RowMatrixEditor::Block*> RowMatrixEditor::Load(std::uint64_t number) {
  if (const auto found = _blocks.find(number); found != _blocks.end()) return &found->second;
  auto bytes = _tree->ReadBlock(number);
  if (!bytes.ok()) return bytes.status();
  WriteAhead();
  Block block;
  block.bytes.assign(kHeapPageSize, std::byte{0});
  const std::size_t used = std::min(bytes->size(), _perBlock * _rowSize);
  std::memcpy(block.bytes.data(), bytes->bytes().data(), used);
  return &_blocks.emplace(number, std::move(block)).first->second;
}

Status RowMatrixEditor::CheckRow(std::uint64_t row) const {
  if (row < _rows) return {};
  return {StatusCode::kCorrupt, "row " + std::to_string(row) + " of " + std::to_string(_rows)};
}

Result<std::span<const std::byte>> RowMatrixEditor::Read(std::uint64_t row) {
  if (Status status = CheckRow(row); !status.ok()) return status;
  if (!_tree) return std::span<const std::byte>(_small).subspan(row * _rowSize, _rowSize);
  auto block = Load(row / _perBlock);
  if (!block.ok()) return block.status();
  return std::span<const std::byte>((*block)->bytes).subspan(row % _perBlock * _rowSize, _rowSize);
}

Result<std::span<std::byte>> RowMatrixEditor::Edit(std::uint64_t row) {
  if (Status status = CheckRow(row); !status.ok()) return status;
  if (!_tree) {
    _smallDirty = true;
    return std::span(_small).subspan(row * _rowSize, _rowSize);
  }
  auto block = Load(row / _perBlock);
  if (!block.ok()) return block.status();
  (*block)->dirty = true;
  return std::span((*block)->bytes).subspan(row % _perBlock * _rowSize, _rowSize);
}

Status RowMatrixEditor::MoveToTree() {
  auto tree = DataTreeEditor::Open(*_database, BlockId());
  if (!tree.ok()) return tree.status();
  _tree = std::move(*tree);
  for (std::uint64_t row = 0; row < _rows; ++row) {
    Block& block = _blocks[row / _perBlock];
    block.bytes.resize(kHeapPageSize);
    block.dirty = true;
    std::memcpy(&block.bytes[row % _perBlock * _rowSize], &_small[row * _rowSize], _rowSize);
  }
  _small.clear();
  return {};
}

Status RowMatrixEditor::Append(std::span<const std::byte> row) {
  if (!_tree && _small.size() + _rowSize > kMaxHeapItem) {
    if (Status status = MoveToTree(); !status.ok()) return status;
  }
  if (!_tree) {
    _small.insert(_small.end(), row.begin(), row.end());
    _smallDirty = true;
    ++_rows;
    return {};
  }
  const std::uint64_t number = _rows / _perBlock;
  if (_rows % _perBlock == 0) {
    // The block before, if the tree has it already as its short last one, must be filled up.
    if (number > 0) {
      auto before = Load(number - 1);
      if (!before.ok()) return before.status();
      (*before)->dirty = true;
    }
    WriteAhead();
    _blocks[number].bytes.assign(kHeapPageSize, std::byte{0});
  }
  auto block = Load(number);
  if (!block.ok()) return block.status();
  std::memcpy(&(*block)->bytes[_rows % _perBlock * _rowSize], row.data(), _rowSize);
  (*block)->dirty = true;
  ++_rows;
  return {};
}

Status RowMatrixEditor::RemoveLast() {
  if (!_tree) {
    _small.resize(_small.size() - _rowSize);
    _smallDirty = true;
    --_rows;
    return {};
  }
  // The block is shortened, or, when this was its only row, gone and the one before ends the tree.
  auto block = Load((_rows - 1) / _perBlock);
  if (!block.ok()) return block.status();
  std::memset(&(*block)->bytes[(_rows - 1) % _perBlock * _rowSize], 0, _rowSize);
  (*block)->dirty = true;
  --_rows;
  if (_rows % _perBlock != 0) return {};
  _blocks.erase(_rows / _perBlock);
  if (_tree->blockCount() > BlockCount()) {
    if (Status status = _tree->Truncate(BlockCount()); !status.ok()) return status;
  }
  if (_rows == 0) return {};
  auto before = Load(BlockCount() - 1);
  if (!before.ok()) return before.status();
  (*before)->dirty = true;
  return {};
}

Status RowMatrixEditor::Write(std::uint64_t number) {
  while (_tree->blockCount() < number) {
    if (Status status = Write(_tree->blockCount()); !status.ok()) return status;
  }
  Block& block = _blocks.at(number);
  const bool last = number + 1 == BlockCount();
  const std::size_t size = last ? ((_rows - 1) % _perBlock + 1) * _rowSize : kHeapPageSize;
  const auto bytes = std::span(block.bytes).first(size);
  Status status =
      number < _tree->blockCount() ? _tree->ReplaceBlock(number, bytes) : _tree->AppendBlock(bytes);
  if (status.ok()) block.dirty = false;
  return status;
}

void RowMatrixEditor::WriteAhead() {
  if (_blocks.size() < kBlocksInMemory) return;
  const std::uint64_t last = BlockCount() - 1;
  for (auto at = _blocks.begin(); at != _blocks.end();) {
    if (at->first == last) {
      ++at;
      continue;
    }
    // A full disk shows again in Flush; until then the block stays.
    if (at->second.dirty && !Write(at->first).ok()) return;
    at = _blocks.erase(at);
  }
}

Result<RowMatrixEditor::Place> RowMatrixEditor::Flush(HeapEditor& heap) {
  Place place;
  if (!_tree) {
    if (!_smallDirty) {
      place.item = _item;
      return place;
    }
    auto item = heap.Replace(_item, _small, !_item.IsNull());
    if (item.ok()) {
      _item = *item;
      _smallDirty = false;
      place.item = _item;
      return place;
    }
    if (item.status().code() != StatusCode::kTooBig) return item.status();
    // No room to grow in its heap page.
    if (Status status = MoveToTree(); !status.ok()) return status;
  }
  if (!_item.IsNull()) {
    if (Status status = heap.Free(_item); !status.ok()) return status;
    _item = HeapId();
  }
  for (auto& [number, block] : _blocks) {
    if (!block.dirty) continue;
    if (Status status = Write(number); !status.ok()) return status;
  }
  auto root = _tree->Flush();
  if (!root.ok()) return root.status();
  if (*root) place.root = *root;
  return place;
}

std::size_t RowMatrixEditor::PendingBytes() const {
  std::size_t dirty = 0;
  for (const auto& [number, block] : _blocks) dirty += block.dirty ? 1 : 0;
  // And the XBLOCKs above them.
  return (dirty + (dirty != 0 ? 3 : 0)) * kMaximumBlockSize;
}

}  // namespace parvane::pstfile
