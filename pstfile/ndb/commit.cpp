// Commit protocol.
//
//   first modification  header copy, flush, header saying "maps invalid", flush
//   commit   1  blocks, pages, the file extended for what comes next
//            2  a copy of the coming header at 0x2000
//            3  flush
//            4  the header
//            5  flush; only now the space of what was replaced is free
//   growth   2 to 5 with the old roots, when a transaction does not fit
//   close    commit; true maps, DList; 2 to 5 with "maps valid"; copy zeroed, file cut
//
// Until step 4 has reached the disk the old header stands, and nothing it leads to has been
// touched. If step 4 is torn, the copy is whole.
#include <algorithm>

#include "platform/stage_times.h"
#include "pstfile/ndb/node_database_impl.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::uint64_t kLeastGrowth = std::uint64_t{4} << 20;
constexpr std::uint64_t kMostReserve = std::uint64_t{40} << 20;
// What surely fits a new interval besides map pages and block ends; see SpaceManager::TailRoom.
constexpr std::uint64_t kRoomLost = kMaximumBlockSize + 2048;
constexpr std::uint64_t kRoomPerInterval = kAMapInterval - kRoomLost;

constexpr std::uint64_t IntervalsFor(std::uint64_t room) {
  return (room + kRoomPerInterval - 1) / kRoomPerInterval;
}

}  // namespace

Status NodeDatabase::Impl::Latch(Status s) {
  if (status.ok()) status = s;
  return s;
}

void NodeDatabase::Impl::GiveUp(const Status& why) {
  (void)Latch(why);
  _fullLatch = false;
}

Status NodeDatabase::Impl::FlushFile() {
  // A file without its name is nobody's until it is published.
  if (_creating && !_publishing) return {};
  const platform::StageMark mark(platform::Stage::kFlush);
  return _file->Flush();
}

// ---- Room ---------------------------------------------------------------------------------------

// At most what the pages of a commit take: those changed already, new entries of the block B-tree
// (twenty a page, and the pages above), pages for changed counts.
std::uint64_t NodeDatabase::Impl::CommitBound() const {
  const std::uint64_t pages = nodes.dirtyPages() + blocks.dirtyPages() + _newCount / 18 +
                              _carried.size() + 2 * _changes.size() +
                              3 * (nodes.height() + blocks.height()) + 8;
  return pages * kPageSize * 17 / 16;
}

Status NodeDatabase::Impl::EnsureRoom(std::uint64_t bytes) {
  const std::uint64_t needed = CommitBound() + bytes;
  return _space.TailRoom() >= needed ? Status() : Grow(needed);
}

std::uint64_t NodeDatabase::Impl::RoomLeft() const {
  // Before the first modification nothing is known of space within the file.
  const std::uint64_t end = _modifying ? _space.end() : committed.endOfFile;
  if (end > options.sizeLimit) return 0;
  const std::uint64_t growth = (options.sizeLimit - end) / kAMapInterval * kRoomPerInterval;
  const std::uint64_t room = growth + (_modifying ? _space.TailRoom() : 0);
  const std::uint64_t kept = std::max(keepForCommit, usuallyKept);
  const std::uint64_t needed = CommitBound() + kept + kept / 8 + kRoomLost;
  return room > needed ? room - needed : 0;
}

Result<FileOffset> NodeDatabase::Impl::NewBlockPlace(std::uint64_t size) {
  if (Status s = EnsureRoom(size + keepForCommit + keepForCommit / 8); !s.ok()) return s;
  const auto at = _space.Allocate(size, kBlockAlignment);
  // TailRoom is a lower bound, so this cannot happen.
  if (!at) return Latch({StatusCode::kIoError, "space accounting failed"});
  return FileOffset(*at);
}

