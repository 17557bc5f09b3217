#include "pstfile/ndb/node_database.h"

#include <algorithm>
#include <utility>

#include "platform/path.h"
#include "platform/stage_times.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

// ---- Blocks -------------------------------------------------------------------------------------

Result<BlockId> NodeDatabase::Impl::WriteBlock(std::span<const std::byte> bytes, bool internal) {
  if (bytes.empty() || bytes.size() > kMaximumBlockData) {
    return Status(StatusCode::kInvalidArgument,
                  "a block of " + std::to_string(bytes.size()) + " bytes");
  }
  if (Status s = PrepareToModify(); !s.ok()) return s;
  const std::uint64_t size = BlockSizeOnDisk(bytes.size());
  auto offset = NewBlockPlace(size);
  if (!offset.ok()) return offset.status();
  auto block = _buffer.Reserve(*_file, offset->value, size);
  if (!block.ok()) return Latch(block.status());
  const BlockId bid(current.nextBlockId | (internal ? 2U : 0U));
  current.nextBlockId += 4;
  {
    const platform::StageMark mark(platform::Stage::kEncode, size);
    BuildBlock(bytes, bid, *offset, committed.crypt, *block);
  }
  _new.push_back({bid, {*offset, static_cast<std::uint16_t>(bytes.size())}, 1});
  ++_newCount;
  transactionBytes += size;
  return bid;
}

Result<BlockPlace> NodeDatabase::Impl::FindBlock(BlockId bid) {
  if (const NewBlock* block = LooseOrNew(bid)) return block->place;
  auto record = CommittedBlock(bid);
  if (!record.ok()) return record.status();
  return record->place;
}

Result<BlockSlice> NodeDatabase::Impl::ReadBlock(BlockId bid) {
  if (auto cached = _blockCache.Find(bid)) return std::move(*cached);
  auto place = FindBlock(bid);
  if (!place.ok()) return place.status();
  const BlockPlace at = *place;
  const std::size_t size = BlockSizeOnDisk(at.dataSize);
  std::span<const std::byte> stored;
  if (auto buffered = _buffer.Find(at.offset.value, size)) {
    stored = *buffered;
  } else {
    _scratch.resize(kMaximumBlockSize);
    const auto buffer = std::span<std::byte>(_scratch).first(size);
    if (Status s = ReadExactly(at.offset.value, buffer); !s.ok()) {
      return s.WithContext("block " + ToString(bid));
    }
    if (Status s = CheckBlock(buffer, bid, at); !s.ok()) return s;
    stored = buffer;
  }
  auto bytes = std::make_shared_for_overwrite<std::byte[]>(at.dataSize);
  const std::span<std::byte> data(bytes.get(), at.dataSize);
  DecodeTo(bid.IsInternal() ? CryptMethod::kNone : committed.crypt, CyclicKey(bid.value),
           stored.first(at.dataSize), data);
  BlockSlice slice(std::move(bytes), data);
  _blockCache.Put(bid, slice);
  return slice;
}

Status NodeDatabase::Impl::ReadExactly(std::uint64_t offset, std::span<std::byte> bytes) {
  if (_file == nullptr) return {StatusCode::kClosed, "the file is closed"};
  auto got = _file->ReadAt(offset, bytes);
  if (!got.ok()) return got.status();
  if (*got != bytes.size()) {
    return {StatusCode::kCorrupt, "the file ends within the " + std::to_string(bytes.size()) +
                                      " bytes at " + ToHex(offset)};
  }
  return {};
}

// ---- Nodes --------------------------------------------------------------------------------------

Status NodeDatabase::Impl::PutNode(const NodeRecord& record) {
  if (!record.nid) return {StatusCode::kInvalidArgument, "node 0"};
  if (Status s = PrepareToModify(); !s.ok()) return s;
  if (Status s = EnsureRoom(0); !s.ok()) return s;
  std::array<std::byte, kNodeEntrySize> entry;
  auto exists = nodes.Find(record.nid.value, entry);
  if (!exists.ok()) return exists.status();
  const NodeRecord old = *exists ? DecodeNode(entry) : NodeRecord{};
  const bool newData = record.data && record.data != old.data;
  const bool newSub = record.sub && record.sub != old.sub;
  for (const BlockId bid : {newData ? record.data : BlockId(), newSub ? record.sub : BlockId()}) {
    if (!bid) continue;
    auto room = CanShare(bid);
    if (!room.ok()) return room.status();
    if (!*room) {
      return {StatusCode::kTooBig, "block " + ToString(bid) + " has too many references"};
    }
  }
  EncodeNode(record, entry);
  // Nothing below can fail without leaving the counts in disorder.
  changed = true;
  if (newData) {
    if (Status s = AddReference(record.data); !s.ok()) return Latch(s);
  }
  if (newSub) {
    if (Status s = AddReference(record.sub); !s.ok()) return Latch(s);
  }
  if (Status s = nodes.Put(entry); !s.ok()) return Latch(s);
  if (old.data && old.data != record.data) {
    if (Status s = DropReference(old.data); !s.ok()) return Latch(s);
  }
  if (old.sub && old.sub != record.sub) {
    if (Status s = DropReference(old.sub); !s.ok()) return Latch(s);
  }
  return {};
}

