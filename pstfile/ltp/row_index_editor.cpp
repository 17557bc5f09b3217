#include "pstfile/ltp/row_index_editor.h"

#include <algorithm>
#include <array>

#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::size_t kRecordSize = 8;
constexpr std::size_t kMaxRecords = kMaxHeapItem / kRecordSize;
static_assert(kMaxRecords == 447);

Status Missing(std::uint32_t rowId) { return {StatusCode::kNotFound, "no row " + ToHex(rowId)}; }

template <typename Records>
auto LowerBound(Records& records, std::uint32_t key) {
  return std::lower_bound(records.begin(), records.end(), key,
                          [](const auto& r, std::uint32_t k) { return r.key < k; });
}

// The record under which `key` belongs: the last that is not above it, else the first.
template <typename Records>
std::size_t ChildFor(const Records& records, std::uint32_t key) {
  const auto above = std::upper_bound(records.begin(), records.end(), key,
                                      [](std::uint32_t k, const auto& r) { return k < r.key; });
  return above == records.begin() ? 0 : static_cast<std::size_t>(above - records.begin()) - 1;
}

}  // namespace

Result<RowIndexEditor> RowIndexEditor::Create(HeapEditor& heap) {
  RowIndexEditor editor(heap);
  editor._header = {kRowIndexKeySize, kRowIndexDataSize, 0, HeapId()};
  std::array<std::byte, kBthHeaderSize> bytes{};
  editor._header.Encode(bytes);
  auto id = heap.Add(bytes);
  if (!id.ok()) return id.status();
  editor._headerId = *id;
  return editor;
}

Result<RowIndexEditor> RowIndexEditor::Open(HeapEditor& heap, HeapId header) {
  auto item = heap.Item(header);
  if (!item.ok()) return item.status();
  auto decoded = BthHeader::Decode(*item);
  if (!decoded.ok()) return decoded.status();
  if (decoded->keySize != kRowIndexKeySize || decoded->dataSize != kRowIndexDataSize) {
    return Status(StatusCode::kCorrupt, "row index: key or data of the wrong size");
  }
  RowIndexEditor editor(heap);
  editor._headerId = header;
  editor._header = *decoded;
  if (Status status = editor.LoadRightEdge(); !status.ok()) return status;
  return editor;
}

Status RowIndexEditor::LoadRightEdge() {
  _edge.clear();
  HeapId id = _header.root;
  if (id.IsNull()) return {};
  std::vector<Node> downwards;
  for (std::size_t level = _header.levels;; --level) {
    auto records = Read(id);
    if (!records.ok()) return records.status();
    if (records->empty()) {
      if (_header.levels == 0) return {};
      return {StatusCode::kCorrupt, "row index: item " + ToHex(id.value) + " is empty"};
    }
    const HeapId below(records->back().value);
    downwards.push_back({id, false, std::move(*records)});
    if (level == 0) break;
    id = below;
  }
  _edge.assign(std::make_move_iterator(downwards.rbegin()),
               std::make_move_iterator(downwards.rend()));
  _heap->Reserve(_edge[0].id,
                 (kMaxRecords - std::min(kMaxRecords, _edge[0].records.size())) * kRecordSize);
  return {};
}

Result<std::vector<RowIndexEditor::Record>> RowIndexEditor::Read(HeapId id) {
  auto item = _heap->Item(id);
  if (!item.ok()) return item.status();
  std::vector<Record> records(item->size() / kRecordSize);
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[i] = {LoadU32(*item, i * kRecordSize), LoadU32(*item, i * kRecordSize + 4)};
    if (i > 0 && records[i].key <= records[i - 1].key) {
      return Status(StatusCode::kCorrupt, "row index: keys do not ascend");
    }
  }
  return records;
}

Result<HeapId> RowIndexEditor::Store(HeapId id, const std::vector<Record>& records) {
  std::vector<std::byte> bytes(records.size() * kRecordSize);
  for (std::size_t i = 0; i < records.size(); ++i) {
    StoreU32(bytes, i * kRecordSize, records[i].key);
    StoreU32(bytes, i * kRecordSize + 4, records[i].value);
  }
  return _heap->Replace(id, bytes);
}

// Stores the node of one level of the right edge and tells its parent where it now is.
Status RowIndexEditor::StoreEdge(std::size_t level) {
  Node& node = _edge[level];
  if (node.dirty) {
    auto id = Store(node.id, node.records);
    if (!id.ok()) return id.status();
    node.dirty = false;
    if (*id != node.id) {
      node.id = *id;
      if (level + 1 < _edge.size()) {
        _edge[level + 1].records.back().value = id->value;
        _edge[level + 1].dirty = true;
      } else {
        _header.root = *id;
        _headerDirty = true;
      }
    }
  }
  return {};
}