// Makes the file longer in the middle of a transaction.
Status NodeDatabase::Impl::Grow(std::uint64_t needed) {
  if (!_growthFailure.ok()) return _growthFailure;
  const std::uint64_t end = _space.end();
  // What the rest of the last interval holds may be less than nothing, by what an end loses.
  const std::uint64_t missing = needed - std::min(needed, _space.TailRoom()) + kRoomLost;
  const std::uint64_t least = end + IntervalsFor(missing) * kAMapInterval;
  if (least > options.sizeLimit) {
    sizeLimitReached = true;
    return {StatusCode::kDiskFull, "the file has reached its size limit of " +
                                       std::to_string(options.sizeLimit) + " bytes"};
  }
  const std::uint64_t step = std::clamp(end / 2, kLeastGrowth, kMostReserve);
  std::uint64_t wanted = end + IntervalsFor(std::max(needed, step)) * kAMapInterval;
  while (wanted > options.sizeLimit && wanted > least) wanted -= kAMapInterval;
  if (Status s = ExtendFile(least, wanted); !s.ok()) return s;
  FileHeader header = committed;
  header.endOfFile = _space.end();
  header.lastAMap = header.endOfFile - kAMapInterval;
  if (Status s = WriteHeader(header); !s.ok()) return Latch(s);
  return {};
}

// Between commits the file's size is what the header says; here it runs ahead until the header is
// written, or is taken back when the disk is full.
Status NodeDatabase::Impl::ExtendFile(std::uint64_t leastEnd, std::uint64_t wantedEnd) {
  const std::uint64_t oldEnd = _space.end();
  const platform::StageMark mark(platform::Stage::kWrite);
  std::uint64_t end = wantedEnd;
  Status s = _file->Allocate(end);
  if (s.code() == StatusCode::kDiskFull && leastEnd < wantedEnd) {
    end = leastEnd;
    s = _file->Allocate(end);
  }
  if (!s.ok()) {
    if (s.code() != StatusCode::kDiskFull) return Latch(s);
    _growthFailure = s;
    // What a half-done extension took is better given back; if not, the next writer cuts it off.
    (void)_file->Resize(oldEnd).ok();
    return s;
  }
  if (Status maps = WriteEmptyMaps(oldEnd, end); !maps.ok()) return Latch(maps);
  _space.Extend(end);
  return {};
}

Status NodeDatabase::Impl::WriteEmptyMaps(std::uint64_t from, std::uint64_t to) {
  for (std::uint64_t offset = from; offset < to; offset += kAMapInterval) {
    if (Status s = WriteFixedPages(IntervalOf(offset), true); !s.ok()) return s;
  }
  return {};
}

Status NodeDatabase::Impl::WriteFixedPages(std::uint64_t interval, bool all) {
  std::array<std::byte, 4 * kPageSize> pages;
  std::size_t used = 0;
  std::uint64_t offset = IntervalOffset(interval) + (all ? 0 : kPageSize);
  const auto add = [&](PageType type) {
    FillMapPage(std::span(pages).subspan(used).first<kPageSize>(), type, FileOffset(offset + used));
    used += kPageSize;
  };
  if (all) add(PageType::kAMap);
  if (HasPMap(interval)) add(PageType::kPMap);
  if (HasFMap(interval)) add(PageType::kFMap);
  if (HasFPMap(interval)) add(PageType::kFPMap);
  return used == 0 ? Status() : _file->WriteAt(offset, std::span(pages).first(used));
}

// ---- Commit -------------------------------------------------------------------------------------

Status NodeDatabase::Impl::WriteHeader(FileHeader& header) {
  header.unique = committed.unique + 1;
  const auto& bytes = header.Encode();
  if (Status s = _file->WriteAt(kHeaderCopyOffset, bytes); !s.ok()) return s;
  if (Status s = FlushFile(); !s.ok()) return s;
  if (Status s = _file->WriteAt(0, bytes); !s.ok()) return s;
  if (Status s = FlushFile(); !s.ok()) return s;
  committed = header;
  current.unique = header.unique;
  current.raw = header.raw;
  _pages.SetFile(_file.get(), committed.endOfFile);
  return {};
}

Result<PageRef> NodeDatabase::Impl::NewPage() {
  auto at = _space.Allocate(kPageSize, kPageSize);
  if (!at) {
    // CommitBound makes this rare; growing here is part of the commit that is under way.
    const std::uint64_t end = _space.end() + kAMapInterval;
    if (Status s = ExtendFile(end, end); !s.ok()) return s;
    at = _space.Allocate(kPageSize, kPageSize);
    if (!at) return Status(StatusCode::kIoError, "space accounting failed");
  }
  return PageRef{PageId(current.nextPageId++), FileOffset(*at)};
}

Status NodeDatabase::Impl::WritePage(PageRef place, const PageBytes& bytes) {
  auto buffer = _buffer.Reserve(*_file, place.offset.value, kPageSize);
  if (!buffer.ok()) return buffer.status();
  std::ranges::copy(bytes, buffer->begin());
  return {};
}

