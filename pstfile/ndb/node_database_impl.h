// What is behind NodeDatabase; for the .cpp files of this folder only.
//
//   open.cpp           header found, checked, recovered; first modification; creation
//   examine.cpp        what must be known of a file before it is added to
//   node_database.cpp  nodes and blocks
//   references.cpp     who refers to which block
//   commit.cpp         growth, commit, close
//   maps.cpp           walks over everything in use; allocation maps
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ndb/block_cache.h"
#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/btree.h"
#include "pstfile/ndb/header.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/space.h"
#include "pstfile/ndb/tree_entries.h"
#include "pstfile/ndb/tree_page.h"
#include "pstfile/ndb/write_buffer.h"

namespace parvane::pstfile {

class NodeDatabase::Impl : private PageSink {
 public:
  Impl(platform::FileSystem& fileSystem, std::u16string_view filePath, const OpenOptions& options);
  ~Impl() override;

  // ---- open.cpp ----
  platform::Status OpenFile(OpenMode mode);
  platform::Status CreateFile(const CreateOptions& options);
  platform::Status PrepareToModify();
  // Closes the finished temporary file and gives it its name.
  platform::Status PublishFile();

  // ---- node_database.cpp ----
  platform::Result<BlockId> WriteBlock(std::span<const std::byte> bytes, bool internal);
  platform::Result<BlockSlice> ReadBlock(BlockId bid);
  platform::Result<BlockPlace> FindBlock(BlockId bid);
  platform::Status PutNode(const NodeRecord& record);
  platform::Status DeleteNode(NodeId nid);
  platform::Result<NodeId> AllocateNodeId(NodeKind kind);
  platform::Status ReserveNodeId(NodeId nid);

  // ---- references.cpp ----
  platform::Status AddReference(BlockId bid);
  platform::Status DropReference(BlockId bid);
  void Abandon(BlockId bid, bool below);
  void AbandonAllLoose();
  bool IsLoose(BlockId bid) {
    return LooseOrNew(bid) != nullptr && LooseOrNew(bid)->references == 1;
  }
  platform::Result<bool> CanShare(BlockId bid);

  // ---- commit.cpp ----
  platform::Status Commit();
  platform::Status Close();
  void GiveUp(const platform::Status& why);
  std::uint64_t RoomLeft() const;

  // State, in the open for the methods of NodeDatabase.
  platform::FileSystem& files;
  std::u16string path;
  OpenOptions options;
  platform::Status status;  // why nothing may be modified any more
  FileHeader committed;     // as last written
  FileHeader current;       // counters as they are now
  BTree nodes;
  BTree blocks;
  bool changed = false;  // something to commit
  bool mapsRebuilt = false;
  std::uint64_t transactionBytes = 0;
  std::uint64_t keepForCommit = 0;
  std::uint64_t usuallyKept =
      0;  // as much as at a transaction's start: it will be again after the next
  bool sizeLimitReached = false;

  platform::Status ReadExactly(std::uint64_t offset, std::span<std::byte> bytes);
  platform::Status WithPath(const platform::Status& s) const;

 private:
  // A block written since the last commit, or loose since an earlier one. References 0: gone.
  struct NewBlock {
    BlockId bid;
    BlockPlace place;
    std::uint16_t references = 0;
  };
  // A change of a committed block's references.
  struct ReferenceChange {
    std::uint16_t before = 0;
    std::int32_t delta = 0;
  };

  // ---- open.cpp ----
  platform::Status ReadHeader();
  platform::Status ChooseHeader(std::span<const std::byte, kHeaderSize> bytes);
  platform::Status CompletePartialHeader();
  platform::Result<CryptMethod> GuessCrypt();
  void StartFromHeader();
  platform::Status OpenNewFile(const CreateOptions& options);
  platform::Status MarkAsChanging();