Status RowIndexEditor::Flush() {
  for (std::size_t level = 0; level < _edge.size(); ++level) {
    if (Status status = StoreEdge(level); !status.ok()) return status;
    if (level == 0) {
      _heap->Reserve(_edge[0].id,
                     (kMaxRecords - std::min(kMaxRecords, _edge[0].records.size())) * kRecordSize);
    }
  }
  if (!_headerDirty) return {};
  std::array<std::byte, kBthHeaderSize> bytes{};
  _header.Encode(bytes);
  auto id = _heap->Replace(_headerId, bytes, true);
  if (!id.ok()) return id.status();
  _headerDirty = false;
  return {};
}

bool RowIndexEditor::InRightLeaf(std::uint32_t key) const {
  return !_edge.empty() && key >= _edge[0].records.front().key;
}

Result<std::optional<std::uint32_t>> RowIndexEditor::Find(std::uint32_t rowId) {
  const std::optional<std::uint32_t> none;
  if (_edge.empty()) return none;
  const auto in = [&](const std::vector<Record>& records) -> std::optional<std::uint32_t> {
    const auto found = LowerBound(records, rowId);
    if (found == records.end() || found->key != rowId) return std::nullopt;
    return found->value;
  };
  if (InRightLeaf(rowId) || _edge.size() == 1) return in(_edge[0].records);
  // Nodes off the right edge are in the heap as they are.
  std::size_t level = _edge.size() - 1;
  const std::vector<Record>* records = &_edge[level].records;
  std::vector<Record> read;
  bool onEdge = true;
  for (; level > 0; --level) {
    const std::size_t child = ChildFor(*records, rowId);
    onEdge = onEdge && child + 1 == records->size();
    if (onEdge) {
      records = &_edge[level - 1].records;
      continue;
    }
    auto below = Read(HeapId((*records)[child].value));
    if (!below.ok()) return below.status();
    read = std::move(*below);
    if (read.empty()) return none;
    records = &read;
  }
  return in(*records);
}

Status RowIndexEditor::Append(Record record) {
  if (_edge.empty()) {
    _edge.push_back({HeapId(), true, {record}});
    _header.levels = 0;
    _headerDirty = true;
    return {};
  }
  if (_edge[0].records.size() < kMaxRecords) {
    _edge[0].records.push_back(record);
    _edge[0].dirty = true;
    return {};
  }
  if (Status status = StoreEdge(0); !status.ok()) return status;
  _heap->Reserve(HeapId(), 0);
  _edge[0] = {HeapId(), true, {record}};
  // Its id is not known before it is stored: StoreEdge fills in the 0.
  return PushUp(1, {record.key, 0});
}

// The edge below `level` starts a new node; its record goes into `level`.
Status RowIndexEditor::PushUp(std::size_t level, Record record) {
  if (level == _edge.size()) {
    if (level > kBthMaxLevels) return {StatusCode::kTooBig, "row index: too many levels"};
    // The old root's record: its first key is that of the leftmost leaf. The header still names
    // the old root, which was stored just before.
    auto old = Read(_header.root);
    if (!old.ok()) return old.status();
    const Record left{old->front().key, _header.root.value};
    _edge.push_back({HeapId(), true, {left, record}});
    _header.levels = static_cast<std::uint8_t>(level);
    _headerDirty = true;
    return {};
  }
  Node& node = _edge[level];
  node.dirty = true;
  if (node.records.size() < kMaxRecords) {
    node.records.push_back(record);
    return {};
  }
  if (Status status = StoreEdge(level); !status.ok()) return status;
  _edge[level] = {HeapId(), true, {record}};
  return PushUp(level + 1, {record.key, 0});
}

// Ids mostly ascend, and go to the right edge, which is kept decoded. For any other the edge goes
// to the heap first, so that the tree is in one place while it is changed from the root down.
Status RowIndexEditor::Insert(std::uint32_t rowId, std::uint32_t row) {
  if (_edge.empty() || rowId > _edge[0].records.back().key) return Append({rowId, row});
  auto existing = Find(rowId);
  if (!existing.ok()) return existing.status();
  if (existing->has_value()) return {StatusCode::kExists, "row " + ToHex(rowId) + " exists"};
  if (Status status = Flush(); !status.ok()) return status;
  auto split = InsertBelow(_header.root, _header.levels, {rowId, row});
  if (!split.ok()) return split.status();
  _headerDirty = true;
  if (split->right) {
    auto root = Store(HeapId(), {split->left, *split->right});
    if (!root.ok()) return root.status();
    _header.root = *root;
    ++_header.levels;
  } else {
    _header.root = HeapId(split->left.value);
  }
  return LoadRightEdge();
}

