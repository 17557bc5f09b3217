// Reference counts. On disk a block's cRef is 1 + the references to it.
//
// Blocks written since the last commit, and loose ones, live in memory with their counts; the block
// B-tree gets them at commit, in ascending order. Changes to the counts of committed blocks are
// collected and most of them cancel out: a rewritten XBLOCK refers to the same thousand blocks as
// the one it replaces.
//
// A block without references does not count the references it makes itself. They are added when it
// gets its first one, and taken back when it loses its last: so loose trees cost nothing until they
// are put, and a block can be put elsewhere after its last reference was dropped, up to the commit.
#include <algorithm>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

NodeDatabase::Impl::NewBlock* NodeDatabase::Impl::LooseOrNew(BlockId bid) {
  const std::uint64_t number = bid.value >> 2;
  if (number >= _newBase && number - _newBase < _new.size()) {
    NewBlock& block = _new[number - _newBase];
    return block.references == 0 ? nullptr : &block;
  }
  const auto found = _carried.find(bid);
  return found == _carried.end() ? nullptr : &found->second;
}

Result<BlockRecord> NodeDatabase::Impl::CommittedBlock(BlockId bid) {
  std::array<std::byte, kBlockEntrySize> entry;
  auto found = blocks.Find(bid.value, entry);
  if (!found.ok()) return found.status();
  if (!*found) {
    return Status(StatusCode::kCorrupt, "block " + ToString(bid) + " is not in the block B-tree");
  }
  const BlockRecord record = BlockRecord::Decode(entry);
  const std::uint64_t offset = record.place.offset.value;
  const std::uint64_t size = BlockSizeOnDisk(record.place.dataSize);
  if (record.place.dataSize == 0 || record.place.dataSize > kMaximumBlockData ||
      offset < kFirstAMapOffset || offset % kBlockAlignment != 0 || offset > committed.endOfFile ||
      size > committed.endOfFile - offset) {
    return Status(StatusCode::kCorrupt,
                  "block " + ToString(bid) + ": " + std::to_string(record.place.dataSize) +
                      " bytes at " + ToString(record.place.offset) + " lie outside the file");
  }
  return record;
}

Result<NodeDatabase::Impl::ReferenceChange*> NodeDatabase::Impl::ChangeOf(BlockId bid) {
  const auto [change, added] = _changes.try_emplace(bid);
  if (added) {
    auto record = CommittedBlock(bid);
    if (!record.ok()) {
      _changes.erase(change);
      return record.status();
    }
    change->second.before = record->references;
  }
  return &change->second;
}

Status NodeDatabase::Impl::AppendReferencesOf(BlockId bid, std::vector<BlockId>& to) {
  if (!bid.IsInternal()) return {};
  if (const NewBlock* own = LooseOrNew(bid)) {
    // Mostly not written out yet, and never encoded.
    const std::size_t size = own->place.dataSize;
    if (const auto buffered = _buffer.Find(own->place.offset.value, size)) {
      auto block = InternalBlock::Parse(*buffered, bid);
      if (!block.ok()) return block.status();
      block->AppendReferences(to);
      return {};
    }
  }
  auto bytes = ReadBlock(bid);
  if (!bytes.ok()) return bytes.status();
  auto block = InternalBlock::Parse(bytes->bytes(), bid);
  if (!block.ok()) return block.status();
  block->AppendReferences(to);
  return {};
}

Status NodeDatabase::Impl::AddReference(BlockId root) {
  std::vector<BlockId>& todo = _referring;
  todo.assign(1, root);
  while (!todo.empty()) {
    const BlockId bid = todo.back();
    todo.pop_back();
    const auto full = [bid] {
      return Status(StatusCode::kTooBig, "block " + ToString(bid) + " has too many references");
    };
    bool first = false;
    if (NewBlock* block = LooseOrNew(bid)) {
      if (block->references == 0xFFFF) return full();
      first = block->references++ == 1;
    } else {
      auto change = ChangeOf(bid);
      if (!change.ok()) return change.status();
      const std::int64_t references = (*change)->before + std::int64_t{(*change)->delta};
      if (references >= 0xFFFF) return full();
      first = references <= 1 && (*change)->delta < 0;
      if (++(*change)->delta == 0) _changes.erase(bid);
    }
    if (first) {
      if (Status s = AppendReferencesOf(bid, todo); !s.ok()) return s;
    }
  }
  return {};
}