Status NodeDatabase::Impl::DeleteNode(NodeId nid) {
  if (Status s = PrepareToModify(); !s.ok()) return s;
  if (Status s = EnsureRoom(0); !s.ok()) return s;
  std::array<std::byte, kNodeEntrySize> entry;
  auto exists = nodes.Find(nid.value, entry);
  if (!exists.ok()) return exists.status();
  if (!*exists) return {StatusCode::kNotFound, "node " + ToString(nid)};
  const NodeRecord old = DecodeNode(entry);
  changed = true;
  auto erased = nodes.Erase(nid.value);
  if (!erased.ok()) return Latch(erased.status());
  for (const BlockId bid : {old.data, old.sub}) {
    if (!bid) continue;
    if (Status s = DropReference(bid); !s.ok()) return Latch(s);
  }
  return {};
}

namespace {

// The kinds whose numbers move together: a folder's tables have its index.
std::span<const NodeKind> CounterGroup(const NodeKind& kind) {
  static constexpr NodeKind kFolder[] = {NodeKind::kFolder, NodeKind::kHierarchyTable,
                                         NodeKind::kContentsTable,
                                         NodeKind::kAssociatedContentsTable};
  static constexpr NodeKind kSearchFolder[] = {
      NodeKind::kSearchFolder, NodeKind::kSearchUpdateQueue, NodeKind::kSearchCriteria,
      NodeKind::kSearchContentsTable};
  for (const std::span<const NodeKind> group :
       {std::span<const NodeKind>(kFolder), std::span<const NodeKind>(kSearchFolder)}) {
    if (group.front() == kind) return group;
  }
  return {&kind, 1};
}

}  // namespace

Result<NodeId> NodeDatabase::Impl::AllocateNodeId(NodeKind kind) {
  if (Status s = PrepareToModify(); !s.ok()) return s;
  const auto group = CounterGroup(kind);
  std::uint32_t index = 0;
  for (const NodeKind k : group) {
    index = std::max(index, current.counters[static_cast<std::size_t>(k)]);
  }
  if (index >= NodeId::kMaximumIndex) {
    return Status(StatusCode::kTooBig,
                  "no node id of kind " + ToHex(static_cast<std::uint64_t>(kind)) + " is left");
  }
  ++index;
  for (const NodeKind k : group) {
    if (_countersProven) break;
    std::array<std::byte, kNodeEntrySize> entry;
    auto taken = nodes.Find(NodeId(k, index).value, entry);
    if (!taken.ok()) return taken.status();
    if (!*taken) continue;
    // A counter that lies: now the whole tree has to tell.
    if (Status s = RaiseNodeCounters(); !s.ok()) return s;
    return AllocateNodeId(kind);
  }
  for (const NodeKind k : group) current.counters[static_cast<std::size_t>(k)] = index;
  return NodeId(kind, index);
}

Status NodeDatabase::Impl::ReserveNodeId(NodeId nid) {
  if (Status s = PrepareToModify(); !s.ok()) return s;
  const NodeKind kind = nid.Kind();
  for (const NodeKind k : CounterGroup(kind)) {
    std::uint32_t& counter = current.counters[static_cast<std::size_t>(k)];
    counter = std::max(counter, nid.Index());
  }
  return {};
}

Status NodeDatabase::Impl::WithPath(const Status& s) const {
  if (s.ok()) return s;
  const std::string shown = platform::PathForDisplay(path);
  // A call of the system that failed names the file by itself.
  return s.message().find(shown) == std::string::npos ? s.WithContext(shown) : s;
}

// ---- The public class ---------------------------------------------------------------------------

NodeDatabase::NodeDatabase(std::unique_ptr<Impl> impl) : _impl(std::move(impl)) {}
NodeDatabase::~NodeDatabase() = default;

Result<std::unique_ptr<NodeDatabase>> NodeDatabase::Open(platform::FileSystem& files,
                                                         std::u16string_view path, OpenMode mode,
                                                         const OpenOptions& options) {
  auto impl = std::make_unique<Impl>(files, std::u16string(path), options);
  if (Status s = impl->OpenFile(mode); !s.ok()) return impl->WithPath(s);
  return std::unique_ptr<NodeDatabase>(new NodeDatabase(std::move(impl)));
}