Result<RowIndexEditor::Split> RowIndexEditor::InsertBelow(HeapId id, std::size_t level,
                                                          Record record) {
  auto records = Read(id);
  if (!records.ok()) return records.status();
  if (level == 0) {
    records->insert(LowerBound(*records, record.key), record);
  } else {
    if (records->empty()) return Status(StatusCode::kCorrupt, "row index: empty item");
    const std::size_t child = ChildFor(*records, record.key);
    auto below = InsertBelow(HeapId((*records)[child].value), level - 1, record);
    if (!below.ok()) return below.status();
    (*records)[child] = below->left;
    if (below->right) {
      records->insert(records->begin() + static_cast<std::ptrdiff_t>(child) + 1, *below->right);
    }
  }
  Split split;
  if (records->size() > kMaxRecords) {
    const auto middle = records->begin() + static_cast<std::ptrdiff_t>(records->size() / 2);
    const std::vector<Record> right(middle, records->end());
    records->erase(middle, records->end());
    auto stored = Store(HeapId(), right);
    if (!stored.ok()) return stored.status();
    split.right = Record{right.front().key, stored->value};
  }
  auto stored = Store(id, *records);
  if (!stored.ok()) return stored.status();
  split.left = {records->front().key, stored->value};
  return split;
}

Status RowIndexEditor::Move(std::uint32_t rowId, std::uint32_t row) {
  if (_edge.empty()) return Missing(rowId);
  if (!InRightLeaf(rowId)) {
    if (Status status = Flush(); !status.ok()) return status;
    HeapId id = _header.root;
    for (std::size_t level = _header.levels;; --level) {
      auto records = Read(id);
      if (!records.ok()) return records.status();
      if (level > 0) {
        if (records->empty()) return {StatusCode::kCorrupt, "row index: empty item"};
        id = HeapId((*records)[ChildFor(*records, rowId)].value);
        continue;
      }
      const auto found = LowerBound(*records, rowId);
      if (found == records->end() || found->key != rowId) return Missing(rowId);
      found->value = row;
      return Store(id, *records).status();
    }
  }
  const auto found = LowerBound(_edge[0].records, rowId);
  if (found == _edge[0].records.end() || found->key != rowId) return Missing(rowId);
  found->value = row;
  _edge[0].dirty = true;
  return {};
}

Status RowIndexEditor::Remove(std::uint32_t rowId) {
  if (_edge.empty()) return Missing(rowId);
  if (InRightLeaf(rowId) && _edge[0].records.front().key != rowId) {
    const auto found = LowerBound(_edge[0].records, rowId);
    if (found == _edge[0].records.end() || found->key != rowId) return Missing(rowId);
    _edge[0].records.erase(found);
    _edge[0].dirty = true;
    return {};
  }
  if (Status status = Flush(); !status.ok()) return status;
  auto left = RemoveBelow(_header.root, _header.levels, rowId);
  if (!left.ok()) return left.status();
  _header.root = HeapId(left->value);
  if (_header.root.IsNull()) _header.levels = 0;
  _headerDirty = true;
  return LoadRightEdge();
}

// Items that run low are not joined: rows are seldom removed, and the format asks for no minimum.
// What is left of the item: its first key and id, a null id when it became empty and is gone.
Result<RowIndexEditor::Record> RowIndexEditor::RemoveBelow(HeapId id, std::size_t level,
                                                           std::uint32_t key) {
  auto records = Read(id);
  if (!records.ok()) return records.status();
  if (level == 0) {
    const auto found = LowerBound(*records, key);
    if (found == records->end() || found->key != key) return Missing(key);
    records->erase(found);
  } else {
    if (records->empty()) return Status(StatusCode::kCorrupt, "row index: empty item");
    const std::size_t child = ChildFor(*records, key);
    auto below = RemoveBelow(HeapId((*records)[child].value), level - 1, key);
    if (!below.ok()) return below.status();
    if (below->value == 0) {
      records->erase(records->begin() + static_cast<std::ptrdiff_t>(child));
    } else {
      (*records)[child] = *below;
    }
  }
  auto stored = Store(id, *records);
  if (!stored.ok()) return stored.status();
  if (records->empty()) return Record{};
  return Record{records->front().key, stored->value};
}

}  // namespace parvane::pstfile
