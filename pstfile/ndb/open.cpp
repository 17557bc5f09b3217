// Opening, creating, and the step from reading to writing.
#include <algorithm>
#include <array>
#include <utility>

#include "platform/path.h"
#include "platform/system.h"
#include "pstfile/ndb/file_kind.h"
#include "pstfile/ndb/node_database_impl.h"
#include "pstfile/ndb/unfinished.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// Of each database: 2 MiB, and up to half of one.
constexpr std::size_t kCachedPages = 4096;
constexpr std::size_t kCachedBlocks = 64;

// Beside the file itself, so that renaming never crosses file systems, and a name that nobody can
// have given to anything else.
std::u16string TemporaryName(std::u16string_view path) {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  std::array<std::byte, 8> random;
  platform::FillRandom(random);
  std::u16string name = u"parvane-";
  for (const std::byte byte : random) {
    name += kDigits[std::to_integer<unsigned>(byte >> 4)];
    name += kDigits[std::to_integer<unsigned>(byte & std::byte{15})];
  }
  return platform::JoinPath(platform::ParentOfPath(path), name + u".new");
}

}  // namespace

NodeDatabase::Impl::Impl(platform::FileSystem& fileSystem, std::u16string_view filePath,
                         const OpenOptions& openOptions)
    : files(fileSystem),
      path(filePath),
      options(openOptions),
      nodes(PageType::kNodeTree, _pages),
      blocks(PageType::kBlockTree, _pages),
      _actualPath(filePath),
      _pages(kCachedPages),
      _blockCache(kCachedBlocks) {}

NodeDatabase::Impl::~Impl() {
  if (!_creating) return;
  if (_inPlace && _file) (void)_file->Resize(0).ok();
  _file.reset();
  // Nobody is left to hear of a failure.
  if (!_inPlace) (void)files.Remove(_actualPath).ok();
}

// ---- Opening ------------------------------------------------------------------------------------

Status NodeDatabase::Impl::OpenFile(OpenMode mode) {
  using FileMode = platform::FileSystem::OpenMode;
  _mode = mode;
  auto file = files.Open(path, mode == OpenMode::kRead ? FileMode::kRead : FileMode::kReadWrite);
  if (!file.ok()) return file.status();
  _file = std::move(*file);
  if (Status s = ReadHeader(); !s.ok()) return s;
  StartFromHeader();
  if (_headerIsPartial) {
    if (Status s = CompletePartialHeader(); !s.ok()) return s;
    StartFromHeader();
  }
  // A file whose roots cannot be read is refused now rather than at the first message.
  for (const BTree* tree : {&nodes, &blocks}) {
    if (auto last = tree->LastKey(); !last.ok()) {
      return last.status();
    }
  }
  return {};
}

Status NodeDatabase::Impl::ReadHeader() {
  auto size = _file->Size();
  if (!size.ok()) return size.status();
  auto got = _file->ReadAt(0, _headerAsRead);
  if (!got.ok()) return got.status();
  if (*got < kHeaderSize) return KindOf(std::span(_headerAsRead).first(*got)).status;
  if (Status s = ChooseHeader(_headerAsRead); !s.ok()) return s;
  if (Status s = committed.CheckFields(); !s.ok()) return s;
  _mapStateAtOpen = committed.mapState;
  return {};
}

// A header write that a crash cut short can leave any mixture of the old and the new one; then the
// copy that was flushed before the write began is whole.
Status NodeDatabase::Impl::ChooseHeader(std::span<const std::byte, kHeaderSize> bytes) {
  const Status kind = FileHeader::CheckKind(bytes);
  const Status full = FileHeader::CheckFullCrc(bytes);
  const Status partial = FileHeader::CheckPartialCrc(bytes);
  if (kind.ok() && full.ok() && partial.ok()) {
    committed = FileHeader::Decode(bytes);
    return {};
  }
  std::array<std::byte, kHeaderSize> copy{};
  auto got = _file->ReadAt(kHeaderCopyOffset, copy);
  if (got.ok() && *got == kHeaderSize && FileHeader::CheckKind(copy).ok() &&
      FileHeader::CheckFullCrc(copy).ok() && FileHeader::CheckPartialCrc(copy).ok()) {
    committed = FileHeader::Decode(copy);
    return {};
  }
  if (!kind.ok()) return kind;
  if (!partial.ok()) return partial;
  committed = FileHeader::Decode(bytes);
  _headerIsPartial = true;
  // What the intact part does not cover is found out from the file itself, or is always the same.
  const auto tail = std::span(committed.raw).subspan(8 + 471);
  std::ranges::fill(tail, std::byte{0});
  std::ranges::fill(tail.first(512 - (8 + 471)), std::byte{0xFF});
  committed.raw[512] = std::byte{0x80};
  committed.crypt = CryptMethod::kNone;
  committed.nextBlockId = 0;
  return {};
}

Status NodeDatabase::Impl::CompletePartialHeader() {
  auto last = blocks.LastKey();
  if (!last.ok()) return last.status();
  committed.nextBlockId = (last->value_or(0) & ~std::uint64_t{3}) + 4;
  auto crypt = GuessCrypt();
  if (!crypt.ok()) return crypt.status();
  committed.crypt = *crypt;
  return {};
}