Status NodeDatabase::Impl::DropReference(BlockId root) {
  std::vector<BlockId> todo{root};
  while (!todo.empty()) {
    const BlockId bid = todo.back();
    todo.pop_back();
    bool last = false;
    NewBlock* block = LooseOrNew(bid);
    if (block != nullptr) {
      if (block->references <= 1) continue;
      last = --block->references == 1;
    } else {
      // A reference to a block that a damaged file does not have ends here.
      auto change = ChangeOf(bid);
      if (change.status().code() == StatusCode::kIoError) return change.status();
      if (!change.ok()) continue;
      last = (*change)->before + --(*change)->delta == 1;
      if ((*change)->delta == 0) _changes.erase(bid);
    }
    if (!last) continue;
    // What a damaged block refers to stays in the file, unused: better than failing for it. One
    // that the disk does not give up now may be whole.
    std::vector<BlockId> below;
    const Status read = AppendReferencesOf(bid, below);
    if (read.code() == StatusCode::kIoError) return read;
    if (read.ok()) todo.insert(todo.end(), below.begin(), below.end());
    if (block != nullptr) FreeNew(bid, *block);
  }
  return {};
}

void NodeDatabase::Impl::FreeNew(BlockId bid, NewBlock& block) {
  _space.Free(block.place.offset.value, BlockSizeOnDisk(block.place.dataSize));
  _blockCache.Forget(bid);
  if ((bid.value >> 2) >= _newBase) {
    block.references = 0;
    --_newCount;
  } else {
    _carried.erase(bid);
  }
}

void NodeDatabase::Impl::Abandon(BlockId root, bool below) {
  std::vector<BlockId> todo{root};
  while (!todo.empty()) {
    const BlockId bid = todo.back();
    todo.pop_back();
    NewBlock* block = LooseOrNew(bid);
    if (block == nullptr || block->references != 1) continue;
    if (below) {
      // Unreadable: its children stay loose, and are abandoned at Close.
      std::vector<BlockId> children;
      if (AppendReferencesOf(bid, children).ok()) {
        todo.insert(todo.end(), children.begin(), children.end());
      }
    }
    FreeNew(bid, *block);
  }
}

void NodeDatabase::Impl::AbandonAllLoose() {
  for (auto at = _carried.begin(); at != _carried.end();) {
    const auto next = std::next(at);
    // Others were put since the last commit, and belong to the file.
    if (at->second.references == 1) FreeNew(at->first, at->second);
    at = next;
  }
  for (std::size_t i = 0; i < _new.size(); ++i) {
    if (_new[i].references == 1) FreeNew(_new[i].bid, _new[i]);
  }
}

Result<bool> NodeDatabase::Impl::CanShare(BlockId bid) {
  // A block counts its references in 16 bits (cRef, [MS-PST] 2.2.2.7.7.3).
  constexpr std::int64_t kLimit = 65000;
  if (const NewBlock* block = LooseOrNew(bid)) return block->references < kLimit;
  const auto change = _changes.find(bid);
  const std::int64_t delta = change == _changes.end() ? 0 : change->second.delta;
  auto record = CommittedBlock(bid);
  if (!record.ok()) return record.status();
  return record->references + delta < kLimit;
}

// Brings the block B-tree up to date: counts first, then the new blocks in ascending order, so that
// its pages fill up.
Status NodeDatabase::Impl::ApplyReferences() {
  std::vector<std::pair<BlockId, ReferenceChange>> changes(_changes.begin(), _changes.end());
  std::ranges::sort(changes, {}, &std::pair<BlockId, ReferenceChange>::first);
  for (const auto& [bid, change] : changes) {
    auto record = CommittedBlock(bid);
    if (!record.ok()) return record.status();
    const std::int64_t references = change.before + std::int64_t{change.delta};
    if (references <= 1) {
      auto erased = blocks.Erase(bid.value);
      if (!erased.ok()) return erased.status();
      _space.FreeAfterCommit(record->place.offset.value, BlockSizeOnDisk(record->place.dataSize));
      _blockCache.Forget(bid);
      continue;
    }
    record->references = static_cast<std::uint16_t>(references);
    std::array<std::byte, kBlockEntrySize> entry;
    record->Encode(entry);
    if (Status s = blocks.Put(entry); !s.ok()) return s;
  }
  const auto add = [&](const NewBlock& block) {
    std::array<std::byte, kBlockEntrySize> entry;
    BlockRecord{block.bid, block.place, block.references}.Encode(entry);
    return blocks.Put(entry);
  };
  for (const auto& [bid, block] : _carried) {
    if (block.references < 2) continue;
    if (Status s = add(block); !s.ok()) return s;
  }
  for (const NewBlock& block : _new) {
    if (block.references < 2) continue;
    if (Status s = add(block); !s.ok()) return s;
  }
  return {};
}

}  // namespace parvane::pstfile