  // ---- examine.cpp ----
  using UsedSpace = std::function<platform::Status(std::uint64_t offset, std::uint64_t size)>;
  // Calls `used` for every page and block of the committed state; stops at the first damage, which
  // it returns.
  platform::Status WalkUsed(const UsedSpace& used);
  // Before the first modification: refuses what cannot be added to, finds free space and ids.
  platform::Status Examine();
  platform::Status CheckNothingBeyond(std::uint64_t size);
  // Free space below the end of the file, when finding it is cheap.
  platform::Status FindFreeSpace();
  platform::Status RaiseIds();
  platform::Status RaiseNodeCounters();
  platform::Status DropOldPageMap();

  // ---- references.cpp ----
  NewBlock* LooseOrNew(BlockId bid);
  platform::Result<BlockRecord> CommittedBlock(BlockId bid);
  platform::Result<ReferenceChange*> ChangeOf(BlockId bid);
  platform::Status AppendReferencesOf(BlockId bid, std::vector<BlockId>& to);
  void FreeNew(BlockId bid, NewBlock& block);
  platform::Status ApplyReferences();

  // ---- commit.cpp ----
  platform::Result<FileOffset> NewBlockPlace(std::uint64_t size);
  std::uint64_t CommitBound() const;
  // Sees to it that `bytes` more and everything a commit needs fit the file.
  platform::Status EnsureRoom(std::uint64_t bytes);
  platform::Status Grow(std::uint64_t needed);
  platform::Status ExtendFile(std::uint64_t leastEnd, std::uint64_t wantedEnd);
  platform::Status WriteEmptyMaps(std::uint64_t from, std::uint64_t to);
  // The map pages of an interval, all FF; `all`: its AMap too.
  platform::Status WriteFixedPages(std::uint64_t interval, bool all);
  platform::Status WriteHeader(FileHeader& header);
  platform::Status FlushFile();
  platform::Status CommitChanges(bool reserve);
  void FinishCommit();
  platform::Status Finish();
  platform::Status Latch(platform::Status s);
  platform::Result<PageRef> NewPage() override;
  platform::Status WritePage(PageRef place, const PageBytes& bytes) override;

  // ---- maps.cpp ----
  struct MapTotals {
    std::uint64_t end = 0;   // of the file, cut to what is used
    std::uint64_t free = 0;  // bytes
  };
  platform::Result<MapTotals> WriteMaps();
  platform::Status RebuildOldMaps(std::uint64_t& freeBytes);
  platform::Status CorrectOldMaps(std::uint64_t& freeBytes);
  std::uint64_t ClearFreeBits(std::uint64_t interval, PageBytes& map) const;
  platform::Status ReadMap(std::uint64_t interval, PageBytes& map);
  platform::Status WriteMap(std::uint64_t interval, PageBytes& map);

  std::unique_ptr<platform::RandomAccessFile> _file;
  std::u16string _actualPath;  // the temporary name while creating
  OpenMode _mode = OpenMode::kRead;
  bool _creating = false;
  bool _replace = false;
  bool _inPlace = false;
  bool _modifying = false;  // locked and marked as being changed
  bool _closed = false;
  bool _locked = false;
  std::array<std::byte, kHeaderSize> _headerAsRead{};
  bool _headerIsPartial = false;  // only its first part was whole, and no copy is
  std::uint8_t _mapStateAtOpen = kMapsInvalid;
  // Of the space from here on this session knows all; the maps before it are only corrected.
  std::uint64_t _knownFrom = 0;
  // No node has an id above its kind's counter, whatever the header said.
  bool _countersProven = false;
  platform::Status _growthFailure;  // the file cannot grow: one more commit, then nothing
  bool _fullLatch = false;          // that commit is done; Close still works
  bool _publishing = false;

  TreePageCache _pages;
  BlockCache _blockCache;
  SpaceManager _space;
  WriteBuffer _buffer;
  std::vector<std::byte> _scratch;

  std::uint64_t _newBase = 0;            // number (bid >> 2) of _new[0]
  std::vector<NewBlock> _new;            // by number: ids are handed out without gaps
  std::size_t _newCount = 0;             // of them not gone
  std::map<BlockId, NewBlock> _carried;  // loose since before the last commit
  std::unordered_map<BlockId, ReferenceChange> _changes;
  std::vector<BlockId> _referring;  // AddReference's work, kept for its memory
};

}  // namespace parvane::pstfile