// The message store's data begins with the heap signature EC and, for a property context, BC.
Result<CryptMethod> NodeDatabase::Impl::GuessCrypt() {
  const Status unknown(StatusCode::kCorrupt,
                       "header: bCryptMethod is lost and the data do not tell");
  std::array<std::byte, kNodeEntrySize> entry;
  auto found = nodes.Find(kNidMessageStore.value, entry);
  if (!found.ok()) return found.status();
  if (!*found) return unknown;
  BlockId bid = DecodeNode(entry).data;
  for (int level = 0; level < 2 && bid.IsInternal(); ++level) {
    std::vector<BlockId> below;
    if (Status s = AppendReferencesOf(bid, below); !s.ok()) return s;
    if (below.empty()) return unknown;
    bid = below.front();
  }
  if (!bid || bid.IsInternal()) return unknown;
  auto stored = ReadBlock(bid);  // as stored: the method is still kNone
  if (!stored.ok()) return stored.status();
  _blockCache.Forget(bid);
  for (const CryptMethod method :
       {CryptMethod::kPermute, CryptMethod::kNone, CryptMethod::kCyclic}) {
    std::array<std::byte, 4> start{};
    if (stored->size() < start.size()) return unknown;
    DecodeTo(method, CyclicKey(bid.value), stored->bytes().first(start.size()), start);
    if (start[2] == std::byte{0xEC} && start[3] == std::byte{0xBC}) return method;
  }
  return unknown;
}

void NodeDatabase::Impl::StartFromHeader() {
  current = committed;
  _newBase = committed.nextBlockId >> 2;
  _pages.SetFile(_file.get(), committed.endOfFile);
  nodes.Open(committed.nodeRoot);
  blocks.Open(committed.blockRoot);
}

// ---- From reading to writing --------------------------------------------------------------------

Status NodeDatabase::Impl::PrepareToModify() {
  if (!status.ok()) return status;
  if (_modifying) return {};
  if (_closed) return {StatusCode::kClosed, "the file is closed"};
  if (_mode == OpenMode::kRead) {
    return {StatusCode::kAccessDenied, "the file is open for reading only"};
  }
  if (!_locked) {
    if (Status s = _file->LockExclusive(); !s.ok()) return s;
    _locked = true;
  }
  std::array<std::byte, kHeaderSize> now;
  if (Status s = ReadExactly(0, now); !s.ok()) return s;
  if (now != _headerAsRead) {
    return {StatusCode::kLocked, "another program changed the file since it was opened"};
  }
  if (Status s = Examine(); !s.ok()) return s;
  if (committed.oldPageMapInUse) {
    if (Status s = DropOldPageMap(); !s.ok()) return Latch(s);
  }
  if (Status s = MarkAsChanging(); !s.ok()) return Latch(s);
  _modifying = true;
  return {};
}

Status NodeDatabase::Impl::MarkAsChanging() {
  auto size = _file->Size();
  if (!size.ok()) return size.status();
  const std::uint64_t end = _space.end();
  if (*size > end) {
    if (Status s = _file->Resize(end); !s.ok()) return s;
  } else if (*size < end) {
    if (Status s = _file->Allocate(end); !s.ok()) return s;
    std::uint64_t missing = IntervalOf(std::max(*size, kFirstAMapOffset));
    if (IntervalDataOffset(missing) <= *size) ++missing;
    if (Status s = WriteEmptyMaps(IntervalOffset(missing), end); !s.ok()) return s;
  }
  FileHeader header = committed;
  header.endOfFile = end;
  header.lastAMap = end - kAMapInterval;
  header.mapState = kMapsInvalid;
  return WriteHeader(header);
}

// ---- Creating -----------------------------------------------------------------------------------

Status NodeDatabase::Impl::CreateFile(const CreateOptions& create) {
  if (Status s = OpenNewFile(create); !s.ok()) return s;
  _creating = true;
  _locked = true;
  committed = FileHeader::New(create.crypt);
  if (create.unfinished) MarkUnfinished(committed.raw);
  current = committed;
  _newBase = current.nextBlockId >> 2;
  _knownFrom = kFirstAMapOffset;
  _space.Reset(kFirstAMapOffset, kFirstAMapOffset);
  if (Status s = ExtendFile(kSmallestFile, kSmallestFile); !s.ok()) return s;
  _pages.SetFile(_file.get(), kSmallestFile);
  nodes.StartEmpty();
  blocks.StartEmpty();
  changed = true;
  _modifying = true;
  committed.endOfFile = current.endOfFile = kSmallestFile;
  committed.lastAMap = current.lastAMap = kFirstAMapOffset;
  return {};
}

Status NodeDatabase::Impl::OpenNewFile(const CreateOptions& create) {
  using FileMode = platform::FileSystem::OpenMode;
  _inPlace = create.inPlace;
  _replace = create.replace;
  _mode = OpenMode::kReadWrite;
  if (!_inPlace && !_replace && files.Inspect(path).kind != platform::FileKind::kNone) {
    return {StatusCode::kExists, "the file exists already"};
  }
  if (!_inPlace) _actualPath = TemporaryName(path);
  auto file = files.Open(_actualPath, _inPlace ? FileMode::kReadWrite : FileMode::kCreateNew);
  if (!file.ok()) return file.status();
  _file = std::move(*file);
  _creating = !_inPlace;  // from here on there is something to remove
  Status locked = _file->LockExclusive();
  if (!_inPlace || !locked.ok()) return locked;
  auto size = _file->Size();
  if (!size.ok()) return size.status();
  return *size == 0 ? Status() : Status(StatusCode::kExists, "the file is not empty");
}

Status NodeDatabase::Impl::PublishFile() {
  if (!_creating) return {StatusCode::kInvalidArgument, "the file has its name already"};
  _publishing = true;
  if (Status s = Close(); !s.ok()) return s;
  if (!_inPlace) {
    if (Status s = files.Rename(_actualPath, path, _replace); !s.ok()) return s;
  }
  _creating = false;
  return files.FlushFolder(platform::ParentOfPath(path));
}

}  // namespace parvane::pstfile