Status NodeDatabase::Impl::Commit() {
  if (!changed) return {};
  if (!status.ok()) return status;
  // Created files become durable as a whole, when they get their name.
  return CommitChanges(!_creating);
}

Status NodeDatabase::Impl::CommitChanges(bool reserve) {
  if (Status s = ApplyReferences(); !s.ok()) return Latch(s);
  if (Status s = blocks.WriteChanges(*this); !s.ok()) return Latch(s);
  if (Status s = nodes.WriteChanges(*this); !s.ok()) return Latch(s);
  if (Status s = _buffer.Flush(*_file); !s.ok()) return Latch(s);
  if (reserve && _growthFailure.ok()) {
    // The next transaction will be much like this one.
    const std::uint64_t wanted =
        std::min(transactionBytes + transactionBytes / 4 + keepForCommit, kMostReserve);
    const std::uint64_t room = _space.TailRoom();
    if (room < wanted) {
      const std::uint64_t end = _space.end();
      const std::uint64_t target = end + IntervalsFor(wanted - room) * kAMapInterval;
      if (target <= options.sizeLimit) {
        Status s = ExtendFile(end + kAMapInterval, target);
        if (!s.ok() && s.code() != StatusCode::kDiskFull) return s;
      }
    }
  }
  FileHeader header = committed;
  header.nextPageId = current.nextPageId;
  header.nextBlockId = current.nextBlockId;
  header.counters = current.counters;
  header.nodeRoot = nodes.writtenRoot();
  header.blockRoot = blocks.writtenRoot();
  header.endOfFile = _space.end();
  header.lastAMap = header.endOfFile - kAMapInterval;
  if (Status s = WriteHeader(header); !s.ok()) return Latch(s);
  FinishCommit();
  if (!_growthFailure.ok()) {
    status = _growthFailure;
    _fullLatch = true;
  }
  return {};
}

void NodeDatabase::Impl::FinishCommit() {
  std::vector<FileOffset> replaced;
  nodes.FinishCommit(replaced);
  blocks.FinishCommit(replaced);
  _space.CommitDone();
  for (const FileOffset page : replaced) _space.Free(page.value, kPageSize);
  std::erase_if(_carried, [](const auto& item) { return item.second.references > 1; });
  for (const NewBlock& block : _new) {
    if (block.references == 1) _carried.emplace(block.bid, block);
  }
  _new.clear();
  _newCount = 0;
  _newBase = current.nextBlockId >> 2;
  _changes.clear();
  changed = false;
  transactionBytes = 0;
}

// ---- Close --------------------------------------------------------------------------------------

Status NodeDatabase::Impl::Close() {
  if (_closed) return {};
  Status s;
  if (_modifying) {
    if (status.ok() || _fullLatch) {
      AbandonAllLoose();
      if (changed) s = CommitChanges(false);
      if (s.ok()) s = Finish();
      if (!s.ok()) s = Latch(s);
    } else {
      s = status;
    }
  }
  _closed = true;
  _modifying = false;
  if (status.ok()) status = {StatusCode::kClosed, "the file is closed"};
  _pages.SetFile(nullptr, 0);
  _file.reset();
  return s;
}

Status NodeDatabase::Impl::Finish() {
  auto totals = WriteMaps();
  if (!totals.ok()) return totals.status();
  PageBytes dlist{};
  SealPage(dlist, PageType::kDList, FileOffset(kDListOffset), committed.nextPageId);
  if (Status s = _file->WriteAt(kDListOffset, dlist); !s.ok()) return s;
  const std::uint64_t oldEnd = committed.endOfFile;
  FileHeader header = committed;
  header.endOfFile = totals->end;
  header.lastAMap = totals->end - kAMapInterval;
  header.freeBytes = totals->free;
  header.mapState = kMapsValid;
  if (Status s = WriteHeader(header); !s.ok()) return s;
  const std::array<std::byte, kHeaderSize> zeros{};
  if (Status s = _file->WriteAt(kHeaderCopyOffset, zeros); !s.ok()) return s;
  if (totals->end < oldEnd) {
    if (Status s = _file->Resize(totals->end); !s.ok()) return s;
  }
  return FlushFile();
}

}  // namespace parvane::pstfile