Result<std::unique_ptr<NodeDatabase>> NodeDatabase::Create(platform::FileSystem& files,
                                                           std::u16string_view path,
                                                           const CreateOptions& options) {
  auto impl = std::make_unique<Impl>(files, std::u16string(path), options.open);
  if (Status s = impl->CreateFile(options); !s.ok()) return impl->WithPath(s);
  return std::unique_ptr<NodeDatabase>(new NodeDatabase(std::move(impl)));
}

Status NodeDatabase::Publish() {
  if (Status s = _impl->PublishFile(); !s.ok()) return _impl->WithPath(s);
  auto opened = std::make_unique<Impl>(_impl->files, _impl->path, _impl->options);
  if (Status s = opened->OpenFile(OpenMode::kReadWrite); !s.ok()) return _impl->WithPath(s);
  _impl = std::move(opened);
  return {};
}

Status NodeDatabase::Commit() { return _impl->WithPath(_impl->Commit()); }
Status NodeDatabase::Close() { return _impl->WithPath(_impl->Close()); }
const Status& NodeDatabase::status() const { return _impl->status; }
void NodeDatabase::GiveUp(const Status& why) { _impl->GiveUp(why); }
Status NodeDatabase::PrepareToModify() { return _impl->WithPath(_impl->PrepareToModify()); }
const std::u16string& NodeDatabase::path() const { return _impl->path; }
CryptMethod NodeDatabase::crypt() const { return _impl->committed.crypt; }
bool NodeDatabase::mapsWereRebuilt() const { return _impl->mapsRebuilt; }
bool NodeDatabase::sizeLimitReached() const { return _impl->sizeLimitReached; }
std::uint64_t NodeDatabase::FileSize() const { return _impl->committed.endOfFile; }
std::uint64_t NodeDatabase::RoomLeft() const { return _impl->RoomLeft(); }
std::uint32_t NodeDatabase::Unique() const { return _impl->committed.unique; }

Result<std::optional<NodeRecord>> NodeDatabase::FindNode(NodeId nid) const {
  std::array<std::byte, kNodeEntrySize> entry;
  auto found = _impl->nodes.Find(nid.value, entry);
  if (!found.ok()) return _impl->WithPath(found.status());
  if (!*found) return std::optional<NodeRecord>();
  return std::optional(DecodeNode(entry));
}

Status NodeDatabase::PutNode(const NodeRecord& record) {
  return _impl->WithPath(_impl->PutNode(record));
}
Status NodeDatabase::DeleteNode(NodeId nid) { return _impl->WithPath(_impl->DeleteNode(nid)); }

Result<NodeId> NodeDatabase::AllocateNodeId(NodeKind kind) {
  auto nid = _impl->AllocateNodeId(kind);
  return nid.ok() ? nid : Result<NodeId>(_impl->WithPath(nid.status()));
}

Status NodeDatabase::ReserveNodeId(NodeId nid) {
  return _impl->WithPath(_impl->ReserveNodeId(nid));
}

Result<BlockId> NodeDatabase::WriteBlock(std::span<const std::byte> bytes) {
  auto bid = _impl->WriteBlock(bytes, false);
  return bid.ok() ? bid : Result<BlockId>(_impl->WithPath(bid.status()));
}

Result<BlockId> NodeDatabase::WriteInternalBlock(std::span<const std::byte> bytes) {
  auto bid = _impl->WriteBlock(bytes, true);
  return bid.ok() ? bid : Result<BlockId>(_impl->WithPath(bid.status()));
}

Result<BlockSlice> NodeDatabase::ReadBlock(BlockId bid) const {
  auto block = _impl->ReadBlock(bid);
  return block.ok() ? std::move(block) : Result<BlockSlice>(_impl->WithPath(block.status()));
}

Result<std::size_t> NodeDatabase::BlockDataSize(BlockId bid) const {
  auto place = _impl->FindBlock(bid);
  if (!place.ok()) return _impl->WithPath(place.status());
  return static_cast<std::size_t>(place->dataSize);
}

// Without a result: a loose block is in no committed tree, so its space is free at the next opening
// whatever happens here.
void NodeDatabase::AbandonBlock(BlockId bid) { _impl->Abandon(bid, true); }
void NodeDatabase::AbandonBlockOnly(BlockId bid) { _impl->Abandon(bid, false); }
bool NodeDatabase::IsLoose(BlockId bid) const { return _impl->IsLoose(bid); }

Result<bool> NodeDatabase::CanShare(BlockId bid) const {
  auto can = _impl->CanShare(bid);
  return can.ok() ? can : Result<bool>(_impl->WithPath(can.status()));
}

std::uint64_t NodeDatabase::TransactionBytes() const { return _impl->transactionBytes; }
void NodeDatabase::KeepForCommit(std::uint64_t bytes) {
  if (_impl->keepForCommit == 0 && bytes > 0) _impl->usuallyKept = bytes;
  _impl->keepForCommit = bytes;
}
}  // namespace parvane::pstfile
